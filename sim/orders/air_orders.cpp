#include "sim/orders/air_orders.h"

#include <algorithm>

#include "sim/cargo/landing_pads.h"
#include "sim/fight/attacks.h"
#include "sim/motion/landing.h"
#include "sim/orders/attack_orders.h"
#include "sim/orders/work_orders.h"
#include "sim/rules.h"
#include "sim/scripts/piece_pose.h"

namespace orb::sim {
namespace {

/// What of a weapon's reach is left over the ground from that much higher.
Fixed reachOnGround(Fixed reach, Fixed height) {
    const auto square = [](Fixed length) {
        const std::int64_t raw = length.raw();
        return static_cast<std::uint64_t>(raw * raw);
    };
    if (square(height) >= square(reach)) return rules::kAttackMargin;
    return std::max(rules::kAttackMargin,
                    Fixed::fromWideRaw(squareRoot(square(reach) - square(height))));
}

/// Brings its weapons to bear on what it attacks: over it, or within reach for those who hover.
void flyAt(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack,
           UnitWish& wish) {
    const GroundPoint ground{attack.place.x, attack.place.z};
    wish.goal = wish.gathering = ground;
    if (!unit.type->air.hovers) {
        wish.flight.manner = FlightManner::run;
        return;
    }
    wish.flight.faced = ground;
    const Fixed reach =
        reachOnGround(attackReach(rangesOf(world, unit, attack)), unit.altitude - attack.place.y);
    if (!isWithin(unit, ground, reach)) return;
    // Something is in the way of its shots: it comes nearer.
    if (lacksShot(unit, attack.slot) && !isWithin(unit, ground, rules::kAttackMargin)) return;
    wish.goal = unit.place;
    wish.flight.manner = FlightManner::hold;
}

/// An enemy that one of its weapons has chosen, for those who may leave their way for it.
const Unit* chosenEnemy(const WorldParts& world, const Unit& unit) {
    if (unit.standing.move == StandingOrders::kHoldsPlace ||
        unit.standing.fire != StandingOrders::kFiresAtWill)
        return nullptr;
    for (const WeaponState& weapon : unit.weapons) {
        if (weapon.aim != AimKind::unit || weapon.isOrdered) continue;
        const Unit* const enemy = world.state.units.find(weapon.target);
        if (enemy && enemy->isPresent() && !isOfCategory(*enemy->type, unit.type->notChased))
            return enemy;
    }
    return nullptr;
}

OrderProgress fly(const WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    if (unit.motion.arrival != Arrival::underWay) return kDone;
    const bool patrols = order.kind == OrderKind::patrol;
    if (const Unit* const enemy = patrols ? chosenEnemy(world, unit) : nullptr) {
        flyAt(world, unit, {enemy->ref(), enemy->position(), -1, false}, wish);
        return kUnderWay;
    }
    wish.goal = order.place;
    wish.gathering = order.gathering;
    if (patrols || unit.orders.size() > 1) wish.flight.manner = FlightManner::pass;
    return kUnderWay;
}

OrderProgress attack(const WorldParts& world, const Unit& unit, const Order& order,
                     UnitWish& wish) {
    if (const auto end = takeAim(world, unit, order, wish)) return *end;
    flyAt(world, unit, *wish.attack, wish);
    return kUnderWay;
}

void stayNear(const Unit& unit, const Unit& ward, UnitWish& wish) {
    wish.goal = wish.gathering = ward.place;
    if (!unit.type->air.hovers) {
        wish.flight.manner = FlightManner::circle;
    } else if (isWithin(unit, ward.place, rules::kGuardDistance)) {
        wish.goal = unit.place;
        wish.flight.manner = FlightManner::hold;
    }
}

OrderProgress guard(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const ward = world.state.units.find(order.target);
    if (!ward || ward->isDying) return failedFor(OrderFailure::targetGone);
    const Unit* const enemy = world.state.units.find(ward->lastAttacker);
    const bool isAttacked = enemy && enemy->isPresent() && enemy->player != unit.player &&
                            world.state.tick - ward->lastAttackedAt < rules::kGuardMemory;
    if (isAttacked) {
        wish.attack = {enemy->ref(), enemy->position(), -1, false};
        flyAt(world, unit, *wish.attack, wish);
    } else if (!help(world, unit, *ward, wish)) {
        stayNear(unit, *ward, wish);
    }
    return kUnderWay;
}

/// Goes down to a pad, sits there until it is whole, and leaves.
OrderProgress land(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const owner = world.state.units.find(order.target);
    if (!owner || !owner->isPresent()) return failedFor(OrderFailure::targetGone);
    if (owner->player != unit.player || !owner->isBuilt()) return failedFor(OrderFailure::cannotDo);
    const auto perch = takePerch(world, unit);
    if (!perch) {
        const bool hasNone = owner->pads.pieces == UnitPads().pieces;
        if (hasNone || isLanding(*owner)) return failedFor(OrderFailure::cannotDo);
        stayNear(unit, *owner, wish);
        return kUnderWay;
    }
    if (unit.flight.stage == FlightStage::perched) {
        const bool canMend = owner->type->economy.workPerTick > 0;
        if (unit.health >= Amount::fromInt(unit.type->maxHealth) || !canMend) return kDone;
        if (!owner->isStunned(world.state.tick))
            wish.work = {WorkWish::Kind::repair, unit.ref(), 0, owner->ref()};
        return kUnderWay;
    }
    const Vector pad = pieceInWorld(world, *owner, perch->piece);
    const GroundPoint place{pad.x, pad.z};
    wish.goal = wish.gathering = place;
    if (!isWithin(unit, place, rules::kLoadNear)) return kUnderWay;
    wish.flight.altitude = pad.y;
    if (isWithin(unit, place, rules::kLoadReach + owner->motion.speed) &&
        unit.altitude <= pad.y + rules::kLoadHeight)
        sitDown(world, unit);
    return kUnderWay;
}

}  // namespace

std::optional<OrderProgress> carryOutInAir(WorldParts& world, Unit& unit, const Order& order,
                                           UnitWish& wish) {
    switch (order.kind) {
        case OrderKind::move:
        case OrderKind::patrol:
            return fly(world, unit, order, wish);
        case OrderKind::attack:
            return attack(world, unit, order, wish);
        case OrderKind::guard:
            return guard(world, unit, order, wish);
        case OrderKind::land:
            return land(world, unit, order, wish);
        case OrderKind::fire:
            // Who can stay where he is fires from there.
            if (unit.type->air.hovers) return std::nullopt;
            return attack(world, unit, order, wish);
        default:
            return std::nullopt;
    }
}

}  // namespace orb::sim
