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
    /// What the kind makes of it: a state from 0 to 2, hit points from 0, a severity.
    double value = 0;
    Angle heading = {};
    bool hasHeading = false;
    /// Behind the orders that there are, not in their place.
    bool isQueued = false;
    /// Puts units where they cannot stand.
    bool isForced = false;
    /// Of a script that is to be started.
    std::string script;
    std::vector<std::int32_t> arguments;
};

/// What an order must be given with, and what it needs of its unit.
struct OrderRule {
    enum class Aim : std::uint8_t { none, place, maybePlace, target, targetOrPlace, product };
    Aim aim = Aim::none;
    bool needsMobility = false;
    bool needsWeapon = false;
    bool needsBuilt = false;
    /// It is for builders.
    bool needsTools = false;
    /// It is for carriers.
    bool needsHold = false;
    /// It is for aircraft.
    bool needsWings = false;
    /// It joins the queue; others act at once.
    bool joinsQueue = false;

    bool takesPlace() const { return aim != Aim::none && aim != Aim::target; }
    bool takesTarget() const { return aim == Aim::target || aim == Aim::targetOrPlace; }
};
const OrderRule& orderRule(OrderKind kind);

/// Why a unit does not take an order.
enum class OrderRefusal : std::uint8_t {
    none,
    noSuchUnit,
    /// Nobody has that id, or it is the unit itself, or it is, or is not, aboard of somebody.
    noSuchTarget,
    cannotMove,
    noWeapon,
    onlyOnCommand,
    cannotReach,
    queueFull,
    notBuilt,
    cannotWork,
    needsPlace,
    /// Of what attacks from where it stands for good.
    outOfRange,
    /// It is aboard of somebody.
    carried,
    cannotPlace,
    tooManyThreads,
    cannotCloak,
};

/// Why a unit that has the tools cannot do with a certain target what it is told.
enum class OrderHindrance : std::uint8_t {
    none,
    itself,
    /// Of somebody, maybe of this unit.
    aboard,
    holdFull,
    holdEmpty,
    tooLarge,
    cannotBeCarried,
    carriesOthers,
    /// It is for units of the same player, or of another one.
    ofOtherPlayer,
    ofSamePlayer,
    targetNotBuilt,
    noPad,
};

/// What a unit answers to an order.
struct OrderAnswer {
    OrderRefusal refusal = OrderRefusal::none;
    /// Why it cannot be placed there.
    SiteFault fault = SiteFault::none;
    /// Why it cannot work on its target.
    OrderHindrance hindrance = OrderHindrance::none;

    OrderAnswer() = default;
    OrderAnswer(OrderRefusal why) : refusal(why) {}
    explicit OrderAnswer(OrderHindrance why)
        : refusal(why == OrderHindrance::none ? OrderRefusal::none : OrderRefusal::cannotWork),
          hindrance(why) {}
    explicit OrderAnswer(SiteFault why)
        : refusal(why == SiteFault::none ? OrderRefusal::none : OrderRefusal::cannotPlace),
          fault(why) {}
    bool isTaken() const { return refusal == OrderRefusal::none; }
    bool operator==(const OrderAnswer&) const = default;
};

/// Gives the order to the units of those ids, none of which comes twice; one answer for each, in
/// their order. What it asks for is there as its rule says, and its place lies on the map. Between
/// ticks only.
std::vector<OrderAnswer> giveOrder(WorldParts& world, TickScratch& scratch,
                                   std::span<const std::int64_t> unitIds,
                                   const OrderRequest& request);

/// Switches a unit as somebody orders it: with its scripts.
void switchUnit(WorldParts& world, Unit& unit, bool on);

/// Sends whoever stands in a building's yard out of it.
void clearYard(WorldParts& world, Unit& building);

}  // namespace orb::sim
