#pragma once

#include <optional>

#include "sim/world_parts.h"

namespace orb::sim {

/// Where to go first so as to come round the units that stand or come towards it on the straight
/// line to a place, at which its way ends or goes on; none where that is free, where waiting is
/// better or where there is no way round close by.
std::optional<GroundPoint> findDetour(const WorldParts& world, const Unit& unit, GroundPoint aim,
                                      bool isEnd);

}  // namespace orb::sim
