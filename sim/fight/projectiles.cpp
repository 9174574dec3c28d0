#include "sim/fight/projectiles.h"

#include <algorithm>
#include <cstdlib>

#include "sim/fight/aim_points.h"
#include "sim/fight/aiming.h"
#include "sim/fight/ballistics.h"
#include "sim/fight/interceptors.h"
#include "sim/fight/obstacles.h"
#include "sim/numbers/random.h"
#include "sim/phases.h"
#include "sim/sight/sight.h"

namespace orb::sim {
namespace {

/// Shots that go on through what they hit remember so many; they do not hit the others again
/// because they end after so many.
constexpr std::size_t kMaxPierced = 64;

constexpr Fixed kClimb = Fixed::fromInt(rules::kClimbPixels);

Medium mediumOf(const WeaponType& weapon) {
    return weapon.isWaterWeapon ? Medium::water : Medium::air;
}

bool isAboveWater(const WorldParts& world, const Projectile& shot) {
    return shot.place.y >= Fixed::fromInt(world.frame.terrain.seaLevel());
}

bool turns(const WeaponType& weapon) {
    return weapon.flight == Flight::guided || weapon.flight == Flight::vertical ||
           weapon.flight == Flight::cruise;
}

/// Nothing drives it: it was thrown, has burnt out, or has not reached its water yet.
bool falls(const WorldParts& world, const Projectile& shot) {
    const WeaponType& weapon = *shot.weapon;
    if (weapon.isWaterWeapon) return isAboveWater(world, shot);
    if (weapon.flight == Flight::ballistic || weapon.flight == Flight::dropped) return true;
    return weapon.thrust > 0 && world.state.tick - shot.bornAt >= weapon.thrust;
}

/// Looks where its target is now; of one that is gone it keeps the last place.
void watchTarget(const WorldParts& world, Projectile& shot) {
    const Unit* const target = world.state.units.find(shot.target);
    if (target && target->isPresent() && !hidesFrom(shot.player, *target))
        shot.aim = hitCenterFor(world, *shot.weapon, *target);
}

void turnTowards(Projectile& shot, const Vector& wish) {
    shot.velocity =
        withLength(turnedTowards(shot.velocity, wish, shot.weapon->turnPerTick), shot.speed);
}

/// Towards a place above the ground that lies a little ahead, until the target is near.
Vector cruiseWish(const WorldParts& world, const Projectile& shot) {
    const Vector whole = shot.aim - shot.place;
    if (lengthOf(whole.x, whole.z) <= kClimb) return whole;
    constexpr std::int32_t kTicksAhead = 8;
    const Fixed ahead = std::min(Fixed::fromInt(kMaxShotSpeed), shot.speed).times(kTicksAhead);
    Vector wish = withLength({whole.x, {}, whole.z}, ahead);
    const GroundPoint there{shot.place.x + wish.x, shot.place.z + wish.z};
    if (world.frame.terrain.contains(there))
        wish.y = floorHeight(world, there, Medium::air) + kClimb - shot.place.y;
    return wish;
}

void steer(const WorldParts& world, Projectile& shot) {
    const WeaponType& weapon = *shot.weapon;
    const Fixed before = shot.speed;
    if (turns(weapon)) watchTarget(world, shot);
    shot.speed = std::min(weapon.speed, shot.speed + weapon.acceleration);
    switch (weapon.flight) {
        case Flight::vertical:
            if (shot.place.y < shot.climbsTo) {
                shot.velocity = {{}, shot.speed, {}};
                return;
            }
            shot.climbsTo = Fixed::fromInt(-kMaxRange);
            [[fallthrough]];
        case Flight::guided:
            return turnTowards(shot, shot.aim - shot.place);
        case Flight::cruise:
            return turnTowards(shot, cruiseWish(world, shot));
        case Flight::straight:
        case Flight::ballistic:
        case Flight::dropped:
            if (shot.speed != before) shot.velocity = withLength(shot.velocity, shot.speed);
    }
}

/// A torpedo that does not turn is put into the water above its target's depth: it runs on straight
/// to where that was.
void diveTowards(const WorldParts& world, Projectile& shot, const Vector& entry) {
    const bool isIn = entry.y < Fixed::fromInt(world.frame.terrain.seaLevel());
    if (!isIn || !shot.weapon->isWaterWeapon || shot.weapon->flight != Flight::straight) return;
    const Vector wish = shot.aim - entry;
    const Angle turn = headingOf(wish.x, wish.z) - headingOf(shot.velocity.x, shot.velocity.z);
    constexpr std::int32_t kQuarterTurn = 16'384;
    if (std::abs(turn.steps()) < kQuarterTurn) shot.velocity = withLength(wish, shot.speed);
}

/// Where it goes in this tick.
Vector wayOf(const WorldParts& world, Projectile& shot) {
    if (falls(world, shot)) {
        const Vector way = fallOneTick(shot.velocity, fallPerTick(world.frame.conditions));
        shot.velocity.y = std::max(shot.velocity.y, Fixed::fromInt(-kMaxShotSpeed));
        diveTowards(world, shot, shot.place + way);
        return way;
    }
    steer(world, shot);
    Vector way = shot.velocity;
    if (shot.weapon->isWaterWeapon) {
        const Fixed deepest = Fixed::fromInt(world.frame.terrain.seaLevel() - rules::kTorpedoDepth);
        way.y = std::min(way.y, deepest - shot.place.y);
    }
    return way;
}

/// Torpedoes run below what hovers, and other shots end above what dives.
bool isInMedium(const WorldParts& world, const Projectile& shot, const Unit& unit) {
    return shot.weapon->isWaterWeapon ? isInWater(world, unit) : !isUnderWater(world, unit);
}

bool canHit(const WorldParts& world, const Projectile& shot, const Unit& unit) {
    const UnitRef ref = unit.ref();
    if (!unit.isPresent() || ref == shot.owner) return false;
    if (std::ranges::find(shot.pierced, ref) != shot.pierced.end()) return false;
    if (!isInMedium(world, shot, unit)) return false;
    return ref == shot.target || unit.player != shot.player || rules::kShotsHitFriends;
}

bool isWithin(GroundPoint place, GroundPoint other, Fixed distance) {
    return squaredDistance(place.x, place.z, other.x, other.z) <= squaredLength(distance);
}

struct UnitContact {
    const Unit* unit = nullptr;
    Fixed share = Fixed::fromInt(1);
};

/// The unit that a shot meets first on its way, the lower slot where two are as near.
UnitContact firstUnit(const WorldParts& world, TickScratch& scratch, const Projectile& shot,
                      const Vector& way) {
    // A sphere lies round a middle at most as far from the unit's as it reaches itself.
    const Fixed farthest = Fixed::fromInt(world.derived.largestFootprint * kCellPixels);
    const Fixed half = lengthOf(way.x, way.z).over(2, Rounding::up);
    const GroundPoint middle{shot.place.x + way.x.over(2, Rounding::down),
                             shot.place.z + way.z.over(2, Rounding::down)};
    world.derived.buckets.findWithin(world.state.units, middle, half + farthest, scratch.found);
    UnitContact first;
    for (const std::uint32_t slot : scratch.found) {
        const Unit& unit = *world.state.units.at(slot);
        ++scratch.counts.pairs;
        const Fixed radius = hitRadius(*unit.type);
        if (!canHit(world, shot, unit) || !isWithin(unit.place, middle, half + radius + radius))
            continue;
        const auto share =
            shareToSphere(shot.place, way, hitCenterFor(world, *shot.weapon, unit), radius);
        if (share && (!first.unit || *share < first.share)) first = {&unit, *share};
    }
    scratch.found.clear();
    return first;
}

Vector shareOf(const Vector& way, Fixed share) {
    return {way.x.times(share, Rounding::nearest), way.y.times(share, Rounding::nearest),
            way.z.times(share, Rounding::nearest)};
}

void burst(TickScratch& scratch, const Projectile& shot, const Vector& place, UnitRef direct = {},
           std::uint32_t feature = 0) {
    scratch.impacts.push_back({shot.weapon, place, direct, feature,
                               headingOf(shot.velocity.x, shot.velocity.z), shot.owner});
}

/// What a shot does that meets a unit. True while it goes on.
bool hitUnit(TickScratch& scratch, Projectile& shot, const Unit& unit, const Vector& place) {
    burst(scratch, shot, place, unit.ref());
    if (!shot.weapon->goesOn || shot.pierced.size() == kMaxPierced) return false;
    shot.pierced.push_back(unit.ref());
    return true;
}

bool isAtEnd(const WorldParts& world, const Projectile& shot) {
    if (world.state.tick >= shot.endsAt) return true;
    const WeaponType& weapon = *shot.weapon;
    return weapon.flight == Flight::straight && !weapon.fliesBeyondRange &&
           shot.travelled >= weapon.range + Fixed::fromInt(rules::kRangeSlack);
}

/// Whether a shot goes on where others end.
bool passes(const Projectile& shot, const Obstacle& obstacle) {
    if (obstacle.isEdge) return false;
    return obstacle.feature != 0 ? shot.weapon->goesOn : shot.weapon->slidesOverGround;
}

/// Lets it slide along the ground where it would go into it.
void liftOverGround(const WorldParts& world, Projectile& shot) {
    const GroundPoint ground{shot.place.x, shot.place.z};
    if (world.frame.terrain.contains(ground))
        shot.place.y = std::max(shot.place.y, floorHeight(world, ground, mediumOf(*shot.weapon)));
}

/// One tick of a shot's flight. True while it goes on.
bool fly(const WorldParts& world, TickScratch& scratch, Projectile& shot) {
    if (isAtEnd(world, shot)) {
        if (shot.weapon->burstsAtEnd) burst(scratch, shot, shot.place);
        return false;
    }
    const Vector way = wayOf(world, shot);
    const auto obstacle = firstObstacle(world, shot.place, way, mediumOf(*shot.weapon));
    const bool isStopped = obstacle && !passes(shot, *obstacle);
    const Vector clear = isStopped ? shareOf(way, obstacle->share) : way;
    const UnitContact contact = firstUnit(world, scratch, shot, clear);
    if (contact.unit &&
        !hitUnit(scratch, shot, *contact.unit, shot.place + shareOf(clear, contact.share)))
        return false;
    const bool goesThrough = obstacle && !isStopped && obstacle->feature != 0;
    if (obstacle && !obstacle->isEdge &&
        (isStopped || (goesThrough && obstacle->feature != shot.piercedFeature)))
        burst(scratch, shot, obstacle->place, {}, obstacle->feature);
    if (goesThrough) shot.piercedFeature = obstacle->feature;
    if (isStopped) return false;
    shot.place = shot.place + way;
    shot.travelled += lengthOf(way);
    if (shot.weapon->slidesOverGround) liftOverGround(world, shot);
    return true;
}

Tick lifeOf(const WeaponType& weapon, const RandomKey& key) {
    if (weapon.life > 0) return std::max(1, weapon.life - randomBetween(key, 0, weapon.lifeSpread));
    if (weapon.flight == Flight::ballistic || weapon.flight == Flight::dropped)
        return rules::kMostFallSeconds * kTicksPerSecond;
    // A way of its range at full speed, and the time that speeding up takes.
    const Fixed straight = weapon.range.over(weapon.speed, Rounding::up);
    const std::int64_t speedingUp =
        weapon.acceleration > Fixed()
            ? (weapon.speed - weapon.startSpeed).raw() / weapon.acceleration.raw() + 1
            : 0;
    const std::int64_t ticks =
        (straight.floor() + speedingUp + kTicksPerSecond) * rules::kGuidedLifeShare;
    return static_cast<Tick>(std::min<std::int64_t>(ticks, kMaxWeaponTicks));
}

}  // namespace

Fixed fallPerTick(const Conditions& conditions) {
    constexpr double kTicksSquared = kTicksPerSecond * kTicksPerSecond;
    return Fixed::fromNumber(
        std::clamp<double>(conditions.gravity / kTicksSquared, 0, kMaxShotSpeed));
}

void launch(WorldParts& world, const Unit& owner, const Launch& launch) {
    Projectiles& projectiles = world.state.projectiles;
    if (projectiles.all.size() >= kMaxProjectiles) {
        ++projectiles.refused;
        return;
    }
    const WeaponType& weapon = *launch.weapon;
    const Tick now = world.state.tick;
    const auto spread = [&](std::uint32_t axis) {
        return Angle::fromSteps(randomBetween(
            {world.frame.seed, owner.id, now, RandomPurpose::spray, 2 * launch.count + axis},
            -weapon.spray / 2, weapon.spray / 2));
    };
    Projectile shot;
    shot.id = ++projectiles.lastId;
    shot.weapon = launch.weapon;
    shot.owner = owner.ref();
    shot.player = owner.player;
    shot.place = launch.muzzle;
    shot.speed = weapon.startSpeed;
    shot.velocity =
        weapon.flight == Flight::dropped
            ? vectorOf(owner.heading, {}, owner.motion.speed)
            : vectorOf(launch.heading + spread(0), launch.pitch + spread(1), shot.speed);
    shot.target = launch.target;
    shot.targetShot = launch.targetShot;
    shot.aim = launch.aim;
    shot.climbsTo = launch.muzzle.y + kClimb;
    shot.bornAt = now;
    shot.endsAt =
        now + lifeOf(weapon, {world.frame.seed, owner.id, now, RandomPurpose::decay, launch.count});
    projectiles.all.push_back(std::move(shot));
}

void stepProjectiles(WorldParts& world, TickScratch& scratch) {
    auto& all = world.state.projectiles.all;
    guideInterceptors(world);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!fly(world, scratch, all[i])) continue;
        if (kept != i) all[kept] = std::move(all[i]);
        ++kept;
    }
    all.resize(kept);
    intercept(world, scratch);
}

}  // namespace orb::sim
