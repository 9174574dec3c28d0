#include "sim/scripts/unit_scripts.h"

#include "cob/known_scripts.h"

namespace orb::sim {
namespace {

using unitview::kAimScripts;
using unitview::kQueryScripts;

/// A script's name, and the one that newer files have for it.
using Names = std::array<std::string_view, 2>;

constexpr std::array<Names, kUnitScripts> kNames = {{
    {unitview::kCreateScript},
    {unitview::kActivateScript},
    {unitview::kDeactivateScript},
    {unitview::kKilledScript},
    {unitview::kSweetSpotScript},
    {"StartMoving"},
    {"StopMoving"},
    {"MoveRate1"},
    {"MoveRate2"},
    {"MoveRate3"},
    {"setSFXoccupy"},
    {"SetSpeed"},
    {"SetDirection"},
    {"SetMaxReloadTime"},
    {"HitByWeapon"},
    {"RockUnit"},
    {"TargetCleared"},
    {"StartBuilding"},
    {"StopBuilding"},
    {"QueryNanoPiece"},
    {"QueryBuildInfo"},
    {"BeginTransport"},
    {"EndTransport"},
    {"QueryTransport"},
    {"TransportPickup"},
    {"TransportDrop"},
    {"QueryLandingPad"},
    kAimScripts[0],
    kAimScripts[1],
    kAimScripts[2],
    {"AimFromPrimary", "AimFromWeapon1"},
    {"AimFromSecondary", "AimFromWeapon2"},
    {"AimFromTertiary", "AimFromWeapon3"},
    {"FirePrimary", "FireWeapon1"},
    {"FireSecondary", "FireWeapon2"},
    {"FireTertiary", "FireWeapon3"},
    kQueryScripts[0],
    kQueryScripts[1],
    kQueryScripts[2],
}};
static_assert(static_cast<std::size_t>(UnitScript::queryTertiary) + 1 == kUnitScripts);

}  // namespace

std::string_view nameOf(UnitScript script) {
    return kNames.at(static_cast<std::size_t>(script))[0];
}

ScriptIndices findScripts(const io::CobFile& file) {
    ScriptIndices indices = noScripts();
    for (std::size_t i = 0; i < indices.size(); ++i)
        for (const std::string_view name : kNames.at(i))
            if (!name.empty() && indices.at(i) < 0) indices.at(i) = file.findScript(name);
    return indices;
}

}  // namespace orb::sim
