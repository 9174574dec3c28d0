#pragma once

#include <string_view>

#include "io/ascii.h"

namespace orb::unitview {

/// True when a reference in a unit definition names nothing: it is empty or one of the words that
/// unit files write for "none", in any case.
inline bool isAbsentName(std::string_view name) {
    for (const std::string_view word : {"", "NONE", "NULL", "NULLWEAPON", "NOWEAPON"})
        if (io::equalsIgnoringCase(name, word)) return true;
    return false;
}

}  // namespace orb::unitview
