#pragma once

#include "sim/world_parts.h"

namespace orb::sim {

/// The unit's footprint could stand with its middle there: ground, water, buildings and features,
/// not those who walk.
bool canStandAt(const WorldParts& world, const Unit& unit, GroundPoint place);

/// Lets the unit lie on the ground as it is under it.
void settleOnGround(const WorldParts& world, Unit& unit);

}  // namespace orb::sim
