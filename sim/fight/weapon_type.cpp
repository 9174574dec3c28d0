#include "sim/fight/weapon_type.h"

#include <algorithm>

#include "io/ascii.h"

namespace orb::sim {

Amount WeaponType::damageTo(std::string_view unitName) const {
    const auto isBefore = [](const UnitDamage& entry, std::string_view wanted) {
        return std::lexicographical_compare(
            entry.unit.begin(), entry.unit.end(), wanted.begin(), wanted.end(),
            [](char a, char b) { return std::char_traits<char>::lt(a, io::toUpper(b)); });
    };
    const auto found = std::lower_bound(unitDamage.begin(), unitDamage.end(), unitName, isBefore);
    return found != unitDamage.end() && io::equalsIgnoringCase(found->unit, unitName)
               ? found->amount
               : damage;
}

Amount WeaponType::damageAt(Fixed distance, Amount whole) const {
    if (distance <= Fixed()) return whole;
    if (distance > damageRadius) return {};
    const Fixed one = Fixed::fromInt(1);
    const Fixed way = distance.over(damageRadius, Rounding::nearest);
    const Fixed lost = (one - edgeShare).times(way, Rounding::nearest);
    return whole.times(one - lost, Rounding::nearest);
}

}  // namespace orb::sim
