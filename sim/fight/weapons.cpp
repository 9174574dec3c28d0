#include "sim/fight/weapons.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "sim/fight/aiming.h"
#include "sim/fight/interceptors.h"
#include "sim/phases.h"
#include "sim/scripts/script_host.h"
#include "sim/sight/cloak.h"
#include "sim/work/work.h"

// A weapon with a target looks every few ticks in which direction that lies. When it does not point
// there, its script AimX is started with that direction, and while the answer is TRUE and the
// direction stays within the weapon's tolerance, it counts as aimed. An aimed weapon that has
// reloaded fires. While it is aimed the script is asked again after small changes, so that its
// barrel follows.

namespace orb::sim {
namespace {

/// Ticks after which a question is repeated whose answer never comes, as when the script that was
/// asked is not there any more. Turrets go on turning through it.
constexpr Tick kAskAgainAfter = 150;

/// A question's number and its weapon, as the scripts' threads carry them. The upper bits keep it
/// apart from other calls with numbers.
std::uint32_t callIdOf(const WeaponState& weapon, std::size_t slot) {
    return (weapon.question << 2) | static_cast<std::uint32_t>(slot);
}

/// A direction as the unit's body has it.
struct BodyDirection {
    Angle heading;
    Angle pitch;
};

BodyDirection inBody(const Unit& unit, const AimDirection& direction) {
    const Vector way = worldToBody(
        unit, vectorOf(direction.heading, direction.pitch, Fixed::fromInt(kMaxShotSpeed)));
    return {headingOf(way.x, way.z), pitchOf(way)};
}

bool isWithin(Angle a, Angle b, std::int32_t tolerance) {
    return std::abs(shortestDifference(a, b)) <= std::max(tolerance, rules::kLeastTolerance);
}

/// Whether a weapon still points near enough to where it was last turned.
bool pointsAt(const WeaponType& type, const WeaponState& weapon, const BodyDirection& wish) {
    return isWithin(weapon.askedHeading, wish.heading, type.tolerance) &&
           isWithin(weapon.askedPitch, wish.pitch, type.pitchTolerance);
}

/// Whether it lies so near to the direction asked for that its barrel need not follow.
bool pointsExactlyAt(const WeaponState& weapon, const BodyDirection& wish) {
    const auto isOff = [](Angle a, Angle b) {
        return std::abs(shortestDifference(a, b)) > rules::kFineTurn;
    };
    return !isOff(weapon.askedHeading, wish.heading) && !isOff(weapon.askedPitch, wish.pitch);
}

/// Turrets turn by themselves, and what climbs first may leave in any direction.
bool needsFacing(const WeaponType& type) {
    return !type.isTurret && type.flight != Flight::vertical;
}

bool bodyFaces(const WeaponType& type, const BodyDirection& wish) {
    return !needsFacing(type) || isWithin({}, wish.heading, type.tolerance);
}

/// What `toldFailure` holds while a weapon waits for its price.
constexpr std::uint8_t kToldStall = 255;

/// Told once until something else happens with the weapon.
void tellFailure(WorldParts& world, Unit& unit, std::size_t slot, AimFailure reason) {
    WeaponState& weapon = unit.weapons[slot];
    const auto told = static_cast<std::uint8_t>(1 + static_cast<std::uint8_t>(reason));
    if (weapon.toldFailure == told) return;
    weapon.toldFailure = told;
    world.tell(unit, AimFailed{static_cast<std::int32_t>(slot), reason});
}

void becomeAimed(WorldParts& world, Unit& unit, std::size_t slot) {
    WeaponState& weapon = unit.weapons[slot];
    weapon.isAsking = false;
    if (weapon.isAimed) return;
    weapon.isAimed = true;
    if (weapon.toldFailure != kToldStall) weapon.toldFailure = 0;
    world.tell(unit, Aimed{static_cast<std::int32_t>(slot)});
}

void ask(WorldParts& world, Unit& unit, std::size_t slot, const BodyDirection& wish) {
    WeaponState& weapon = unit.weapons[slot];
    weapon.askedHeading = wish.heading;
    weapon.askedPitch = wish.pitch;
    weapon.askedAt = world.state.tick;
    ++weapon.question;
    const std::array<std::int32_t, 2> arguments{wish.heading.raw(), wish.pitch.steps()};
    weapon.isAsking = startScript(world, unit, ofSlot(UnitScript::aimPrimary, slot), arguments,
                                  callIdOf(weapon, slot));
}

bool hasAimScript(const Unit& unit, std::size_t slot) {
    return unit.type->indexOf(ofSlot(UnitScript::aimPrimary, slot)) >= 0;
}

/// A weapon whose script lacks AimX cannot be turned: the body has to.
void lookWithoutScript(WorldParts& world, Unit& unit, std::size_t slot, const BodyDirection& wish) {
    const WeaponType& type = *unit.type->weapons[slot];
    WeaponState& weapon = unit.weapons[slot];
    weapon.askedHeading = {};
    weapon.askedPitch = wish.pitch;
    const bool points = isWithin({}, wish.heading, type.tolerance);
    if (points && !weapon.isAimed) becomeAimed(world, unit, slot);
    weapon.isAimed = points;
    const bool turns = unit.type->canMove && unit.type->movement.turnRate > 0;
    if (!points && !turns) tellFailure(world, unit, slot, AimFailure::noScript);
}

/// The other bombs of a burst follow the first, wherever they fall.
bool followsFirst(const Unit& unit, std::size_t slot) {
    return unit.type->weapons[slot]->flight == Flight::dropped && unit.weapons[slot].burstLeft > 0;
}

/// Who lets bombs fall passes where he has to within a few ticks.
Tick lookGap(const WeaponType& type) {
    return type.flight == Flight::dropped ? 1 : rules::kLookEvery;
}

AimSolution solve(WorldParts& world, Unit& unit, std::size_t slot, const AimTarget& target) {
    const WeaponType& type = *unit.type->weapons[slot];
    if (followsFirst(unit, slot)) return {{unit.heading, {}, Arc::low, target.point}, {}};
    const bool isShot = unit.weapons[slot].aim == AimKind::shot;
    if (!isShot && !isInRange(world, unit, type, target)) return {{}, AimFailure::outOfRange};
    return solveAim(world, type, unit, aimPivot(world, unit, slot), target);
}

/// Near enough on the map, however high or low the target is.
bool isNearOnMap(const Unit& unit, const WeaponType& type, const AimTarget& target) {
    return lengthOf(target.point.x - unit.place.x, target.point.z - unit.place.z) <= type.range;
}

void look(WorldParts& world, Unit& unit, std::size_t slot) {
    const WeaponType& type = *unit.type->weapons[slot];
    WeaponState& weapon = unit.weapons[slot];
    const auto target = targetOf(world, weapon);
    if (!target || world.state.tick < weapon.lookAt) return;
    weapon.lookAt = world.state.tick + lookGap(*unit.type->weapons[slot]);
    const AimSolution solution = solve(world, unit, slot, *target);
    weapon.lacksShot = solution.failure && isNearOnMap(unit, type, *target);
    if (solution.failure) {
        weapon.isAimed = false;
        return tellFailure(world, unit, slot, *solution.failure);
    }
    const BodyDirection wish = inBody(unit, solution.direction);
    weapon.arc = solution.direction.arc;
    if (!hasAimScript(unit, slot)) return lookWithoutScript(world, unit, slot, wish);
    const bool points = pointsAt(type, weapon, wish);
    const bool waits = weapon.isAsking && world.state.tick - weapon.askedAt < kAskAgainAfter;
    if (!points) weapon.isAimed = false;
    if (!points || (!waits && !(weapon.isAimed && pointsExactlyAt(weapon, wish))))
        ask(world, unit, slot, wish);
}

void takeAnswer(WorldParts& world, Unit& unit, const EndedCall& call) {
    const std::size_t slot = call.callId & 3;
    if (slot >= kWeaponSlots) return;
    WeaponState& weapon = unit.weapons[slot];
    if (!weapon.isAsking || callIdOf(weapon, slot) != call.callId) return;
    weapon.isAsking = false;
    if (call.wasSignalled) return;
    if (call.value != 0) return becomeAimed(world, unit, slot);
    weapon.isAimed = false;
    tellFailure(world, unit, slot, AimFailure::scriptRefused);
}

void fire(WorldParts& world, Unit& unit, std::size_t slot, const AimTarget& target) {
    const auto& type = unit.type->weapons[slot];
    WeaponState& weapon = unit.weapons[slot];
    const Muzzle muzzle = nextMuzzle(world, unit, slot);
    AimSolution solution = followsFirst(unit, slot)
                               ? solve(world, unit, slot, target)
                               : solveAim(world, *type, unit, muzzle.place, target);
    // The muzzle may be where the pivot's free way is not: the shot flies all the same.
    if (solution.failure)
        solution = solveAim(world, *type, unit, aimPivot(world, unit, slot), target);
    if (solution.failure) return;
    const auto& [heading, pitch, arc, point] = solution.direction;
    launch(world, unit,
           {type, muzzle.place, heading, pitch, target.unit ? target.unit->ref() : UnitRef(), point,
            static_cast<std::uint32_t>(slot), weapon.aim == AimKind::shot ? weapon.targetShot : 0});
    findOut(unit, world.state.tick);
    world.tell(unit,
               Fired{static_cast<std::int32_t>(slot), type->name, muzzle.place, muzzle.piece});
    startScriptIfThere(world, unit, ofSlot(UnitScript::firePrimary, slot));
    startScriptIfThere(world, unit, UnitScript::rockUnit,
                       rocking(unit, heading + Angle::fromDegrees(180)));
    weapon.toldFailure = 0;
    if (weapon.burstLeft == 0) {
        weapon.burstLeft = type->burst;
        weapon.readyAt =
            world.state.tick + (type->isStockpiled ? rules::kStockpileReload : type->reload);
        if (type->isStockpiled) --weapon.stockpile.shots;
    }
    --weapon.burstLeft;
    weapon.nextShotAt = world.state.tick + type->burstGap;
}

/// One shot's price; who cannot pay it waits. What was made ahead is paid.
bool pay(WorldParts& world, Unit& unit, std::size_t slot) {
    const WeaponType& type = *unit.type->weapons[slot];
    if (type.isStockpiled) return true;
    Player& player = playerOf(world, unit);
    if (player.metal.amount >= type.metalPerShot && player.energy.pay(type.energyPerShot))
        return player.metal.pay(type.metalPerShot);
    WeaponState& weapon = unit.weapons[slot];
    if (weapon.toldFailure != kToldStall) world.tell(unit, Stalled{});
    weapon.toldFailure = kToldStall;
    return false;
}

bool isReady(const WeaponType& type, const WeaponState& weapon, Tick now) {
    if (weapon.burstLeft > 0) return now >= weapon.nextShotAt;
    return now >= weapon.readyAt && (!type.isStockpiled || weapon.stockpile.shots > 0);
}

/// Fires a weapon that is aimed and ready, when its target is still where it points. True when it
/// did.
bool tryToFire(WorldParts& world, Unit& unit, std::size_t slot) {
    const WeaponType& type = *unit.type->weapons[slot];
    WeaponState& weapon = unit.weapons[slot];
    const Tick now = world.state.tick;
    if (!weapon.isAimed || !isReady(type, weapon, now) || now < weapon.holdsUntil) return false;
    const auto target = targetOf(world, weapon);
    if (!target) return false;
    const AimSolution solution = solve(world, unit, slot, *target);
    if (solution.failure) {
        weapon.holdsUntil = now + lookGap(type);
        tellFailure(world, unit, slot, *solution.failure);
        return false;
    }
    const BodyDirection wish = inBody(unit, solution.direction);
    if (!bodyFaces(type, wish)) return false;
    if (pointsAt(type, weapon, wish) && !pay(world, unit, slot)) return false;
    if (!pointsAt(type, weapon, wish)) {
        weapon.isAimed = false;
        return false;
    }
    fire(world, unit, slot, *target);
    return true;
}

/// What was told to fire once has done so when its burst is over.
void noteOrder(Unit& unit, std::size_t slot) {
    const WeaponState& weapon = unit.weapons[slot];
    if (weapon.isOrdered && weapon.burstLeft == 0 && !unit.orders.empty())
        unit.orders.front().hasFired = true;
}

}  // namespace

bool canFight(const WorldParts& world, const Unit& unit) {
    return unit.isPresent() && unit.isBuilt() && !unit.isStunned(world.state.tick);
}

void tellScriptOfWeapons(WorldParts& world, Unit& unit) {
    std::int64_t slowest = 0;
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot) {
        unit.weapons[slot].isAimed = unit.weapons[slot].isAsking = false;
        if (const auto& type = unit.type->weapons[slot])
            slowest = std::max<std::int64_t>(slowest, type->reload);
    }
    if (slowest == 0) return;
    const auto milliseconds =
        static_cast<std::int32_t>(quotient(slowest * 1'000, kTicksPerSecond, Rounding::nearest));
    startScriptIfThere(world, unit, UnitScript::setMaxReloadTime, {&milliseconds, 1});
}

void aimAt(WorldParts& world, Unit& unit, std::size_t slot, const AimWish& wish) {
    WeaponState& weapon = unit.weapons[slot];
    weapon.isOrdered = wish.isOrdered;
    if (weapon.aim == wish.aim && weapon.target == wish.target && weapon.place == wish.place &&
        weapon.targetShot == wish.targetShot)
        return;
    const bool losesTarget = weapon.aim != AimKind::nothing && wish.aim == AimKind::nothing;
    weapon.aim = wish.aim;
    weapon.target = wish.target;
    weapon.targetShot = wish.targetShot;
    weapon.place = wish.place;
    weapon.isAimed = weapon.isAsking = false;
    weapon.lacksShot = false;
    weapon.toldFailure = 0;
    weapon.burstLeft = 0;
    weapon.lookAt = std::max(weapon.lookAt, world.state.tick);
    if (!losesTarget) return;
    const auto argument = static_cast<std::int32_t>(slot);
    startScriptIfThere(world, unit, UnitScript::targetCleared, {&argument, 1});
}

std::optional<GroundPoint> placeToFace(const WorldParts& world, const Unit& unit) {
    if (!canFight(world, unit)) return std::nullopt;
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot) {
        const auto& type = unit.type->weapons[slot];
        if (!type || (!needsFacing(*type) && hasAimScript(unit, slot))) continue;
        if (const auto target = targetOf(world, unit.weapons[slot]))
            return GroundPoint{target->point.x, target->point.z};
    }
    return std::nullopt;
}

void askToAim(WorldParts& world) {
    for (Unit& unit : world.state.units) {
        if (!canFight(world, unit)) continue;
        for (std::size_t slot = 0; slot < kWeaponSlots; ++slot)
            if (unit.type->weapons[slot]) look(world, unit, slot);
    }
}

void stepWeapons(WorldParts& world, TickScratch& scratch) {
    fillStockpiles(world);
    for (const EndedCall& call : scratch.endedCalls)
        if (Unit* const unit = world.state.units.at(call.slot)) takeAnswer(world, *unit, call);
    for (Unit& unit : world.state.units) {
        if (!canFight(world, unit)) continue;
        for (std::size_t slot = 0; slot < kWeaponSlots; ++slot)
            if (unit.type->weapons[slot] && tryToFire(world, unit, slot)) noteOrder(unit, slot);
    }
}

WeaponActivity activityOf(const WeaponState& weapon, Tick now) {
    if (weapon.burstLeft > 0) return WeaponActivity::firing;
    if (now < weapon.readyAt) return WeaponActivity::reloading;
    if (weapon.aim == AimKind::nothing) return WeaponActivity::idle;
    return weapon.isAimed ? WeaponActivity::aimed : WeaponActivity::aiming;
}

}  // namespace orb::sim
