#include "sim/orders/attack_orders.h"

#include "sim/fight/attacks.h"

namespace orb::sim {

std::optional<OrderProgress> takeAim(const WorldParts& world, const Unit& unit, const Order& order,
                                     UnitWish& wish) {
    const Unit* const target = world.state.units.find(order.target);
    if (order.target && (!target || target->isDying)) return kDone;
    if (target && !target->isPresent()) return failedFor(OrderFailure::targetGone);
    const bool isCommand = order.kind == OrderKind::fire;
    if (isCommand && order.hasFired) return kDone;
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

}  // namespace orb::sim
