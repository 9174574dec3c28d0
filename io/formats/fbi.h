#pragma once

#include <array>
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

    /// It leaves its place: factories claim that they can move, so that what they build can be sent
    /// somewhere, but are buildings by their `bmcode`.
    bool isMobile() const {
        return canMove && bmCode != 0;
    }

    /// The names in the three weapon slots; a slot that is not in use may be empty or hold a word
    /// for "none".
    std::array<std::string_view, 3> weaponSlots() const {
        return {weapon1, weapon2, weapon3};
    }
};

/// The section that defines the unit.
inline constexpr std::string_view kUnitInfoSection = "UNITINFO";

/// The unit defined by the [UNITINFO] section of a parsed file, or none without such a section.
std::optional<FbiUnitInfo> parseFbiUnitInfo(const TdfSection& root);

/// The same from the file's text, without building its tree: many times as fast.
std::optional<FbiUnitInfo> readFbiUnitInfo(std::string_view text);

/// Whether a key's value as a file writes it reads as what `wanted` says: a number or a flag as the
/// key's type reads it, so that "2.00" reads as "2"; of other keys, only the same text does. A
/// wanted number that the type cannot hold, such as 2.5 of an integer, is never read.
bool fbiValueReadsAs(std::string_view key, std::string_view value, std::string_view wanted);

/// Calls `visit(key, value)` for every key in table order; `key` is the text as unit files spell it
/// and `value` a const reference to a std::string, std::int32_t, float or bool.
template <typename Visitor>
void forEachFbiKey(const FbiUnitInfo& info, Visitor&& visit) {
#define FBI_KEY(type, field, key, defaultValue) visit(std::string_view(key), info.field);
#include "io/formats/fbi_keys.def"
}

}  // namespace orb::io
