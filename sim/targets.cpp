#include <algorithm>
#include <vector>

#include "sim/aiming.h"
#include "sim/phases.h"
#include "sim/weapons.h"

namespace orb::sim {
namespace {

/// A unit looks for targets in one tick of so many, its own one.
constexpr Tick kSearchEvery = 16;

bool hasCategoryOf(const UnitType& type, const std::vector<std::string>& words) {
    return std::ranges::any_of(words, [&](const std::string& word) {
        return std::ranges::find(type.categories, word) != type.categories.end();
    });
}

/// Whether a weapon may choose a unit by itself.
bool mayChoose(const WorldParts& world, const Unit& unit, std::size_t slot, const Unit& other) {
    return other.isPresent() && other.player != unit.player &&
           canReach(world, *unit.type->weapons[slot], other) &&
           !hasCategoryOf(*other.type, unit.type->badTargets[slot]);
}

bool mayKeep(const WorldParts& world, const Unit& unit, std::size_t slot) {
    const auto target = targetOf(world, unit.weapons[slot]);
    return target && target->unit && mayChoose(world, unit, slot, *target->unit) &&
           isInRange(world, unit, *unit.type->weapons[slot], *target);
}

/// The nearest enemy in range, the lower id where two are as near.
UnitRef nearestEnemy(const WorldParts& world, TickScratch& scratch, const Unit& unit,
                     std::size_t slot) {
    const WeaponType& weapon = *unit.type->weapons[slot];
    world.derived.buckets.findWithin(world.state.units, unit.place, weapon.range, scratch.found);
    UnitRef nearest;
    std::uint64_t least = ~std::uint64_t{0};
    for (const std::uint32_t candidate : scratch.found) {
        const Unit& other = *world.state.units.at(candidate);
        ++scratch.counts.pairs;
        const std::uint64_t distance =
            squaredDistance(unit.place.x, unit.place.z, other.place.x, other.place.z);
        if (distance >= least || !mayChoose(world, unit, slot, other)) continue;
        if (!isInRange(world, unit, weapon, {hitCenter(world, other), &other})) continue;
        nearest = other.ref();
        least = distance;
    }
    scratch.found.clear();
    return nearest;
}

/// What a weapon without an order should be aimed at.
UnitRef chooseTarget(const WorldParts& world, TickScratch& scratch, const Unit& unit,
                     std::size_t slot) {
    enum : std::uint8_t { holdsFire, returnsFire };
    if (unit.type->weapons[slot]->isCommandFire || unit.standing.fire == holdsFire) return {};
    if (unit.standing.fire != returnsFire) return nearestEnemy(world, scratch, unit, slot);
    const Unit* const attacker = world.state.units.find(unit.lastAttacker);
    if (!attacker || !mayChoose(world, unit, slot, *attacker)) return {};
    const bool isNear =
        isInRange(world, unit, *unit.type->weapons[slot], {hitCenter(world, *attacker), attacker});
    return isNear ? attacker->ref() : UnitRef();
}

/// Whether an order to attack is meant for a weapon, which can carry it out.
bool isMeant(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack,
             std::size_t slot) {
    const WeaponType& weapon = *unit.type->weapons[slot];
    if (weapon.isCommandFire && !attack.isCommand) return false;
    if (attack.slot >= 0 && attack.slot != static_cast<std::int32_t>(slot)) return false;
    if (!attack.target) return !weapon.isOnlyForAircraft;
    const Unit* const target = world.state.units.find(attack.target);
    return target && target != &unit && target->isPresent() && canReach(world, weapon, *target);
}

void chooseFor(WorldParts& world, TickScratch& scratch, Unit& unit, std::size_t slot) {
    WeaponState& weapon = unit.weapons[slot];
    const auto& attack = scratch.wishes[unit.slot()].attack;
    if (attack && isMeant(world, unit, *attack, slot))
        return aimAt(
            world, unit, slot,
            {attack->target ? AimKind::unit : AimKind::place, true, attack->target, attack->place});
    const bool keeps =
        weapon.aim == AimKind::unit && !weapon.isOrdered && mayKeep(world, unit, slot);
    if (keeps && unit.standing.fire != 0) return;
    const bool isDue = (world.state.tick + static_cast<Tick>(unit.id)) % kSearchEvery == 0;
    const UnitRef target = isDue || weapon.aim != AimKind::nothing
                               ? chooseTarget(world, scratch, unit, slot)
                               : UnitRef();
    aimAt(world, unit, slot, {target ? AimKind::unit : AimKind::nothing, false, target, {}});
}

}  // namespace

void stepTargets(WorldParts& world, TickScratch& scratch) {
    for (Unit& unit : world.state.units)
        for (std::size_t slot = 0; slot < kWeaponSlots; ++slot)
            if (unit.type->weapons[slot] && canFight(world, unit))
                chooseFor(world, scratch, unit, slot);
    askToAim(world);
}

}  // namespace orb::sim
