#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orb::unitview {

/// What a text that defines no unit is refused with.
inline constexpr const char* kNoUnitInfo = "fbi-parse-error: no [UNITINFO] section";

/// What becomes of one key of [UNITINFO].
struct FbiChange {
    std::string key;
    /// None removes the key.
    std::optional<std::string> value;
};

struct FbiEdit {
    std::string text;
    /// The keys whose values are different now: those that were there as the text spells them, then
    /// the new ones as the changes do.
    std::vector<std::string> changed;
};

/// Throws RequestError for a change that the text format cannot hold: "bad key …: …" for a key that
/// is empty, begins with a comment or has one of "=;{}[]" or a line break in it, or that comes
/// twice in different case; "bad value of …: …" for a value with a ";", a line break or a NUL.
void checkFbiChanges(std::span<const FbiChange> changes);

/// Changes values in a definition's text; every other byte stays. Keys match in any case; of a key
/// that is assigned several times the last assignment, the one that counts, is changed, and
/// removing it removes all. A removed statement takes its line along when it stands there alone. A
/// new key goes behind the last statement or section of [UNITINFO], spaced like the statement
/// before. White space around a value is not kept: readers drop it. A value that reads as the
/// wanted one, like 2.00 where 2 is asked for, stays as it is written.
///
/// Throws RequestError kNoUnitInfo, and "cannot edit: …" when a change
/// would alter how malformed text around it reads.
FbiEdit editFbi(std::string_view text, std::span<const FbiChange> changes);

}  // namespace orb::unitview
