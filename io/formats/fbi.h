#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/tdf.h"

namespace orb::io {

/// A unit's definition: one field per row of fbi_keys.def, typed, with defaults filled in.
struct FbiUnitInfo {
#define FBI_KEY(type, field, key, defaultValue) type field = defaultValue;
#include "io/formats/fbi_keys.def"

    /// Units that this one can build: buildoption1.. and then [CANBUILD] unit1.., in that order.
    std::vector<std::string> buildOptions;
};

/// The unit defined by the [UNITINFO] section of a parsed file, or none without such a section.
std::optional<FbiUnitInfo> parseFbiUnitInfo(const TdfSection& root);

/// The same from the file's text, without building its tree: many times as fast.
std::optional<FbiUnitInfo> readFbiUnitInfo(std::string_view text);

/// Calls `visit(key, value)` for every key in table order; `key` is the text as unit files spell it
/// and `value` a const reference to a std::string, std::int32_t, float or bool.
template <typename Visitor>
void forEachFbiKey(const FbiUnitInfo& info, Visitor&& visit) {
#define FBI_KEY(type, field, key, defaultValue) visit(std::string_view(key), info.field);
#include "io/formats/fbi_keys.def"
}

}  // namespace orb::io
