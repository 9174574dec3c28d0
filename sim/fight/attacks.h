#pragma once

#include <cstdint>

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

// Which of a unit's weapons an order to attack is for.

/// Why a weapon cannot be turned on something, from what comes nearest to none.
enum class WeaponFault : std::uint8_t { none, cannotReach, onlyOnCommand, notThere };

/// Of the weapon in one slot. Those that the order does not mean count as not there.
WeaponFault faultOf(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack,
                    std::size_t slot);

/// The least of all: none when one of them can.
WeaponFault faultOf(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack);

/// The ranges of those that can, 0 without any: from the shortest all of them reach.
struct Ranges {
    Fixed shortest;
    Fixed longest;
};
Ranges rangesOf(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack);

/// How near to its target a unit goes so that all of them reach it, with some room to spare.
Fixed attackReach(const Ranges& ranges);

}  // namespace orb::sim
