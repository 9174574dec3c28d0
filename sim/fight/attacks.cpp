#include "sim/fight/attacks.h"

#include <algorithm>
#include <optional>

#include "sim/fight/aiming.h"
#include "sim/rules.h"
#include "sim/sight/sight.h"

namespace orb::sim {

WeaponFault faultOf(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack,
                    std::size_t slot) {
    const auto& weapon = unit.type->weapons[slot];
    const bool isMeant = attack.slot < 0 || attack.slot == static_cast<std::int32_t>(slot);
    if (!weapon || !isMeant || weapon->isInterceptor) return WeaponFault::notThere;
    if (weapon->isCommandFire && !attack.isCommand) return WeaponFault::onlyOnCommand;
    if (weapon->range <= Fixed()) return WeaponFault::cannotReach;
    const Unit* const target = world.state.units.find(attack.target);
    const bool reaches = attack.target ? target && target != &unit && target->isPresent() &&
                                             !hidesFrom(unit.player, *target) &&
                                             canReach(world, *weapon, *target)
                                       : canReach(world, *weapon, {attack.place.x, attack.place.z});
    return reaches ? WeaponFault::none : WeaponFault::cannotReach;
}

WeaponFault faultOf(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack) {
    auto least = WeaponFault::notThere;
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot)
        least = std::min(least, faultOf(world, unit, attack, slot));
    return least;
}

Ranges rangesOf(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack) {
    std::optional<Ranges> ranges;
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot) {
        if (faultOf(world, unit, attack, slot) != WeaponFault::none) continue;
        const Fixed range = unit.type->weapons[slot]->range;
        if (!ranges) ranges = Ranges{range, range};
        ranges->shortest = std::min(ranges->shortest, range);
        ranges->longest = std::max(ranges->longest, range);
    }
    return ranges.value_or(Ranges());
}

Fixed attackReach(const Ranges& ranges) {
    return std::max(ranges.shortest - rules::kAttackMargin, rules::kAttackMargin);
}

}  // namespace orb::sim
