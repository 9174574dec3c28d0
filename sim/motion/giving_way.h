#pragma once

#include <optional>

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// A unit that stands on the first cells may take a step that brings it onto the others: they fit
/// it and are free. Whoever was forced onto others or onto bad ground may leave, as long as it gets
/// no worse.
bool mayStep(const WorldParts& world, const Unit& unit, const CellRect& from, const CellRect& to);

/// What a unit does that could not take its step onto those cells: it asks others for room, goes
/// round them, or is content with where it is.
void beBlocked(WorldParts& world, Unit& unit, const MotionStep& step, const CellRect& wished);

/// Sends an idle unit a little aside, out of the way of `other`; others do not listen.
void makeRoom(WorldParts& world, Unit& unit, const Unit& other);

}  // namespace orb::sim
