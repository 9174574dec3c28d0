#include "sim/orders/attack_orders.h"

#include <algorithm>

#include "sim/fight/attacks.h"
#include "sim/rules.h"

namespace orb::sim {
namespace {

/// Goes nearer until it has a shot or gets no nearer; then it waits for the target to move.
void seekShot(const WorldParts& world, Unit& unit, GroundPoint place, UnitWish& wish) {
    const Tick turn = world.state.tick + static_cast<Tick>(unit.id);
    if (unit.motion.arrival == Arrival::underWay)
        wish.goal = wish.gathering = place;
    else if (turn % rules::kSeekShotEvery == 0)
        unit.motion.beginAnew();
}

}  // namespace

std::optional<OrderProgress> takeAim(const WorldParts& world, const Unit& unit, const Order& order,
                                     UnitWish& wish) {
    const Unit* const target = world.state.units.find(order.target);
    const bool isCommand = order.kind == OrderKind::fire;
    if (isCommand && order.hasFired) return kDone;
    const bool isGone = order.target && (!target || target->isDying);
    if (isGone && !isCommand) return kDone;
    if (isGone || (target && !target->isPresent())) return failedFor(OrderFailure::targetGone);
    const Vector place =
        target ? target->position() : Vector{order.place.x, order.altitude, order.place.z};
    const UnitWish::Attack attack{order.target, place, order.slot, isCommand};
    if (faultOf(world, unit, attack) != WeaponFault::none)
        return failedFor(OrderFailure::cannotReach);
    wish.attack = attack;
    return std::nullopt;
}

bool lacksShot(const Unit& unit, std::int8_t slot) {
    bool lacks = false;
    for (std::size_t i = 0; i < unit.weapons.size(); ++i) {
        const WeaponState& weapon = unit.weapons[i];
        const bool isMeant = slot < 0 || static_cast<std::size_t>(slot) == i;
        if (!isMeant || !weapon.isOrdered || weapon.aim == AimKind::nothing) continue;
        if (!weapon.lacksShot) return false;
        lacks = true;
    }
    return lacks;
}

bool lacksShotAt(const Unit& unit, UnitRef target) {
    return std::ranges::any_of(unit.weapons, [&](const WeaponState& weapon) {
        return weapon.aim == AimKind::unit && weapon.target == target && weapon.lacksShot;
    });
}

bool isWithinReach(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack) {
    return isWithin(unit, {attack.place.x, attack.place.z},
                    attackReach(rangesOf(world, unit, attack)));
}

OrderProgress comeNearer(const WorldParts& world, Unit& unit, const UnitWish::Attack& attack,
                         bool lacks, UnitWish& wish) {
    const GroundPoint place{attack.place.x, attack.place.z};
    if (isWithinReach(world, unit, attack)) {
        if (lacks)
            seekShot(world, unit, place, wish);
        else
            unit.motion.arrival = Arrival::underWay;
        return kUnderWay;
    }
    if (unit.motion.arrival == Arrival::givenUp) return failedFor(OrderFailure::blocked);
    if (unit.motion.arrival == Arrival::elsewhere &&
        !isWithin(unit, place, rangesOf(world, unit, attack).longest))
        return failedFor(OrderFailure::noWay);
    wish.goal = wish.gathering = place;
    return kUnderWay;
}

}  // namespace orb::sim
