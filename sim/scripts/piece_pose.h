#pragma once

#include <cstdint>

#include "sim/world_parts.h"

namespace orb::sim {

/// Where a piece of a unit is in the world, as its script holds it now and the unit stands: x to
/// the east, y up, z to the south, in map pixels. A piece that is none, -1, is the unit's own
/// place. The one way by which a script's floats come back into the world: they are rounded first,
/// to 1/256 pixel and 1/65536 turn, and the rest is computed in whole numbers.
///
/// A piece turns round its own axes by its turns about y, then x, then z, the outermost first.
Vector pieceInWorld(const WorldParts& world, const Unit& unit, std::int32_t modelPiece);

/// Where a piece of a unit faces, seen from above: by its turns about y alone.
Angle pieceHeading(const WorldParts& world, const Unit& unit, std::int32_t modelPiece);

/// A way as the unit's body has it (x to its left, y up, z forward) as the world has it.
Vector bodyToWorld(const Unit& unit, const Vector& way);

}  // namespace orb::sim
