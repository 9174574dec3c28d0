#pragma once

#include <cstdint>

#include "sim/world_parts.h"

namespace orb::sim {

// Who is aboard of whom. A unit that is carried has a `carrier`, which has it in its `hold`; it is
// not on the ground, takes no cells and does nothing. Nobody who is carried carries others, so
// there are no chains.

/// Others can take units of that type aboard.
bool canBeCarried(const UnitType& type);

/// A unit of that type finds room in an empty hold.
bool fitsHold(const UnitType& carrier, const UnitType& load);

/// One can take the other aboard, as they are.
bool mayCarry(const Unit& carrier, const Unit& load);

/// Takes somebody aboard who `mayCarry`, onto a piece of the model; -1 is out of sight.
void takeAboard(WorldParts& world, Unit& carrier, Unit& load, std::int32_t piece);

/// Puts somebody who is carried onto the ground at a place, or near it where that is taken. False,
/// and he stays aboard, when there is no room.
bool putDown(WorldParts& world, Unit& load, GroundPoint place);

/// What a script does with the unit of an id by attach-unit and drop-unit. It is let take aboard
/// whoever is near, and put down whoever is aboard.
void attachByScript(WorldParts& world, Unit& carrier, std::int32_t id, std::int32_t piece);
void dropByScript(WorldParts& world, Unit& carrier, std::int32_t id);

/// Somebody goes from where he is carried, wherever that is; nothing happens to others.
void leaveHold(WorldParts& world, Unit& load);

/// Puts all who are aboard onto the ground where they are, whatever stands there: for a carrier
/// that vanishes.
void spillHold(WorldParts& world, Unit& carrier);

/// From the nearest edge of a footprint.
Fixed distanceFrom(const CellRect& cells, GroundPoint place);

}  // namespace orb::sim
