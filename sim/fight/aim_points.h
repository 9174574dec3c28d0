#pragma once

#include <array>
#include <cstdint>

#include "sim/units/unit.h"
#include "sim/world_parts.h"

namespace orb::sim {

// The points of units between which shots fly.

/// Where to aim at a unit, and round which it is hit: its sweet spot, unless that lies farther
/// than `hitRadius` to the side of its middle.
Vector hitCenter(const WorldParts& world, const Unit& unit);

/// A way in the world as the unit's body has it: x to its left, y up, z forward.
Vector worldToBody(const Unit& unit, const Vector& way);

/// How a push in some direction of the world rocks a unit's body: the angles about its x and its z
/// axis that scripts are told.
std::array<std::int32_t, 2> rocking(const Unit& unit, Angle heading);

/// How far from there a shot hits it.
Fixed hitRadius(const UnitType& type);

/// Round what a weapon turns, as its script says.
Vector aimPivot(WorldParts& world, Unit& unit, std::size_t slot);

struct Muzzle {
    Vector place;
    /// Model piece, -1 where the script names none.
    std::int32_t piece = -1;
};
/// Where the next shot comes from. Asks the script, which may take the next of several barrels.
Muzzle nextMuzzle(WorldParts& world, Unit& unit, std::size_t slot);

}  // namespace orb::sim
