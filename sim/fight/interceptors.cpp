#include "sim/fight/interceptors.h"

#include <algorithm>
#include <vector>

#include "sim/fight/projectiles.h"
#include "sim/fight/weapons.h"

namespace orb::sim {
namespace {

/// Looking for targets goes through at most so many pairs of a weapon and a shot in a tick; what is
/// beyond waits for the shots before to be gone. Known games have a handful of either.
constexpr std::size_t kMostPairs = 1'000'000;

bool isCovered(const Unit& unit, const WeaponType& weapon, const Projectile& shot) {
    return shot.player != unit.player &&
           squaredDistance(unit.place.x, unit.place.z, shot.aim.x, shot.aim.z) <=
               squaredLength(weapon.coverage);
}

/// The shots that can be intercepted, by id, less those that somebody is after.
std::vector<const Projectile*> freeTargets(const WorldParts& world) {
    std::vector<const Projectile*> targets;
    std::vector<std::uint32_t> taken;
    for (const Projectile& shot : world.state.projectiles.all) {
        if (shot.weapon->isTargetable) targets.push_back(&shot);
        if (shot.targetShot != 0) taken.push_back(shot.targetShot);
    }
    if (targets.empty()) return targets;
    for (const Unit& unit : world.state.units)
        for (const WeaponState& weapon : unit.weapons)
            if (weapon.aim == AimKind::shot) taken.push_back(weapon.targetShot);
    std::ranges::sort(taken);
    std::erase_if(targets, [&](const Projectile* shot) {
        return std::ranges::binary_search(taken, shot->id);
    });
    return targets;
}

/// An interceptor goes on after what it was aimed at, but not twice.
bool keepsTarget(const WorldParts& world, const Unit& unit, const WeaponType& type,
                 const WeaponState& weapon) {
    const Projectile* const shot = findShot(world, weapon.targetShot);
    if (!shot || !isCovered(unit, type, *shot)) return false;
    return std::ranges::none_of(world.state.projectiles.all, [&](const Projectile& other) {
        return other.targetShot == weapon.targetShot;
    });
}

/// Who cannot fire soon leaves a shot to others.
bool isLoaded(const WorldParts& world, const WeaponType& type, const WeaponState& weapon) {
    const bool isEmpty = type.isStockpiled && weapon.stockpile.shots == 0;
    return !isEmpty && weapon.readyAt <= world.state.tick + kTicksPerSecond;
}

template <typename Visit>
void forEachInterceptor(WorldParts& world, Visit visit) {
    for (Unit& unit : world.state.units)
        for (std::size_t slot = 0; slot < kWeaponSlots; ++slot) {
            const auto& type = unit.type->weapons[slot];
            if (type && type->isInterceptor && canFight(world, unit)) visit(unit, slot, *type);
        }
}

}  // namespace

const Projectile* findShot(const WorldParts& world, std::uint32_t id) {
    if (id == 0) return nullptr;
    const auto& all = world.state.projectiles.all;
    const auto found = std::ranges::lower_bound(all, id, {}, &Projectile::id);
    return found != all.end() && found->id == id ? &*found : nullptr;
}

void aimInterceptors(WorldParts& world) {
    std::size_t pairs = 0;
    forEachInterceptor(world, [&](Unit& unit, std::size_t slot, const WeaponType& type) {
        const WeaponState& weapon = unit.weapons[slot];
        if (weapon.aim != AimKind::shot) return;
        pairs += world.state.projectiles.all.size();
        if (pairs > kMostPairs || !keepsTarget(world, unit, type, weapon))
            aimAt(world, unit, slot, {});
    });
    std::vector<const Projectile*> targets = freeTargets(world);
    if (targets.empty()) return;
    forEachInterceptor(world, [&](Unit& unit, std::size_t slot, const WeaponType& type) {
        const WeaponState& weapon = unit.weapons[slot];
        if (weapon.aim == AimKind::shot || !isLoaded(world, type, weapon)) return;
        if (pairs > kMostPairs) return;
        pairs += targets.size();
        const auto found = std::ranges::find_if(
            targets, [&](const Projectile* shot) { return isCovered(unit, type, *shot); });
        if (found == targets.end()) return;
        AimWish wish;
        wish.aim = AimKind::shot;
        wish.targetShot = (*found)->id;
        aimAt(world, unit, slot, wish);
        targets.erase(found);
    });
}

void guideInterceptors(WorldParts& world) {
    for (Projectile& shot : world.state.projectiles.all)
        if (const Projectile* const target = findShot(world, shot.targetShot))
            shot.aim = target->place;
}

void intercept(WorldParts& world, TickScratch& scratch) {
    auto& all = world.state.projectiles.all;
    std::vector<std::uint32_t> gone;
    const auto burst = [&](const Projectile& shot) {
        gone.push_back(shot.id);
        scratch.impacts.push_back({shot.weapon,
                                   shot.place,
                                   {},
                                   0,
                                   headingOf(shot.velocity.x, shot.velocity.z),
                                   shot.owner});
    };
    for (const Projectile& shot : all) {
        const Projectile* const target = findShot(world, shot.targetShot);
        if (!target || std::ranges::find(gone, target->id) != gone.end()) continue;
        const Fixed reach = shot.speed + target->speed + Fixed::fromInt(rules::kInterceptDistance);
        if (lengthOf(shot.place - target->place) > reach) continue;
        burst(shot);
        burst(*target);
    }
    if (gone.empty()) return;
    std::ranges::sort(gone);
    std::erase_if(
        all, [&](const Projectile& shot) { return std::ranges::binary_search(gone, shot.id); });
}

}  // namespace orb::sim
