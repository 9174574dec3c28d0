#pragma once

#include "sim/orders/order_progress.h"
#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

// Units that go after enemies by themselves, as their standing orders let them. Whom they go after
// is an order that they give themselves, in front of what they were told; while they are under way
// their weapons shoot at whom they choose.

/// Whether a unit may go after another that is so far from where it belongs: it sees it, has a
/// weapon for it, and neither its definition nor its standing orders keep it from it.
bool mayChase(const WorldParts& world, const Unit& unit, const Unit& enemy, GroundPoint home);

/// A tick of an order that a unit gave itself to go after somebody.
OrderProgress chase(const WorldParts& world, Unit& unit, const Order& order, UnitWish& wish);

/// Lets those look for enemies who have nothing to do or patrol, and those go back who have gone
/// after somebody far enough.
void goAfterEnemies(WorldParts& world, TickScratch& scratch);

}  // namespace orb::sim
