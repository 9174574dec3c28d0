#pragma once

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// A unit that stands on the first cells may take a step that brings it onto the others: they fit
/// it and are free. Whoever was forced onto others or onto bad ground may leave, as long as it gets
/// no worse.
bool mayStep(const WorldParts& world, const Unit& unit, const CellRect& from, const CellRect& to);

/// What a unit does that could not take its step onto those cells: it asks others for room, goes
/// back for them, or is content with where it is.
void beBlocked(WorldParts& world, Unit& unit, const MotionStep& step, const CellRect& wished);

/// They are of one player and go to one place together, or have gone there last.
bool goTogether(const Unit& unit, const Unit& other);

/// Counts how long it goes round others without coming nearer to its goal than before; in the end
/// it is content with where it is, or gives up.
void noteDetours(Unit& unit, const MotionStep& step, GroundPoint goal);

/// It stands, does nothing that it would have to leave, and is a friend: it steps aside when asked.
bool makesRoomFor(const Unit& unit, const Unit& other);

/// Sends such a unit a little aside, out of the way of `other`; others do not listen.
void makeRoom(WorldParts& world, Unit& unit, const Unit& other);

}  // namespace orb::sim
