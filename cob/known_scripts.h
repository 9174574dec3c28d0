#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// The scripts that are known by their names. What calls a script, lints it, sorts it or names its
/// parameters reads the names from the one table here.
namespace orb::unitview {

inline constexpr std::string_view kCreateScript = "Create";
inline constexpr std::string_view kKilledScript = "Killed";
inline constexpr std::string_view kActivateScript = "Activate";
inline constexpr std::string_view kDeactivateScript = "Deactivate";
inline constexpr std::string_view kSweetSpotScript = "SweetSpot";

/// The parameter through which a script answers a piece.
inline constexpr std::string_view kPieceParameter = "piecenum";

/// A weapon's script: with its rank in older files, with its number in newer ones.
using WeaponScript = std::array<std::string_view, 2>;
/// For weapon 0, 1 and 2.
using WeaponScripts = std::array<WeaponScript, 3>;
inline constexpr WeaponScripts kQueryScripts = {{{"QueryPrimary", "QueryWeapon1"},
                                                 {"QuerySecondary", "QueryWeapon2"},
                                                 {"QueryTertiary", "QueryWeapon3"}}};
inline constexpr WeaponScripts kAimScripts = {
    {{"AimPrimary", "AimWeapon1"}, {"AimSecondary", "AimWeapon2"}, {"AimTertiary", "AimWeapon3"}}};

/// What a script is for.
enum class ScriptFamily : std::uint8_t {
    lifecycle,
    activate,
    weaponAim,
    weaponFire,
    weaponQuery,
    movement,
    building,
    transport,
    state,
    helper,
};

/// A name, or all names that have a part in common.
struct KnownScript {
    enum class Match : std::uint8_t { whole, prefix, part };
    Match match;
    std::string_view text;
    ScriptFamily family;
    /// As sources usually call them; behind the last one empty.
    std::array<std::string_view, 3> parameters = {};
    /// The game itself starts or calls it.
    bool isEntry = false;

    /// It answers with a piece in its first parameter.
    bool answersPiece() const { return parameters[0] == kPieceParameter; }
};

/// The row for a script name in any case; nullptr for a name that tells nothing.
const KnownScript* knownScript(std::string_view name);

/// What a script of this name is for; helper where the name tells nothing.
ScriptFamily familyOf(std::string_view scriptName);

}  // namespace orb::unitview
