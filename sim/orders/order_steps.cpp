#include <algorithm>

#include "sim/fight/weapon_type.h"
#include "sim/orders/work_orders.h"
#include "sim/phases.h"
#include "sim/rules.h"

// What each kind of order wants in a tick, and when it is over.

namespace orb::sim {
namespace {

void goTo(UnitWish& wish, const Order& order) {
    wish.goal = order.place;
    wish.gathering = order.gathering;
}

/// Followers choose their goal anew in every tick.
void goAfter(UnitWish& wish, const Unit& target) {
    wish.goal = wish.gathering = target.place;
}

bool isWithin(const Unit& unit, GroundPoint place, Fixed distance) {
    return squaredDistance(unit.place.x, unit.place.z, place.x, place.z) <= squaredLength(distance);
}

OrderProgress move(Unit& unit, const Order& order, UnitWish& wish) {
    switch (unit.motion.arrival) {
        case Arrival::atGoal:
            return kDone;
        case Arrival::elsewhere:
            return kUnreached;
        case Arrival::givenUp:
            return failedFor(OrderFailure::blocked);
        case Arrival::underWay:
            break;
    }
    goTo(wish, order);
    return kUnderWay;
}

/// The shortest range of the weapons that are meant: from there all of them reach.
Fixed rangeOf(const UnitType& type, std::int8_t slot) {
    std::optional<Fixed> shortest;
    for (std::size_t i = 0; i < type.weapons.size(); ++i)
        if (type.weapons[i] && !type.weapons[i]->isCommandFire &&
            (slot < 0 || static_cast<std::size_t>(slot) == i))
            shortest =
                shortest ? std::min(*shortest, type.weapons[i]->range) : type.weapons[i]->range;
    return shortest.value_or(Fixed());
}

OrderProgress attack(const WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const target = world.state.units.find(order.target);
    if (order.target && (!target || target->isDying)) return kDone;
    const bool isCommand = order.kind == OrderKind::fire;
    if (isCommand && order.hasFired) return kDone;
    const Vector place =
        target ? target->position() : Vector{order.place.x, order.altitude, order.place.z};
    wish.attack = {order.target, place, order.slot, isCommand};
    if (isCommand || !unit.type->canMove) return kUnderWay;

    const Fixed reach =
        std::max(rangeOf(*unit.type, order.slot) - rules::kAttackMargin, rules::kAttackMargin);
    if (isWithin(unit, {place.x, place.z}, reach)) {
        unit.motion.arrival = Arrival::underWay;
        return kUnderWay;
    }
    if (unit.motion.arrival == Arrival::givenUp) return failedFor(OrderFailure::blocked);
    wish.goal = wish.gathering = {place.x, place.z};
    return kUnderWay;
}

OrderProgress guard(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const ward = world.state.units.find(order.target);
    if (!ward || ward->isDying) return failedFor(OrderFailure::targetGone);
    const Unit* const enemy = world.state.units.find(ward->lastAttacker);
    if (enemy && enemy->player != unit.player &&
        world.state.tick - ward->lastAttackedAt < rules::kGuardMemory)
        wish.attack = {enemy->ref(), enemy->position(), -1, false};
    if (help(world, unit, *ward, wish)) return kUnderWay;
    if (!isWithin(unit, ward->place, rules::kGuardDistance)) goAfter(wish, *ward);
    return kUnderWay;
}

OrderProgress carryOut(WorldParts& world, Unit& unit, UnitWish& wish) {
    Order& order = unit.orders.front();
    switch (order.kind) {
        case OrderKind::move:
        case OrderKind::patrol:
            return move(unit, order, wish);
        case OrderKind::attack:
        case OrderKind::fire:
            return attack(world, unit, order, wish);
        case OrderKind::guard:
            return guard(world, unit, order, wish);
        case OrderKind::build:
            return unit.type->isBuilding ? buildInYard(world, unit, order, wish)
                                         : buildOnSite(world, unit, order, wish);
        case OrderKind::repair:
            return repair(world, unit, order, wish);
        case OrderKind::reclaim:
            return reclaim(world, unit, order, wish);
        case OrderKind::capture:
            return capture(world, unit, order, wish);
        default:
            return failedFor(OrderFailure::cannotDo);
    }
}

void endOrder(WorldParts& world, Unit& unit, const OrderProgress& progress) {
    const Order order = unit.orders.front();
    unit.orders.erase(unit.orders.begin());
    unit.motion.beginAnew();
    unit.labour.waitTicks = 0;
    if (order.isSideStep) return;
    if (progress.stage == OrderProgress::Stage::failed)
        world.tell(unit, OrderFailed{order.kind, progress.reason, progress.fault});
    else
        world.tell(unit, OrderDone{order.kind, progress == kDone});
    // A patrol goes round, also past places that it cannot reach.
    if (order.kind == OrderKind::patrol) unit.orders.push_back(order);
}

bool canAct(const WorldParts& world, const Unit& unit) {
    return unit.isPresent() && unit.isBuilt() && !unit.isStunned(world.state.tick);
}

}  // namespace

void stepOrders(WorldParts& world, TickScratch& scratch) {
    for (Unit& unit : world.state.units) {
        UnitWish& wish = scratch.wishes[unit.slot()];
        if (!unit.orders.empty() && canAct(world, unit)) {
            // The next order begins in the next tick: a patrol between two places where the unit
            // stands does not go round for ever.
            const OrderProgress progress = carryOut(world, unit, wish);
            if (progress != kUnderWay) endOrder(world, unit, progress);
        }
        if (!unit.isDying) putToolsAway(world, scratch, unit, wish);
    }
}

}  // namespace orb::sim
