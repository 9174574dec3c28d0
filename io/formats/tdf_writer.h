#pragma once

#include <string>
#include <string_view>

#include "io/formats/tdf.h"

namespace orb::io {

/// A section as text that reads as the same, one statement a line; comments are gone.
std::string tdfText(std::string_view name, const TdfSection& section);

}  // namespace orb::io
