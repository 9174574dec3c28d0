#include <algorithm>

#include "sim/fight/attacks.h"
#include "sim/orders/air_orders.h"
#include "sim/orders/attack_orders.h"
#include "sim/orders/chasing.h"
#include "sim/orders/transport_orders.h"
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

/// A patrol whose places are where it stands, or out of reach, looks round before it goes on.
bool looksRound(Unit& unit, const Order& order) {
    std::uint8_t& ticks = unit.motion.legTicks;
    if (ticks < rules::kPatrolTicks) ++ticks;
    return order.kind == OrderKind::patrol && ticks < rules::kPatrolTicks;
}

/// Friends took its place, and it stands behind them: near it, or as near to the middle of its
/// group, counts as there.
OrderProgress arrived(const Unit& unit, const Order& order) {
    constexpr std::int32_t kNearFootprints = 4;
    const std::int32_t cells =
        kNearFootprints * std::max(unit.type->footprintX, unit.type->footprintZ);
    const Fixed near = Fixed::fromInt(cells * kCellPixels);
    const Fixed apart =
        lengthOf(order.place.x - order.gathering.x, order.place.z - order.gathering.z);
    const bool isThere =
        isWithin(unit, order.place, near) || isWithin(unit, order.gathering, apart + near);
    return isThere ? kDone : kUnreached;
}

OrderProgress move(Unit& unit, const Order& order, UnitWish& wish) {
    const bool waits = looksRound(unit, order);
    if (waits && unit.motion.arrival != Arrival::underWay) return kUnderWay;
    switch (unit.motion.arrival) {
        case Arrival::atGoal:
            return arrived(unit, order);
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

OrderProgress attack(const WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    if (const auto end = takeAim(world, unit, order, wish)) return *end;
    if (order.kind == OrderKind::fire || !unit.type->canMove) return kUnderWay;
    return comeNearer(world, unit, *wish.attack, lacksShot(unit, order.slot), wish);
}

/// Whoever attacks its ward, while that is remembered.
const Unit* attackerOf(const WorldParts& world, const Unit& unit, const Unit& ward) {
    const Unit* const enemy = world.state.units.find(ward.lastAttacker);
    const bool isRemembered = world.state.tick - ward.lastAttackedAt < rules::kGuardMemory;
    return enemy && isRemembered && enemy->player != unit.player ? enemy : nullptr;
}

OrderProgress guard(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const ward = world.state.units.find(order.target);
    if (!ward || ward->isDying) return failedFor(OrderFailure::targetGone);
    const Unit* const enemy = attackerOf(world, unit, *ward);
    if (enemy) wish.attack = {enemy->ref(), enemy->position(), -1, false};
    if (help(world, unit, *ward, wish)) return kUnderWay;
    if (enemy && world.state.tick >= unit.chase.restsUntil &&
        mayChase(world, unit, *enemy, ward->place)) {
        const bool lacks = lacksShot(unit, -1);
        if (comeNearer(world, unit, *wish.attack, lacks, wish) == kUnderWay) return kUnderWay;
        unit.chase.restsUntil = world.state.tick + rules::kChaseRest;
    }
    if (!isWithin(unit, ward->place, rules::kGuardDistance)) goAfter(wish, *ward);
    return kUnderWay;
}

OrderProgress carryOut(WorldParts& world, TickScratch& scratch, Unit& unit, UnitWish& wish) {
    Order& order = unit.orders.front();
    if (unit.type->canFly && unit.type->canMove)
        if (const auto progress = carryOutInAir(world, unit, order, wish)) return *progress;
    switch (order.kind) {
        case OrderKind::move:
        case OrderKind::patrol:
            if (order.source == OrderSource::chase &&
                unit.standing.move == StandingOrders::kHoldsPlace)
                return kDone;
            return move(unit, order, wish);
        case OrderKind::attack:
        case OrderKind::fire:
            if (order.source == OrderSource::chase) return chase(world, unit, order, wish);
            return attack(world, unit, order, wish);
        case OrderKind::guard:
            return guard(world, unit, order, wish);
        case OrderKind::build:
            return unit.type->isBuilding ? buildInYard(world, scratch, unit, order, wish)
                                         : buildOnSite(world, unit, order, wish);
        case OrderKind::repair:
            return repair(world, unit, order, wish);
        case OrderKind::reclaim:
            return reclaim(world, unit, order, wish);
        case OrderKind::capture:
            return capture(world, unit, order, wish);
        case OrderKind::load:
            return load(world, unit, order, wish);
        case OrderKind::unload:
            return unload(world, unit, order, wish);
        default:
            return failedFor(OrderFailure::cannotDo);
    }
}

void endOrder(WorldParts& world, Unit& unit, const OrderProgress& progress) {
    const Order order = unit.orders.front();
    unit.orders.erase(unit.orders.begin());
    unit.motion.beginAnew();
    unit.labour.waitTicks = 0;
    if (order.source == OrderSource::chase &&
        (order.kind == OrderKind::move || !unit.orders.empty()))
        unit.chase.isAway = false;
    if (order.source != OrderSource::given) return;
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
            findChore(world, scratch, unit);
            const OrderProgress progress = carryOut(world, scratch, unit, wish);
            if (progress != kUnderWay) endOrder(world, unit, progress);
        }
        if (!unit.isDying) putToolsAway(world, scratch, unit, wish);
        putArmsAway(world, unit);
    }
}

}  // namespace orb::sim
