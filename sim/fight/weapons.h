#pragma once

#include <cstddef>
#include <optional>

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// It is there, built, and not stunned.
bool canFight(const WorldParts& world, const Unit& unit);

/// For a script that begins: it hears how long its slowest weapon reloads, and has aimed none yet.
void tellScriptOfWeapons(WorldParts& world, Unit& unit);

/// What a weapon is to be aimed at.
struct AimWish {
    AimKind aim = AimKind::nothing;
    bool isOrdered = false;
    UnitRef target = {};
    Vector place = {};
    /// The id of one.
    std::uint32_t targetShot = 0;
};

/// Aims a weapon; nothing happens while it is what it is aimed at already. A weapon that loses its
/// target tells its script so.
void aimAt(WorldParts& world, Unit& unit, std::size_t slot, const AimWish& wish);

/// Asks scripts to turn weapons to where their targets are: before scripts run.
void askToAim(WorldParts& world);

/// Where a unit that stands has to turn to, because one of its weapons cannot.
std::optional<GroundPoint> placeToFace(const WorldParts& world, const Unit& unit);

/// What a weapon is doing, for those who look on.
enum class WeaponActivity : std::uint8_t { idle, aiming, aimed, reloading, firing };
WeaponActivity activityOf(const WeaponState& weapon, Tick now);

}  // namespace orb::sim
