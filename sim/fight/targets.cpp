#include <algorithm>
#include <string>
#include <vector>

#include "sim/fight/aiming.h"
#include "sim/fight/attacks.h"
#include "sim/fight/interceptors.h"
#include "sim/fight/obstacles.h"
#include "sim/fight/weapons.h"
#include "sim/orders/chasing.h"
#include "sim/phases.h"
#include "sim/sight/sight.h"

namespace orb::sim {
namespace {

/// Whether a weapon may choose a unit by itself.
bool mayChoose(const WorldParts& world, const Unit& unit, std::size_t slot, const Unit& other) {
    return other.isPresent() && other.player != unit.player &&
           mayAimAt(world, unit.player, other) && canReach(world, *unit.type->weapons[slot], other);
}

/// It is chosen only where there is nobody else.
bool isPoor(const Unit& unit, std::size_t slot, const Unit& other) {
    return isOfCategory(*other.type, unit.type->badTargets[slot]);
}

bool mayKeep(const WorldParts& world, const Unit& unit, std::size_t slot) {
    const auto target = targetOf(world, unit.weapons[slot]);
    return target && target->unit && mayChoose(world, unit, slot, *target->unit) &&
           isInRange(world, unit, *unit.type->weapons[slot], *target);
}

struct FoundEnemy {
    UnitRef unit;
    bool isPoor = true;
    std::uint64_t distance = ~std::uint64_t{0};

    bool isWorseThan(bool poor, std::uint64_t square) const {
        return isPoor != poor ? isPoor : distance > square;
    }
};

/// The nearest enemy in range that the weapon is made for, else the nearest; the lower id where two
/// are as near.
FoundEnemy nearestEnemy(const WorldParts& world, UnitFinder& finder, const Unit& unit,
                        std::size_t slot) {
    const WeaponType& weapon = *unit.type->weapons[slot];
    world.derived.buckets.findWithin(world.state.units, unit.place, weapon.range, finder.found);
    FoundEnemy best;
    for (const std::uint32_t candidate : finder.found) {
        const Unit& other = *world.state.units.at(candidate);
        ++finder.pairs;
        const std::uint64_t distance =
            squaredDistance(unit.place.x, unit.place.z, other.place.x, other.place.z);
        if (other.player == unit.player || !best.isWorseThan(false, distance)) continue;
        const bool poor = isPoor(unit, slot, other);
        if (!best.isWorseThan(poor, distance) || !mayChoose(world, unit, slot, other)) continue;
        if (!isInRange(world, unit, weapon, {hitCenter(world, other), &other})) continue;
        best = {other.ref(), poor, distance};
    }
    finder.found.clear();
    return best;
}

/// What a weapon without an order should be aimed at.
UnitRef chooseTarget(const WorldParts& world, UnitFinder& finder, const Unit& unit,
                     std::size_t slot) {
    if (unit.type->weapons[slot]->isCommandFire || unit.standing.fire == StandingOrders::kHoldsFire)
        return {};
    const UnitRef kept = mayKeep(world, unit, slot) ? unit.weapons[slot].target : UnitRef();
    if (kept && !isPoor(unit, slot, *world.state.units.find(kept))) return kept;
    if (unit.standing.fire != StandingOrders::kReturnsFire) {
        const FoundEnemy found = nearestEnemy(world, finder, unit, slot);
        return kept && found.isPoor ? kept : found.unit;
    }
    if (kept) return kept;
    const Unit* const attacker = world.state.units.find(unit.lastAttacker);
    if (!attacker || !mayChoose(world, unit, slot, *attacker)) return {};
    const bool isNear =
        isInRange(world, unit, *unit.type->weapons[slot], {hitCenter(world, *attacker), attacker});
    return isNear ? attacker->ref() : UnitRef();
}

/// What an order names, as one weapon aims at it: a place on water is hit at its surface, but by
/// shots that run in it at its bottom.
AimWish wishFor(const WorldParts& world, const WeaponType& weapon, const UnitWish::Attack& attack) {
    if (attack.target) return {AimKind::unit, true, attack.target, {}};
    Vector place = attack.place;
    if (weapon.isWaterWeapon) place.y = floorHeight(world, {place.x, place.z}, Medium::water);
    return {AimKind::place, true, {}, place};
}

/// What an order names is aimed at now; who has to look for something is noted. A weapon looks in
/// its unit's own ticks, and when what it was aimed at is there no more.
void plan(WorldParts& world, TickScratch& scratch, Unit& unit, std::size_t slot) {
    const WeaponState& weapon = unit.weapons[slot];
    const auto& attack = scratch.wishes[unit.slot()].attack;
    if (attack && faultOf(world, unit, *attack, slot) == WeaponFault::none)
        return aimAt(world, unit, slot, wishFor(world, *unit.type->weapons[slot], *attack));
    const bool isDue = (world.state.tick + static_cast<Tick>(unit.id)) % rules::kSearchEvery == 0;
    const Unit* const target = world.state.units.find(weapon.target);
    const bool isGone =
        weapon.aim != AimKind::nothing &&
        (weapon.isOrdered || !target || !target->isPresent() || hidesFrom(unit.player, *target));
    if (isDue || isGone) scratch.searches.push_back({unit.slot(), slot, {}});
}

}  // namespace

void stepTargets(WorldParts& world, TickScratch& scratch) {
    for (Unit& unit : world.state.units)
        for (std::size_t slot = 0; slot < kWeaponSlots; ++slot) {
            const auto& weapon = unit.type->weapons[slot];
            if (weapon && !weapon->isInterceptor && canFight(world, unit))
                plan(world, scratch, unit, slot);
        }
    aimInterceptors(world);

    constexpr std::size_t kSearchesPerBlock = 16;
    scratch.finders.resize(world.workers.count());
    world.workers.forEach(
        scratch.searches.size(), kSearchesPerBlock, [&](std::size_t item, std::size_t worker) {
            TargetSearch& search = scratch.searches[item];
            search.target = chooseTarget(world, scratch.finders[worker],
                                         *world.state.units.at(search.unit), search.weapon);
        });

    for (const auto& [slot, weapon, target] : scratch.searches)
        aimAt(world, *world.state.units.at(slot), weapon,
              {target ? AimKind::unit : AimKind::nothing, false, target, {}});
    for (UnitFinder& finder : scratch.finders) scratch.counts.pairs += finder.pairs;
    scratch.finders.clear();
    goAfterEnemies(world, scratch);
    askToAim(world);
}

}  // namespace orb::sim
