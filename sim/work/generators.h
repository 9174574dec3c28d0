#pragma once

#include "sim/world_parts.h"

namespace orb::sim {

/// The metal of the ground under those cells.
std::int32_t groundMetal(const WorldFrame& frame, const CellRect& cells);

/// Tells the script of a unit that turns with the wind or digs for metal how fast that goes:
/// SetSpeed and SetDirection. For units that are ready.
void tellGenerator(WorldParts& world, const Unit& unit);

/// What a unit gives in a second while its energy is paid.
struct Yield {
    Amount metal;
    Amount energy;
};
Yield yieldOf(const WorldParts& world, const Unit& unit);

/// The wind that a map begins with.
Wind firstWind(const WorldFrame& frame);
/// Lets the wind change, and tells those who turn with it.
void driftWind(WorldParts& world);

}  // namespace orb::sim
