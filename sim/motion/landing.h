#pragma once

#include <optional>

#include "sim/world_parts.h"

namespace orb::sim {

/// Whether a unit that flies could stand on the ground with its middle there, now.
bool canLandAt(const WorldParts& world, const Unit& unit, GroundPoint place);

/// The nearest place to land round another, more or less; none where there is no room.
std::optional<GroundPoint> landingPlace(const WorldParts& world, const Unit& unit,
                                        GroundPoint around);

/// It leaves the ground, and lets go of its cells.
void takeOff(WorldParts& world, Unit& unit);

/// It takes the cells below it and goes straight down.
void beginLanding(WorldParts& world, Unit& unit);

/// It stands.
void touchDown(WorldParts& world, Unit& unit);

/// It sits on a landing pad, from the air.
void sitDown(WorldParts& world, Unit& unit);

}  // namespace orb::sim
