#include "cob/known_scripts.h"

#include <algorithm>
#include <iterator>

#include "io/ascii.h"

namespace orb::unitview {
namespace {

using Match = KnownScript::Match;
using Parameters = std::array<std::string_view, 3>;
using enum ScriptFamily;

/// A script that the game starts or calls by this name.
constexpr KnownScript entry(std::string_view name, ScriptFamily family,
                            const Parameters& parameters = {}) {
    return {Match::whole, name, family, parameters, true};
}

constexpr Parameters kPiece = {kPieceParameter};
constexpr Parameters kDirection = {"heading", "pitch"};
constexpr Parameters kPush = {"anglex", "anglez"};

// The first row that fits a name counts, so whole names stand before the beginnings of names.
constexpr KnownScript kTable[] = {
    entry(kCreateScript, lifecycle),
    entry(kKilledScript, lifecycle, {"severity", "corpsetype"}),
    entry("DeathFunction", lifecycle),
    entry(kActivateScript, activate),
    entry(kDeactivateScript, activate),
    entry("AimFromPrimary", weaponAim, kPiece),
    entry("AimFromSecondary", weaponAim, kPiece),
    entry("AimFromTertiary", weaponAim, kPiece),
    entry(kAimScripts[0][0], weaponAim, kDirection),
    entry(kAimScripts[1][0], weaponAim, kDirection),
    entry(kAimScripts[2][0], weaponAim, kDirection),
    entry("FirePrimary", weaponFire),
    entry("FireSecondary", weaponFire),
    entry("FireTertiary", weaponFire),
    entry(kQueryScripts[0][0], weaponQuery, kPiece),
    entry(kQueryScripts[1][0], weaponQuery, kPiece),
    entry(kQueryScripts[2][0], weaponQuery, kPiece),
    entry("QueryNanoPiece", weaponQuery, kPiece),
    entry("QueryBuildInfo", weaponQuery, kPiece),
    entry("StartMoving", movement),
    entry("StopMoving", movement),
    entry("MoveRate1", movement),
    entry("MoveRate2", movement),
    entry("MoveRate3", movement),
    entry("SetSpeed", movement),
    entry("SetDirection", movement, {"heading"}),
    entry("SetMaxReloadTime", movement),
    entry("RockUnit", movement, kPush),
    entry("StartBuilding", building, {"heading"}),
    entry("StopBuilding", building),
    entry("BeginTransport", transport),
    entry("EndTransport", transport),
    entry("Transport", transport),
    entry("TransportPickup", transport, {"unitid"}),
    entry("TransportDrop", transport, {"unitid", "position"}),
    entry("BeingTransported", transport),
    entry("RequestState", state, {"requestedstate", "currentstate"}),
    entry("HitByWeapon", state, kPush),
    entry("TargetCleared", state),
    entry("Go", state),
    entry("Stop", state),
    entry("SmokeUnit", state, {"healthpercent", "sleeptime", "smoketype"}),
    entry(kSweetSpotScript, state, kPiece),
    entry("SweetSpotPrimary", state, kPiece),
    entry("RestoreNow", state),
    entry("RestoreAfterDelay", state),
    entry("KillUnit", helper),
    {Match::whole, "MotionControl", helper, {"moving", "aiming", "justmoved"}},
    {Match::prefix, "AimFrom", weaponAim, kPiece},
    {Match::prefix, "Aim", weaponAim, kDirection},
    {Match::prefix, "Fire", weaponFire},
    {Match::prefix, "Query", weaponQuery, kPiece},
    {Match::prefix, "MoveRate", movement},
    {Match::part, "Transport", transport},
    {Match::prefix, "SweetSpot", state, kPiece},
};

bool contains(std::string_view text, std::string_view part) {
    const auto found = std::ranges::search(
        text, part, [](char a, char b) { return io::toLower(a) == io::toLower(b); });
    return !found.empty();
}

bool fits(const KnownScript& row, std::string_view name) {
    switch (row.match) {
        case Match::whole:
            return io::equalsIgnoringCase(name, row.text);
        case Match::prefix:
            return io::equalsIgnoringCase(name.substr(0, row.text.size()), row.text);
        case Match::part:
            return contains(name, row.text);
    }
    return false;
}

}  // namespace

const KnownScript* knownScript(std::string_view name) {
    const auto* const found =
        std::ranges::find_if(kTable, [&](const KnownScript& row) { return fits(row, name); });
    return found == std::end(kTable) ? nullptr : found;
}

ScriptFamily familyOf(std::string_view scriptName) {
    const KnownScript* const known = knownScript(scriptName);
    return known ? known->family : helper;
}

}  // namespace orb::unitview
