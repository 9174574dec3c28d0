#pragma once

#include <span>
#include <vector>

#include "sim/world_parts.h"

namespace orb::sim {

/// Where each of the units should stand that are sent to one place together: on a grid around it
/// that leaves a cell between them, the nearest first in its middle, where each of them can stand.
/// One alone gets the place itself; so does whoever finds none.
std::vector<GroundPoint> formation(const WorldParts& world, std::span<Unit* const> units,
                                   GroundPoint place);

}  // namespace orb::sim
