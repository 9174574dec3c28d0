#include "sim/orders/attack_reach.h"

#include <algorithm>
#include <optional>

#include "sim/fight/weapon_type.h"
#include "sim/rules.h"

namespace orb::sim {

Fixed attackReach(const UnitType& type, std::int8_t slot) {
    std::optional<Fixed> shortest;
    for (std::size_t i = 0; i < type.weapons.size(); ++i)
        if (type.weapons[i] && !type.weapons[i]->isCommandFire &&
            (slot < 0 || static_cast<std::size_t>(slot) == i))
            shortest =
                shortest ? std::min(*shortest, type.weapons[i]->range) : type.weapons[i]->range;
    return std::max(shortest.value_or(Fixed()) - rules::kAttackMargin, rules::kAttackMargin);
}

}  // namespace orb::sim
