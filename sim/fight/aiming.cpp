#include "sim/fight/aiming.h"

#include <algorithm>

#include "sim/fight/interceptors.h"
#include "sim/fight/obstacles.h"

namespace orb::sim {
namespace {

bool flies(const UnitType& type) {
    return type.canFly;
}

Fixed seaLevel(const WorldParts& world) {
    return Fixed::fromInt(world.frame.terrain.seaLevel());
}

/// Where the target will be when a shot from there arrives.
Vector leadPoint(const WeaponType& weapon, const Vector& from, const AimTarget& target) {
    if (!target.unit || target.unit->motion.speed == Fixed()) return target.point;
    if (weapon.flight != Flight::straight && weapon.flight != Flight::ballistic)
        return target.point;
    const Vector step = vectorOf(target.unit->heading, {}, target.unit->motion.speed);
    Vector point = target.point;
    // The way gets longer or shorter with the lead; the second look is near enough.
    for (int look = 0; look < 2; ++look) {
        const std::int64_t ticks =
            quotient(lengthOf(point - from).raw(), weapon.speed.raw(), Rounding::nearest);
        const auto lead = [&](Fixed along) { return Fixed::fromWideRaw(along.raw() * ticks); };
        point = target.point + Vector{lead(step.x), {}, lead(step.z)};
    }
    return point;
}

/// Whether ground or a feature lies between a place and what is to be hit there.
bool isBlocked(const WorldParts& world, const WeaponType& weapon, const Vector& from,
               const Vector& way, const AimTarget& target) {
    const Medium medium = weapon.isWaterWeapon ? Medium::water : Medium::air;
    const auto obstacle = firstObstacle(world, from, way, medium);
    if (!obstacle) return false;
    const Fixed reach =
        target.unit ? hitRadius(*target.unit->type) : Fixed::fromInt(rules::kPlaceRadius);
    return lengthOf(obstacle->place - (from + way)) > reach;
}

/// The same along an arc, tick by tick.
bool isArcBlocked(const WorldParts& world, const WeaponType& weapon, const Vector& from,
                  const AimDirection& direction, const AimTarget& target) {
    const Fixed gravity = fallPerTick(world.frame.conditions);
    const Fixed reach =
        target.unit ? hitRadius(*target.unit->type) : Fixed::fromInt(rules::kPlaceRadius);
    Vector velocity = vectorOf(direction.heading, direction.pitch, weapon.speed);
    Vector place = from;
    for (Tick tick = 0; tick < rules::kMostFallSeconds * kTicksPerSecond; ++tick) {
        const Vector way = fallOneTick(velocity, gravity);
        const auto obstacle = firstObstacle(world, place, way, Medium::air);
        if (shareToSphere(place, obstacle ? obstacle->place - place : way, direction.point, reach))
            return false;
        if (obstacle) return true;
        place = place + way;
    }
    return true;
}

AimSolution failed(AimFailure reason) {
    return {{}, reason};
}

AimSolution solveThrow(const WorldParts& world, const WeaponType& weapon, const Vector& from,
                       const AimTarget& target, AimDirection direction) {
    const Vector way = direction.point - from;
    const Fixed gravity = fallPerTick(world.frame.conditions);
    auto failure = AimFailure::outOfRange;
    for (const Arc arc : {Arc::low, Arc::high}) {
        const auto pitch = throwPitch(lengthOf(way.x, way.z), way.y, weapon.speed, gravity, arc);
        if (!pitch || pitch->steps() < weapon.leastPitch) continue;
        direction.pitch = *pitch;
        direction.arc = arc;
        if (!isArcBlocked(world, weapon, from, direction, target)) return {direction, {}};
        failure = AimFailure::noLine;
    }
    return failed(failure);
}

/// Bombs are let go where they will fall onto the target.
AimSolution solveDrop(const WorldParts& world, const Unit& unit, const WeaponType& weapon,
                      const Vector& from, const AimTarget& target, AimDirection direction) {
    Vector velocity = vectorOf(unit.heading, {}, unit.motion.speed), place = from;
    const Fixed gravity = fallPerTick(world.frame.conditions);
    // From lower it would be hit by its own bomb.
    if (from.y - target.point.y <= weapon.damageRadius) return failed(AimFailure::outOfRange);
    for (Tick tick = 0; tick < rules::kMostFallSeconds * kTicksPerSecond; ++tick) {
        if (place.y <= target.point.y || gravity == Fixed()) break;
        place = place + fallOneTick(velocity, gravity);
    }
    const Fixed reach =
        target.unit ? hitRadius(*target.unit->type) : Fixed::fromInt(rules::kPlaceRadius);
    const Fixed miss = lengthOf(place.x - target.point.x, place.z - target.point.z);
    direction.pitch = {};
    direction.heading = unit.heading;
    // The first of several may fall short.
    const Fixed most = std::max(reach, weapon.burst > 1 ? weapon.damageRadius : unit.motion.speed);
    if (miss > most) return failed(AimFailure::outOfRange);
    return {direction, {}};
}

}  // namespace

bool isInWater(const WorldParts& world, const Unit& unit) {
    if (flies(*unit.type) || unit.type->limits.canHover) return false;
    if (unit.altitude < seaLevel(world)) return true;
    // a raft without draught
    return unit.type->floats && world.frame.terrain.groundHeight(unit.place) < seaLevel(world);
}

bool isUnderWater(const WorldParts& world, const Unit& unit) {
    return !flies(*unit.type) && unit.altitude + unit.type->height < seaLevel(world);
}

std::optional<AimTarget> targetOf(const WorldParts& world, const WeaponState& weapon) {
    if (weapon.aim == AimKind::place) return AimTarget{weapon.place};
    if (weapon.aim == AimKind::nothing) return std::nullopt;
    if (weapon.aim == AimKind::shot) {
        const Projectile* const shot = findShot(world, weapon.targetShot);
        return shot ? std::optional(AimTarget{shot->place}) : std::nullopt;
    }
    const Unit* const unit = world.state.units.find(weapon.target);
    if (!unit || !unit->isPresent()) return std::nullopt;
    return AimTarget{hitCenter(world, *unit), unit};
}

Vector hitCenterFor(const WorldParts& world, const WeaponType& weapon, const Unit& unit) {
    Vector center = hitCenter(world, unit);
    const Fixed sea = seaLevel(world);
    if (weapon.isWaterWeapon)
        center.y = std::min(center.y, sea - Fixed::fromInt(rules::kTorpedoDepth));
    else if (isInWater(world, unit) && !isUnderWater(world, unit))
        center.y = std::max(center.y, std::min(sea + Fixed::fromInt(rules::kHullHeight),
                                               unit.altitude + unit.type->height));
    return center;
}

bool canReach(const WorldParts& world, const WeaponType& weapon, const Unit& target) {
    if (weapon.isWaterWeapon) return isInWater(world, target);
    if (weapon.isOnlyForAircraft) return flies(*target.type);
    return !isUnderWater(world, target);
}

bool canReach(const WorldParts& world, const WeaponType& weapon, GroundPoint place) {
    if (weapon.isWaterWeapon) return world.frame.terrain.groundHeight(place) < seaLevel(world);
    return !weapon.isOnlyForAircraft;
}

bool isInRange(const WorldParts& world, const Unit& unit, const WeaponType& weapon,
               const AimTarget& target) {
    Vector way = target.point - unit.position();
    const auto countsHeight = [&](const Unit& one) {
        return flies(*one.type) || isInWater(world, one);
    };
    if (!countsHeight(unit) && !(target.unit && countsHeight(*target.unit))) way.y = {};
    return lengthOf(way) <= weapon.range;
}

AimSolution solveAim(const WorldParts& world, const WeaponType& weapon, const Unit& unit,
                     const Vector& from, const AimTarget& named) {
    AimTarget target = named;
    if (target.unit) target.point = hitCenterFor(world, weapon, *target.unit);
    AimDirection direction;
    direction.point = leadPoint(weapon, from, target);
    const Vector way = direction.point - from;
    direction.heading = headingOf(way.x, way.z);
    direction.pitch = pitchOf(way);
    switch (weapon.flight) {
        case Flight::ballistic:
            return solveThrow(world, weapon, from, target, direction);
        case Flight::dropped:
            return solveDrop(world, unit, weapon, from, target, direction);
        case Flight::vertical:
        case Flight::cruise:
            return {direction, {}};
        case Flight::straight:
        case Flight::guided:
            break;
    }
    if (direction.pitch.steps() < weapon.leastPitch) return failed(AimFailure::outOfRange);
    if (weapon.needsFreeLine && !weapon.slidesOverGround &&
        isBlocked(world, weapon, from, way, target))
        return failed(AimFailure::noLine);
    return {direction, {}};
}

}  // namespace orb::sim
