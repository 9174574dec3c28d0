#pragma once

#include <cstdint>
#include <optional>

#include "sim/ways/direction_fields.h"
#include "sim/ways/movement_class.h"
#include "sim/ways/sectors.h"
#include "sim/ways/way.h"

namespace orb::sim {

/// The cell of a footprint's north-western corner when its middle is at a place; one where all of
/// it lies on the map.
Cell cellAt(const ClassGrid& grid, const MovementLimits& limits, GroundPoint place);
/// The middle of the footprint there.
GroundPoint middleAt(const MovementLimits& limits, Cell cell);

/// The walker stands where he fits, and no farther from what he seeks than he would in the middle
/// of that cell.
bool standsAsNear(const Way& way, const MovementLimits& limits, Cell cell);

/// The number of the cell of the way that the walker has to go to next; none when he has been
/// pushed off his way.
std::optional<std::uint32_t> findNext(const Way& way, const SectorGraph& graph);

/// Notes the fields that `stepAlong` reads.
void needFields(const Way& way, const SectorGraph& graph, DirectionFields& fields);

/// Follows the fields for some cells and heads for the farthest of these to which the straight line
/// is free, and as good to walk as the cells themselves; members of a group a little beside it
/// where the way bends.
RouteStep stepAlong(const Way& way, const ClassGround& ground, const MovementLimits& limits,
                    const DirectionFields& fields);

/// The worst cell that the straight line between two places of a footprint's middle crosses, both
/// neighbours where it goes through a corner: `kNoStep` when it does not fit somewhere.
std::uint8_t worstOnLine(const ClassGrid& grid, const MovementLimits& limits, GroundPoint from,
                         GroundPoint to);

}  // namespace orb::sim
