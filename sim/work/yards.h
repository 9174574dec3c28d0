#pragma once

#include "sim/world_parts.h"

namespace orb::sim {

// What is particular to builders that stand for good: what they build stands on a piece of theirs,
// moves with it and rolls out when it is ready.

/// Where a factory's pad is: the piece that its script names, else its middle.
Vector padOf(const WorldParts& world, const Unit& factory);
/// Where what stands on it faces.
Angle padHeading(const WorldParts& world, const Unit& factory);

/// Puts the frame in a factory's yard where its pad now is.
void carryOnPad(WorldParts& world, const Unit& factory);

/// Whether the cells that a new frame will stand on are free of others; those who stand there are
/// asked to leave.
bool isPadFree(WorldParts& world, Unit& factory, const UnitType& product);

/// Sends what is ready out of the yard.
void rollOut(WorldParts& world, Unit& factory, Unit& product);

}  // namespace orb::sim
