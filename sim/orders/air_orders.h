#pragma once

#include <optional>

#include "sim/orders/order_progress.h"
#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// What an order wants in a tick of somebody who flies; none where that is as with all others.
std::optional<OrderProgress> carryOutInAir(WorldParts& world, Unit& unit, const Order& order,
                                           UnitWish& wish);

}  // namespace orb::sim
