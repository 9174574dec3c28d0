#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "io/formats/cob_file.h"

namespace orb::sim {

/// The scripts of a unit that the world calls. Those of weapons come in threes, by slot.
enum class UnitScript : std::uint8_t {
    create,
    activate,
    deactivate,
    killed,
    sweetSpot,
    startMoving,
    stopMoving,
    moveRate1,
    moveRate2,
    moveRate3,
    setSfxOccupy,
    setSpeed,
    setDirection,
    setMaxReloadTime,
    hitByWeapon,
    rockUnit,
    targetCleared,
    startBuilding,
    stopBuilding,
    queryNanoPiece,
    queryBuildInfo,
    beginTransport,
    endTransport,
    queryTransport,
    transportPickup,
    transportDrop,
    queryLandingPad,
    aimPrimary,
    aimSecondary,
    aimTertiary,
    aimFromPrimary,
    aimFromSecondary,
    aimFromTertiary,
    firePrimary,
    fireSecondary,
    fireTertiary,
    queryPrimary,
    querySecondary,
    queryTertiary,
};
inline constexpr std::size_t kUnitScripts = 39;

/// `ofSlot(UnitScript::aimPrimary, 2)` is `aimTertiary`.
constexpr UnitScript ofSlot(UnitScript primary, std::size_t slot) {
    return static_cast<UnitScript>(static_cast<std::size_t>(primary) + slot);
}

/// As older files call it: "AimPrimary", not "AimWeapon1".
std::string_view nameOf(UnitScript script);

/// Index of each script in a file, -1 where it lacks it.
using ScriptIndices = std::array<std::int32_t, kUnitScripts>;
ScriptIndices findScripts(const io::CobFile& file);

/// A file without scripts.
constexpr ScriptIndices noScripts() {
    ScriptIndices none{};
    none.fill(-1);
    return none;
}

}  // namespace orb::sim
