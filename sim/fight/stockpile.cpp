#include "sim/fight/stockpile.h"

#include <algorithm>

#include "sim/fight/weapons.h"
#include "sim/rules.h"
#include "sim/work/work.h"

namespace orb::sim {
namespace {

/// The work of one shot; a tick does `kWorkSteps` of it.
std::int64_t workOfShot(const WeaponType& weapon) {
    return weapon.reload * kWorkSteps;
}

/// Calls `visit(weapon type, stockpile)` for each that is not full.
template <typename Unit, typename Visit>
void forEachStockpile(Unit& unit, Visit visit) {
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot) {
        const auto& type = unit.type->weapons[slot];
        auto& stockpile = unit.weapons[slot].stockpile;
        if (type && type->isStockpiled && stockpile.shots < rules::kStockpile)
            visit(*type, stockpile);
    }
}

Price priceOf(const WeaponType& weapon, const Stockpile& stockpile, std::int64_t& work) {
    const std::int64_t whole = workOfShot(weapon);
    work = std::min(work, whole - stockpile.done);
    const auto part = [&](Amount cost) {
        return partOf(cost, stockpile.done + work, whole) - partOf(cost, stockpile.done, whole);
    };
    return {part(weapon.metalPerShot), part(weapon.energyPerShot)};
}

void fill(Player& player, const WeaponType& weapon, Stockpile& stockpile) {
    std::int64_t work = kWorkSteps;
    const Fixed share = shareFor(player, priceOf(weapon, stockpile, work));
    work = work * share.raw() >> Fixed::kFractionBits;
    const Price price = priceOf(weapon, stockpile, work);
    if (price.metal > player.metal.amount || !player.energy.pay(price.energy)) return;
    player.metal.pay(price.metal);
    stockpile.done += work;
    if (stockpile.done < workOfShot(weapon)) return;
    stockpile.done = 0;
    ++stockpile.shots;
}

}  // namespace

Price stockpilePrice(const WorldParts& world, const Unit& unit) {
    Price sum;
    if (!canFight(world, unit)) return sum;
    forEachStockpile(unit, [&](const WeaponType& weapon, const Stockpile& stockpile) {
        std::int64_t work = kWorkSteps;
        const Price price = priceOf(weapon, stockpile, work);
        sum.metal += price.metal;
        sum.energy += price.energy;
    });
    return sum;
}

void fillStockpiles(WorldParts& world) {
    for (Unit& unit : world.state.units)
        if (canFight(world, unit))
            forEachStockpile(unit, [&](const WeaponType& weapon, Stockpile& stockpile) {
                fill(playerOf(world, unit), weapon, stockpile);
            });
}

}  // namespace orb::sim
