#pragma once

#include "sim/orders/order_progress.h"
#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

// What the orders of builders want in a tick.

OrderProgress buildOnSite(WorldParts& world, Unit& unit, Order& order, UnitWish& wish);
OrderProgress buildInYard(WorldParts& world, TickScratch& scratch, Unit& unit, Order& order,
                          UnitWish& wish);
OrderProgress repair(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish);
OrderProgress reclaim(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish);
OrderProgress capture(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish);

/// Helps whom it guards: mends it, or works on what it works on. False when there is nothing to
/// help with.
bool help(WorldParts& world, Unit& unit, const Unit& ward, UnitWish& wish);

/// What a builder on patrol finds to do where it just is, in one tick of some: somebody to mend, a
/// frame, or what it has room for the worth of. It becomes its current order.
void findChore(WorldParts& world, TickScratch& scratch, Unit& unit);

/// Puts away the tools of a unit that does not work any more, and shuts the yard that it had
/// opened.
void putToolsAway(WorldParts& world, TickScratch& scratch, Unit& unit, const UnitWish& wish);

}  // namespace orb::sim
