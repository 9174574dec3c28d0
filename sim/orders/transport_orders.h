#pragma once

#include "sim/orders/order_progress.h"
#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

// What the orders of carriers want in a tick. Aircraft go down to their load and lift it; others
// take it aboard from beside, by their scripts where these have what it takes.

OrderProgress load(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish);
OrderProgress unload(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish);

/// Tells the script of a carrier that neither loads nor unloads any more.
void putArmsAway(WorldParts& world, Unit& unit);

}  // namespace orb::sim
