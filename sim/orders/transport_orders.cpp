#include "sim/orders/transport_orders.h"

#include <array>

#include "sim/cargo/cargo.h"
#include "sim/rules.h"
#include "sim/scripts/piece_pose.h"
#include "sim/scripts/script_host.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

OrderProgress tired(Unit& unit) {
    return ++unit.labour.waitTicks > rules::kLoadTicks ? failedFor(OrderFailure::blocked)
                                                       : kUnderWay;
}

/// Brings what stands or swims beside a place; none when it is there.
std::optional<OrderProgress> goBeside(Unit& unit, GroundPoint place, Fixed halfSize,
                                      UnitWish& wish) {
    if (distanceFrom(unit.cells(), place) <= rules::kLoadDistance + halfSize) {
        unit.motion.arrival = Arrival::underWay;
        return std::nullopt;
    }
    if (!unit.type->canMove || unit.motion.arrival == Arrival::elsewhere)
        return failedFor(OrderFailure::noWay);
    if (unit.motion.arrival == Arrival::givenUp) return failedFor(OrderFailure::blocked);
    wish.goal = wish.gathering = place;
    return kUnderWay;
}

/// How far below the aircraft its load hangs: where its script's piece is, else below itself.
Fixed slingLength(WorldParts& world, Unit& unit, const Unit& load, std::int32_t piece) {
    return piece >= 0 ? unit.altitude - pieceInWorld(world, unit, piece).y : load.type->height;
}

/// Goes down over a place until its load, hanging from it, is at a height. True when it is.
bool goDownTo(WorldParts& world, Unit& unit, const Unit& load, const Vector& place,
              std::int32_t piece, UnitWish& wish) {
    const GroundPoint ground{place.x, place.z};
    wish.goal = wish.gathering = ground;
    if (!isWithin(unit, ground, rules::kLoadNear)) return false;
    const Fixed length = slingLength(world, unit, load, piece);
    wish.flight.altitude = place.y + length;
    const Fixed lowest = restingAltitude(world.frame.terrain, *unit.type, unit.place);
    const bool isLow = unit.altitude - length <= place.y + rules::kLoadHeight ||
                       unit.altitude <= lowest + rules::kLoadHeight;
    return isLow && isWithin(unit, ground, rules::kLoadReach + load.motion.speed);
}

OrderProgress loadFromAbove(WorldParts& world, Unit& unit, Unit& target, UnitWish& wish) {
    UnitHold& hold = unit.hold;
    if (!isWithin(unit, target.place, rules::kLoadNear)) {
        wish.goal = wish.gathering = target.place;
        return kUnderWay;
    }
    if (hold.handled != target.ref()) {
        hold.handled = target.ref();
        const std::int32_t height = target.type->height.raw();
        startScriptIfThere(world, unit, UnitScript::beginTransport, {&height, 1});
    }
    const std::int32_t piece = queryPiece(world, unit, UnitScript::queryTransport);
    if (!goDownTo(world, unit, target, target.position(), piece, wish)) return tired(unit);
    takeAboard(world, unit, target, piece);
    return kDone;
}

OrderProgress loadFromBeside(WorldParts& world, Unit& unit, Unit& target, UnitWish& wish) {
    const std::int32_t side = std::max(target.type->footprintX, target.type->footprintZ);
    const Fixed half = Fixed::fromInt(side * kCellPixels / 2);
    if (const auto way = goBeside(unit, target.place, half, wish)) return *way;
    UnitHold& hold = unit.hold;
    if (unit.type->indexOf(UnitScript::transportPickup) < 0) {
        takeAboard(world, unit, target, queryPiece(world, unit, UnitScript::queryTransport));
        return kDone;
    }
    if (hold.handled != target.ref() && !unit.values.isBusy) {
        hold.handled = target.ref();
        const auto id = static_cast<std::int32_t>(target.id);
        startScript(world, unit, UnitScript::transportPickup, {&id, 1});
    }
    return tired(unit);
}

/// Who leaves next, or null.
Unit* nextOut(WorldParts& world, const Unit& unit, const Order& order) {
    if (order.target) {
        Unit* const named = world.state.units.find(order.target);
        return named && named->carrier == unit.ref() ? named : nullptr;
    }
    return unit.hold.cargo.empty() ? nullptr : world.state.units.find(unit.hold.cargo.front());
}

/// Chooses where somebody comes to stand, and remembers it; what is wrong with the place where
/// there is no room.
SiteFault choosePlace(const WorldParts& world, Unit& unit, const Unit& load, GroundPoint wished) {
    const Ground ground = groundOf(world);
    const auto free = freePlaceNear(ground, *load.type, wished, 1, rules::kUnloadRings);
    if (!free)
        return testGround(ground, *load.type,
                          footprintAt(wished, load.type->footprintX, load.type->footprintZ));
    unit.hold.place = *free;
    return SiteFault::none;
}

OrderProgress unloadFromAbove(WorldParts& world, Unit& unit, Unit& load, const Order& order,
                              UnitWish& wish) {
    wish.goal = order.place;
    wish.gathering = order.gathering;
    const Fixed near = rules::kLoadNear.times(2);
    if (unit.hold.handled != load.ref() && !isWithin(unit, order.place, near)) return kUnderWay;
    if (const SiteFault fault = choosePlace(world, unit, load, order.place);
        fault != SiteFault::none)
        return failedFor(OrderFailure::cannotDo, fault);
    unit.hold.handled = load.ref();
    const GroundPoint place = unit.hold.place;
    const Vector ground{place.x, restingAltitude(world.frame.terrain, *load.type, place), place.z};
    if (!goDownTo(world, unit, load, ground, load.carrierPiece, wish)) return tired(unit);
    putDown(world, load, place);
    unit.labour.waitTicks = 0;
    return kUnderWay;
}

OrderProgress unloadBeside(WorldParts& world, Unit& unit, Unit& load, const Order& order,
                           UnitWish& wish) {
    if (const auto way = goBeside(unit, order.place, {}, wish)) return *way;
    if (unit.hold.handled == load.ref() || unit.values.isBusy) return tired(unit);
    if (const SiteFault fault = choosePlace(world, unit, load, order.place);
        fault != SiteFault::none)
        return failedFor(OrderFailure::cannotDo, fault);
    unit.hold.handled = load.ref();
    unit.labour.waitTicks = 0;
    const GroundPoint place = unit.hold.place;
    if (unit.type->indexOf(UnitScript::transportDrop) < 0) {
        putDown(world, load, place);
        return kUnderWay;
    }
    // x in the upper half of the word, z in the lower one.
    const std::array<std::int32_t, 2> arguments{static_cast<std::int32_t>(load.id),
                                                place.x.floor() * 65'536 + place.z.floor()};
    startScript(world, unit, UnitScript::transportDrop, arguments);
    return kUnderWay;
}

}  // namespace

OrderProgress load(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    Unit* const target = world.state.units.find(order.target);
    if (!target || target->isDying) return failedFor(OrderFailure::targetGone);
    // The arm is still at it.
    if (target->carrier == unit.ref())
        return unit.values.isBusy && tired(unit) == kUnderWay ? kUnderWay : kDone;
    if (!mayCarry(unit, *target)) return failedFor(OrderFailure::cannotDo);
    return unit.type->canFly ? loadFromAbove(world, unit, *target, wish)
                             : loadFromBeside(world, unit, *target, wish);
}

OrderProgress unload(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    Unit* const next = nextOut(world, unit, order);
    if (!next) return unit.values.isBusy && tired(unit) == kUnderWay ? kUnderWay : kDone;
    return unit.type->canFly ? unloadFromAbove(world, unit, *next, order, wish)
                             : unloadBeside(world, unit, *next, order, wish);
}

void putArmsAway(WorldParts& world, Unit& unit) {
    UnitHold& hold = unit.hold;
    if (!hold.handled || unit.isDying) return;
    if (!unit.orders.empty()) {
        const OrderKind kind = unit.orders.front().kind;
        if (kind == OrderKind::load || kind == OrderKind::unload) return;
    }
    hold.handled = {};
    if (unit.type->canFly && hold.cargo.empty())
        startScriptIfThere(world, unit, UnitScript::endTransport);
}

}  // namespace orb::sim
