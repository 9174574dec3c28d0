#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// An order as somebody gives it to one or more units.
struct OrderRequest {
    OrderKind kind = OrderKind::move;
    std::optional<GroundPoint> place;
    /// Ids, of a unit and of a feature.
    std::optional<std::int64_t> target;
    std::optional<std::int64_t> feature;
    /// -1 is no certain weapon.
    std::int8_t slot = -1;
    /// What is to be built, and how many by a factory.
    std::shared_ptr<const UnitType> product = {};
    std::int32_t count = 1;
    /// Builders build also what is in none of their menus.
    bool isUnrestricted = false;
    /// What the kind makes of it: a state, hit points, a severity.
    double value = 0;
    Angle heading = {};
    bool hasHeading = false;
    /// Behind the orders that there are, not in their place.
    bool isQueued = false;
    /// Of a script that is to be started.
    std::string script;
    std::vector<std::int32_t> arguments;
};

/// What an order must be given with, and what it needs of its unit.
struct OrderRule {
    enum class Aim : std::uint8_t { none, place, target, targetOrPlace, product };
    Aim aim = Aim::none;
    bool needsMobility = false;
    bool needsWeapon = false;
    bool needsBuilt = false;
    /// It is for builders.
    bool needsTools = false;
    /// It joins the queue; others act at once.
    bool joinsQueue = false;
    /// The world can carry it out.
    bool isKnown = true;
};
const OrderRule& orderRule(OrderKind kind);

/// Why a unit does not take an order.
enum class OrderRefusal : std::uint8_t {
    none,
    noSuchUnit,
    noSuchTarget,
    cannotMove,
    noWeapon,
    queueFull,
    notBuilt,
    cannotWork,
    needsPlace,
    cannotCloak,
};

/// Gives the order to the units of those ids; one answer for each, in their order. What it asks for
/// is there as its rule says, and its place lies on the map. Between ticks only.
std::vector<OrderRefusal> giveOrder(WorldParts& world, TickScratch& scratch,
                                    std::span<const std::int64_t> unitIds,
                                    const OrderRequest& request);

/// Switches a unit as somebody orders it: with its scripts.
void switchUnit(WorldParts& world, Unit& unit, bool on);

/// Sends whoever stands in a building's yard out of it.
void clearYard(WorldParts& world, Unit& building);

}  // namespace orb::sim
