#pragma once

#include <optional>

#include "sim/orders/order_progress.h"
#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// Wishes for what an order to attack or to fire names; else tells how the order has ended: what it
/// names is gone, has been fired at, or can be hit by none of the weapons that are meant.
std::optional<OrderProgress> takeAim(const WorldParts& world, const Unit& unit, const Order& order,
                                     UnitWish& wish);

/// None of the weapons that are to attack, `slot` or all of them with -1, could hit from where the
/// unit is.
bool lacksShot(const Unit& unit, std::int8_t slot);

/// The same of whom weapons have chosen themselves.
bool lacksShotAt(const Unit& unit, UnitRef target);

/// Near enough that all weapons reach that can hit it.
bool isWithinReach(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack);

/// Brings a unit within reach of what it attacks, and nearer while it lacks a shot from there.
OrderProgress comeNearer(const WorldParts& world, Unit& unit, const UnitWish::Attack& attack,
                         bool lacks, UnitWish& wish);

}  // namespace orb::sim
