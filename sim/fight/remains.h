#pragma once

#include <cstdint>

#include "sim/fight/damage.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// The feature type that is the n-th of what a unit can become, from 1; -1 for none.
std::int32_t corpseOf(const WorldParts& world, const UnitType& type, std::int32_t number);

/// Takes a dead unit off the map and puts its corpse on its cells.
void bury(WorldParts& world, const Death& death);

/// Takes hit points from a feature. What has none left gives way to what it becomes.
void damageFeature(WorldParts& world, std::uint32_t id, Amount amount);

}  // namespace orb::sim
