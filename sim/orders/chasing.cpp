#include "sim/orders/chasing.h"

#include <algorithm>

#include "sim/fight/attacks.h"
#include "sim/fight/weapons.h"
#include "sim/orders/attack_orders.h"
#include "sim/rules.h"
#include "sim/sight/sight.h"

namespace orb::sim {
namespace {

/// One of its weapons can shoot at the enemy by itself, and is made for such targets.
bool hasWeaponFor(const WorldParts& world, const Unit& unit, const Unit& enemy) {
    const UnitWish::Attack attack{enemy.ref(), enemy.position(), -1, false};
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot)
        if (faultOf(world, unit, attack, slot) == WeaponFault::none &&
            !isOfCategory(*enemy.type, unit.type->badTargets[slot]))
            return true;
    return false;
}

Fixed longestRange(const UnitType& type) {
    Fixed longest;
    for (const auto& weapon : type.weapons)
        if (weapon) longest = std::max(longest, weapon->range);
    return longest;
}

/// Who only shoots back goes after his last attacker, while he remembers him.
bool mayShootFirst(const WorldParts& world, const Unit& unit, const Unit& enemy) {
    if (unit.standing.fire == StandingOrders::kFiresAtWill) return true;
    return unit.standing.fire == StandingOrders::kReturnsFire && unit.lastAttacker == enemy.ref() &&
           world.state.tick - unit.lastAttackedAt < rules::kGuardMemory;
}

/// How far from its place it goes at most, and shoots.
bool isOnLeash(const WorldParts& world, const Unit& unit, const Unit& enemy, GroundPoint home) {
    if (unit.standing.move != StandingOrders::kManoeuvres) return true;
    const Ranges ranges =
        rangesOf(world, unit, UnitWish::Attack{enemy.ref(), enemy.position(), -1, false});
    const Fixed most = unit.type->leash + attackReach(ranges);
    return squaredDistance(home.x, home.z, enemy.place.x, enemy.place.z) <= squaredLength(most);
}

/// A weapon has chosen somebody whom it can hit.
bool isShooting(const Unit& unit) {
    return std::ranges::any_of(unit.weapons, [](const WeaponState& weapon) {
        return weapon.aim == AimKind::unit && !weapon.lacksShot;
    });
}

GroundPoint homeOf(const Unit& unit) {
    return unit.chase.isAway ? unit.chase.home : unit.place;
}

/// It has nothing to do that it was told but patrols.
bool isFree(const Unit& unit) {
    if (unit.orders.empty()) return true;
    const Order& order = unit.orders.front();
    return order.source == OrderSource::chase ||
           (order.source == OrderSource::given && order.kind == OrderKind::patrol);
}

/// Who patrols stands and fights; who has nothing to do shoots from where he is.
bool looksForEnemies(const WorldParts& world, const Unit& unit) {
    const UnitType& type = *unit.type;
    if (!type.canMove || type.canFly || !canFight(world, unit)) return false;
    if (longestRange(type) == Fixed() || unit.standing.move == StandingOrders::kHoldsPlace ||
        !isFree(unit))
        return false;
    return unit.chase.isAway || !unit.orders.empty() || !isShooting(unit);
}

/// The nearest one within sight of the unit itself, or within its range.
UnitRef nearestQuarry(const WorldParts& world, UnitFinder& finder, const Unit& unit) {
    if (world.state.tick < unit.chase.restsUntil) return {};
    const Fixed reach =
        std::max(Fixed::fromInt(unit.type->sightDistance), longestRange(*unit.type));
    world.derived.buckets.findWithin(world.state.units, unit.place, reach, finder.found);
    UnitRef nearest;
    std::uint64_t least = ~std::uint64_t{0};
    for (const std::uint32_t candidate : finder.found) {
        const Unit& other = *world.state.units.at(candidate);
        ++finder.pairs;
        if (other.player == unit.player) continue;
        const std::uint64_t distance =
            squaredDistance(unit.place.x, unit.place.z, other.place.x, other.place.z);
        if (distance >= least || !mayChase(world, unit, other, homeOf(unit))) continue;
        nearest = other.ref();
        least = distance;
    }
    finder.found.clear();
    return nearest;
}

void beginChase(Unit& unit, UnitRef enemy) {
    const bool chases = !unit.orders.empty() && unit.orders.front().source == OrderSource::chase;
    if (chases && unit.orders.front().target == enemy) return;
    if (!chases && unit.orders.size() >= kMaxOrders) return;
    unit.chase.home = homeOf(unit);
    unit.chase.isAway = true;
    if (chases) unit.orders.erase(unit.orders.begin());
    Order order;
    order.kind = OrderKind::attack;
    order.source = OrderSource::chase;
    order.target = enemy;
    unit.orders.insert(unit.orders.begin(), order);
    unit.motion.beginAnew();
}

/// Who has somebody in range stays away from his place for so long.
void goBack(Unit& unit) {
    if (!unit.chase.isAway || !unit.orders.empty() || isShooting(unit)) return;
    if (unit.standing.move != StandingOrders::kManoeuvres) {
        unit.chase.isAway = false;
        return;
    }
    Order order;
    order.kind = OrderKind::move;
    order.source = OrderSource::chase;
    order.place = order.gathering = unit.chase.home;
    unit.orders.push_back(order);
    unit.motion.beginAnew();
}

}  // namespace

bool mayChase(const WorldParts& world, const Unit& unit, const Unit& enemy, GroundPoint home) {
    return unit.standing.move != StandingOrders::kHoldsPlace && enemy.isPresent() &&
           enemy.player != unit.player && mayAimAt(world, unit.player, enemy) &&
           mayShootFirst(world, unit, enemy) && isOnLeash(world, unit, enemy, home) &&
           hasWeaponFor(world, unit, enemy) && !isOfCategory(*enemy.type, unit.type->notChased);
}

OrderProgress chase(const WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const enemy = world.state.units.find(order.target);
    if (!enemy || !mayChase(world, unit, *enemy, unit.chase.home)) return kDone;
    const UnitWish::Attack attack{enemy->ref(), enemy->position(), -1, false};
    const bool isNear = isWithinReach(world, unit, attack);
    const bool lacks = isNear && lacksShotAt(unit, enemy->ref());
    if (isNear && !lacks && unit.orders.size() == 1 && isShooting(unit)) return kDone;
    const bool isStuck =
        unit.motion.arrival != Arrival::underWay && (lacks || (!isNear && !isShooting(unit)));
    const OrderProgress progress =
        isStuck ? failedFor(OrderFailure::noWay) : comeNearer(world, unit, attack, lacks, wish);
    if (progress.stage == OrderProgress::Stage::failed)
        unit.chase.restsUntil = world.state.tick + rules::kChaseRest;
    return progress;
}

void goAfterEnemies(WorldParts& world, TickScratch& scratch) {
    for (const Unit& unit : world.state.units) {
        const bool isDue =
            (world.state.tick + static_cast<Tick>(unit.id)) % rules::kSearchEvery == 0;
        if (isDue && looksForEnemies(world, unit)) scratch.chases.push_back({unit.slot(), {}});
    }
    constexpr std::size_t kSearchesPerBlock = 16;
    scratch.finders.resize(world.workers.count());
    world.workers.forEach(
        scratch.chases.size(), kSearchesPerBlock, [&](std::size_t item, std::size_t worker) {
            ChaseSearch& search = scratch.chases[item];
            search.enemy =
                nearestQuarry(world, scratch.finders[worker], *world.state.units.at(search.unit));
        });
    for (const auto& [slot, enemy] : scratch.chases) {
        Unit& unit = *world.state.units.at(slot);
        if (enemy)
            beginChase(unit, enemy);
        else
            goBack(unit);
    }
    for (UnitFinder& finder : scratch.finders) scratch.counts.pairs += finder.pairs;
    scratch.finders.clear();
}

}  // namespace orb::sim
