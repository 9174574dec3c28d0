#include <algorithm>
#include <cstdlib>

#include "sim/cargo/landing_pads.h"
#include "sim/fight/projectiles.h"
#include "sim/fight/weapon_type.h"
#include "sim/motion/landing.h"
#include "sim/motion/steering.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/scripts/script_host.h"
#include "sim/units/births.h"

// Whoever flies heads straight for where he is to be. He rises from the ground before he gets fast,
// keeps his height above what he will soon be over, and leans into his turns. Nothing on the ground
// is in his way; others in the air push him a little aside.

namespace orb::sim {
namespace {

constexpr std::int64_t kStepsPerRadian = 10'430;

bool flies(const Unit& unit) {
    return unit.type->canFly && unit.type->canMove && unit.isPresent() && unit.isBuilt();
}

/// Ground or water below a place.
Fixed surfaceAt(const WorldParts& world, GroundPoint place) {
    const Terrain& terrain = world.frame.terrain;
    return std::max(terrain.groundHeight(terrain.clamped(place)),
                    Fixed::fromInt(terrain.seaLevel()));
}

/// The nearest place where all of a footprint is over the map.
GroundPoint overMap(const Terrain& terrain, const UnitType& type, GroundPoint place) {
    const auto kept = [](Fixed value, std::int32_t cells, std::int32_t footprint) {
        const Fixed half = Fixed::fromInt(footprint * kCellPixels / 2);
        const Fixed most = Fixed::fromInt(cells * kCellPixels) - half;
        return std::clamp(value, std::min(half, most), std::max(half, most));
    };
    return terrain.clamped({kept(place.x, terrain.cellsX(), type.footprintX),
                            kept(place.z, terrain.cellsZ(), type.footprintZ)});
}

/// Of the circle that it flies when it turns as fast as it can.
Fixed turnRadius(const UnitType& type, Fixed speed) {
    constexpr std::int64_t kMostPixels = 4'096;
    const std::int64_t radius = speed.raw() * kStepsPerRadian / std::max(1, type.movement.turnRate);
    return Fixed::fromWideRaw(std::min(radius, kMostPixels * Fixed::kOne));
}

/// Where somebody flies to in a tick, and how.
struct Course {
    GroundPoint goal;
    FlightManner manner = FlightManner::stop;
    std::optional<GroundPoint> faced = {};
    std::optional<Fixed> altitude = {};
    /// To a place where he will land.
    bool isToSite = false;
};

/// Has nothing to do, and nobody aboard.
bool isIdle(const Unit& unit) {
    return unit.orders.empty() && unit.hold.cargo.empty();
}

Course courseOf(const WorldParts& world, const Unit& unit, const UnitWish& wish) {
    const UnitFlight& flight = unit.flight;
    const auto kept = [&](GroundPoint place) {
        return overMap(world.frame.terrain, *unit.type, place);
    };
    if (wish.goal)
        return {kept(*wish.goal), wish.flight.manner, wish.flight.faced, wish.flight.altitude};
    if (!flight.isWaiting) return {unit.place, FlightManner::hold};
    if (flight.hasSite && isIdle(unit)) return {.goal = flight.site, .isToSite = true};
    const bool circles = isIdle(unit) && !unit.type->air.hovers && flight.hasLooked;
    return {kept(flight.anchor), circles ? FlightManner::circle : FlightManner::stop};
}

/// Whether somebody who stands has to rise for what he is to do.
bool needsHeight(const Course& course, Fixed distance) {
    return course.manner != FlightManner::stop || course.faced || course.altitude ||
           distance > rules::kArrivalDistance;
}

/// Round a goal: further in when it is far from it, further out when it is near.
Angle circling(Angle toGoal, Fixed distance, Fixed radius) {
    if (distance >= radius.times(2)) return toGoal;
    // From straight at it at twice the radius over along the circle to straight away at its middle.
    const std::int64_t off =
        std::int64_t{2 * kQuarterTurn} -
        quotient(std::int64_t{distance.raw()} * kQuarterTurn, radius.raw(), Rounding::down);
    return toGoal + Angle::fromSteps(off);
}

Fixed circleRadius(const UnitType& type) {
    const Fixed turning = turnRadius(type, type.movement.maxSpeed.over(2, Rounding::up));
    return std::max(rules::kCircleRadius, turning + turning.over(2, Rounding::down));
}

/// How far before its target it lets go of what falls.
Fixed dropLength(const WorldParts& world, const UnitType& type) {
    const bool drops = std::ranges::any_of(type.weapons, [](const auto& weapon) {
        return weapon && weapon->flight == Flight::dropped;
    });
    const std::int64_t gravity = fallPerTick(world.frame.conditions).raw();
    if (!drops || gravity <= 0) return {};
    const std::int64_t height = std::max(0, type.air.cruiseHeight.raw());
    const std::uint64_t ticks = squareRoot(static_cast<std::uint64_t>(2 * height / gravity));
    constexpr std::uint64_t kMostTicks = 150;  // from higher it does not come again for hours
    return type.movement.maxSpeed.times(static_cast<std::int32_t>(std::min(ticks, kMostTicks)));
}

/// How far on it flies after it has passed what it attacks, so that it heads for it in time again.
Fixed runLength(const WorldParts& world, const UnitType& type) {
    const Fixed turning = turnRadius(type, type.movement.maxSpeed);
    return std::max(type.air.runLength, turning.times(3) + dropLength(world, type));
}

/// Whether it goes straight on, be it that it has just passed its goal or is not far enough yet.
bool passes(const WorldParts& world, const Unit& unit, Fixed distance, std::int32_t off) {
    const UnitType& type = *unit.type;
    // At the map's edge it turns round.
    const Fixed length = std::max(unit.motion.speed, rules::kArrivalDistance);
    const Vector ahead = vectorOf(unit.heading, {}, length);
    const GroundPoint next{unit.place.x + ahead.x, unit.place.z + ahead.z};
    if (overMap(world.frame.terrain, type, next) != next) return false;
    if (unit.flight.isPassing) return distance < runLength(world, type);
    const Fixed turning = turnRadius(type, unit.motion.speed);
    const bool isBehind = std::abs(off) > kQuarterTurn && distance < turning.times(2);
    return isBehind || distance <= std::max(unit.motion.speed, rules::kArrivalDistance);
}

/// The fastest at which its tightest curve still leads to a goal so far to the side: half the
/// chord over the sine is the radius.
Fixed curveSpeed(const UnitType& type, Fixed distance, std::int32_t off) {
    const std::int64_t sideways = std::abs(sine(Angle::fromSteps(off)).raw());
    if (sideways == 0) return type.movement.maxSpeed;
    const std::int64_t turning = std::max(1, type.movement.turnRate);
    return Fixed::fromWideRaw(distance.raw() * turning / (2 * kStepsPerRadian) * Fixed::kOne /
                              sideways);
}

Fixed wishedSpeed(const Unit& unit, const Course& course, Fixed distance, std::int32_t off) {
    const UnitType& type = *unit.type;
    const Fixed most = type.movement.maxSpeed, half = most.over(2, Rounding::up);
    const Fixed turning = turningSpeed(most, off);
    switch (course.manner) {
        case FlightManner::run:
            return most;
        case FlightManner::circle:
            return half;
        case FlightManner::hold:
            return {};
        case FlightManner::pass:
            return type.air.hovers ? turning : std::max(turning, half);
        case FlightManner::stop:
            break;
    }
    // Planes far from their goal fly a curve rather than turn where they are.
    const bool curves = !type.air.hovers && distance > turnRadius(type, half).times(3);
    return std::min({curves ? std::max(turning, half) : turning, distance,
                     stoppingSpeed(distance, type.movement.brakeRate),
                     curveSpeed(type, distance, off)});
}

/// Near the ground it has to rise first.
Fixed speedAtHeight(const Unit& unit, Fixed height) {
    constexpr std::int32_t kLeastShare = 8;
    const Fixed most = unit.type->movement.maxSpeed;
    const AirLimits& air = unit.type->air;
    const Fixed usual = air.isFromSeaLevel ? rules::kLeastClearance : air.cruiseHeight;
    const Fixed free = usual.over(2, Rounding::down);
    if (height >= free) return most;
    const Fixed share =
        Fixed::fromWideRaw(std::int64_t{most.raw()} * std::max(0, height.raw()) / free.raw());
    return std::max(share, most.over(kLeastShare, Rounding::up));
}

/// As high as it should be, with a view to what comes.
Fixed cruiseAltitude(const WorldParts& world, const Unit& unit) {
    const AirLimits& air = unit.type->air;
    const Fixed speed = std::min(unit.motion.speed, Fixed::fromInt(kMaxSpeed));
    const Vector way = vectorOf(unit.heading, {}, speed.times(rules::kGroundLookAhead));
    const Fixed surface = std::max(surfaceAt(world, unit.place),
                                   surfaceAt(world, {unit.place.x + way.x, unit.place.z + way.z}));
    if (!air.isFromSeaLevel) return surface + air.cruiseHeight;
    return std::max(Fixed::fromInt(world.frame.terrain.seaLevel()) + air.cruiseHeight,
                    surface + rules::kLeastClearance);
}

/// Towards a height, easing off; never below the ground.
void climbTo(const Unit& unit, Fixed wished, Fixed surface, FlightStep& step) {
    const Fixed most = std::max(rules::kClimbSpeed, unit.motion.speed.over(2, Rounding::down));
    const Fixed rest = wished - unit.altitude;
    const Fixed eased = rest.over(rules::kClimbEase, Rounding::nearest);
    const Fixed wanted = std::clamp(eased, -most, most);
    step.climb = std::clamp(wanted, unit.flight.climb - rules::kClimbChange,
                            unit.flight.climb + rules::kClimbChange);
    // The last bit at once, so that it comes to an end.
    const Fixed bit = Fixed::fromRatio(1, 2, Rounding::nearest);
    if (absolute(rest) <= bit && absolute(step.climb) <= bit) {
        step.climb = {};
        step.altitude = wished;
    } else {
        step.altitude = unit.altitude + step.climb;
    }
    if (step.altitude > surface) return;
    step.altitude = surface;
    step.climb = std::max(step.climb, Fixed());
}

Angle leaned(Angle now, std::int64_t wished, std::int32_t most) {
    return turnedTowards(now, Angle::fromSteps(std::clamp<std::int64_t>(wished, -most, most)),
                         rules::kTiltRate);
}

/// Leans into the turn, and lifts its nose as it climbs; the more the faster it is.
void lean(const Unit& unit, FlightStep& step) {
    const UnitType& type = *unit.type;
    const std::int64_t most = std::max(1, type.movement.maxSpeed.raw());
    const auto atSpeed = [&](std::int64_t steps, Fixed scale) {
        return steps * step.speed.raw() / most * scale.raw() / Fixed::kOne;
    };
    const std::int64_t turn = shortestDifference(unit.heading, step.heading);
    step.roll = leaned(unit.roll, -atSpeed(turn * rules::kBankPerTurn, type.air.bankScale),
                       rules::kMostBank);
    const std::int64_t climb = angleOf(step.climb, type.movement.maxSpeed).steps();
    step.pitch = leaned(unit.pitch, atSpeed(climb, type.air.pitchScale), rules::kMostPitch);
}

/// Who flies across others is pushed away from them, all the more the nearer they are.
GroundPoint pushFrom(const WorldParts& world, UnitFinder& finder, const Unit& unit) {
    const auto size = [](const Unit& one) {
        return Fixed::fromInt(std::max(one.type->footprintX, one.type->footprintZ) * kCellPixels);
    };
    const Fixed own = size(unit);
    world.derived.buckets.findWithin(world.state.units, unit.place, own, finder.found);
    Fixed pushX, pushZ;
    for (const std::uint32_t slot : finder.found) {
        const Unit& other = *world.state.units.at(slot);
        ++finder.pairs;
        if (&other == &unit || !flies(other) || other.flight.stage != FlightStage::flying ||
            absolute(other.altitude - unit.altitude) > own)
            continue;
        const Fixed x = unit.place.x - other.place.x, z = unit.place.z - other.place.z;
        const Fixed room = (own + size(other)).over(2, Rounding::down), apart = lengthOf(x, z);
        if (apart >= room) continue;
        // Who is at the same place goes by his number.
        const Angle away =
            apart > Fixed() ? headingOf(x, z) : Angle::fromSteps(std::int64_t{unit.id} * 10'007);
        const Vector push = vectorOf(away, {}, (room - apart).over(room, Rounding::down));
        pushX += push.x;
        pushZ += push.z;
    }
    finder.found.clear();
    const Fixed length = lengthOf(pushX, pushZ);
    if (length <= rules::kAirPush) return {pushX, pushZ};
    const Vector most = withLength({pushX, {}, pushZ}, rules::kAirPush);
    return {most.x, most.z};
}

/// Half of them in a tick: neighbours change slowly.
bool isPushedNow(const WorldParts& world, const Unit& unit, const Course& course) {
    return !course.isToSite && !course.altitude &&
           (world.state.tick + static_cast<Tick>(unit.id)) % 2 == 0;
}

bool isThere(const Unit& unit, const Course& course, Fixed distance, bool isPushed) {
    if (course.manner != FlightManner::stop && course.manner != FlightManner::pass) return false;
    if (course.manner == FlightManner::pass)
        return distance <= std::clamp(turnRadius(*unit.type, unit.motion.speed),
                                      rules::kLeastPassing, rules::kMostPassing);
    const std::int32_t cells = std::max(unit.type->footprintX, unit.type->footprintZ);
    return distance <= rules::kArrivalDistance ||
           (isPushed && distance <= Fixed::fromInt(cells * kCellPixels));
}

FlightStep standing(const Unit& unit) {
    FlightStep step;
    step.heading = unit.heading;
    step.pitch = unit.pitch;
    step.roll = unit.roll;
    step.altitude = unit.altitude;
    step.place = unit.place;
    return step;
}

/// Looks for a place to land when it is time.
void lookForSite(const WorldParts& world, const Unit& unit, FlightStep& step) {
    const UnitFlight& flight = unit.flight;
    if (!flight.isWaiting || flight.hasSite || !isIdle(unit) || world.state.tick < flight.looksAt)
        return;
    step.hasLooked = true;
    step.site = landingPlace(world, unit, flight.anchor);
}

/// Straight down, level.
FlightStep planLanding(const WorldParts& world, const Unit& unit) {
    FlightStep step = standing(unit);
    const Fixed ground = restingAltitude(world.frame.terrain, *unit.type, unit.place);
    climbTo(unit, ground, ground, step);
    lean(unit, step);
    return step;
}

/// It stays until its order is another, or its pad is gone.
FlightStep planPerched(const WorldParts& world, const Unit& unit) {
    FlightStep step = standing(unit);
    step.takesOff = !perchOf(world.state.units, unit);
    return step;
}

FlightStep planFlight(const WorldParts& world, UnitFinder& finder, const Unit& unit,
                      const UnitWish& wish) {
    const UnitFlight& flight = unit.flight;
    if (unit.isStunned(world.state.tick)) return standing(unit);
    if (flight.stage == FlightStage::perched) return planPerched(world, unit);
    const bool isUp = flight.stage == FlightStage::flying;
    if (!isUp && !wish.goal)
        return flight.stage == FlightStage::landing ? planLanding(world, unit) : standing(unit);

    const Course course = courseOf(world, unit, wish);
    const Fixed x = course.goal.x - unit.place.x, z = course.goal.z - unit.place.z;
    const Fixed distance = lengthOf(x, z);
    FlightStep step = standing(unit);
    step.takesOff = !isUp && needsHeight(course, distance);
    if (!isUp && !step.takesOff) {
        step.isThere = true;
        return step;
    }
    const Angle toGoal = distance > Fixed() ? headingOf(x, z) : unit.heading;
    Angle wished = toGoal;
    if (course.manner == FlightManner::circle)
        wished = circling(toGoal, distance, circleRadius(*unit.type));
    if (course.manner == FlightManner::run) {
        step.isPassing = passes(world, unit, distance, shortestDifference(unit.heading, toGoal));
        if (step.isPassing) wished = unit.heading;
    }
    if (course.faced && distance <= rules::kLeastPassing)
        wished = headingOf(course.faced->x - unit.place.x, course.faced->z - unit.place.z);
    const MoveLimits& limits = unit.type->movement;
    step.heading = turnedTowards(unit.heading, wished, limits.turnRate);

    const Fixed surface = surfaceAt(world, unit.place);
    const std::int32_t off = shortestDifference(step.heading, toGoal);
    const Fixed most = std::min(wishedSpeed(unit, course, distance, off),
                                speedAtHeight(unit, unit.altitude - surface));
    step.speed = changedSpeed(unit.motion.speed, most, limits);
    // Whoever brakes badly still does not fly past his goal.
    if (course.manner == FlightManner::stop) step.speed = std::min(step.speed, distance);

    const Vector way = vectorOf(step.heading, {}, step.speed);
    GroundPoint push;
    if (isPushedNow(world, unit, course)) push = pushFrom(world, finder, unit);
    const GroundPoint wanted{unit.place.x + way.x + push.x, unit.place.z + way.z + push.z};
    step.place = overMap(world.frame.terrain, *unit.type, wanted);
    // At the edge it turns round.
    if (step.place != wanted) step.isPassing = false;
    climbTo(unit, course.altitude.value_or(cruiseAltitude(world, unit)),
            surfaceAt(world, step.place), step);
    lean(unit, step);

    step.isThere = wish.goal && isThere(unit, course, distance, push != GroundPoint());
    step.landsHere = course.isToSite && distance <= rules::kArrivalDistance;
    lookForSite(world, unit, step);
    return step;
}

/// v²/2b.
Fixed stoppingDistance(const Unit& unit) {
    const std::int64_t speed = unit.motion.speed.raw();
    return Fixed::fromWideRaw(
        speed * speed /
        std::max<std::int64_t>(1, 2 * std::int64_t{unit.type->movement.brakeRate.raw()}));
}

/// Somebody who has nowhere to go remembers where he is, and when he will look for a place to land.
void noteWaiting(const WorldParts& world, Unit& unit, const FlightStep& step, bool hasGoal) {
    UnitFlight& flight = unit.flight;
    if (hasGoal) {
        flight.isWaiting = flight.hasSite = flight.hasLooked = false;
        return;
    }
    if (!flight.isWaiting) {
        flight.isWaiting = true;
        flight.hasSite = flight.hasLooked = false;
        const Fixed stop = std::min(stoppingDistance(unit), rules::kMostPassing);
        const Vector way = vectorOf(unit.heading, {}, stop);
        flight.anchor =
            overMap(world.frame.terrain, *unit.type, {unit.place.x + way.x, unit.place.z + way.z});
        flight.looksAt = world.state.tick + rules::kLandingDelay;
    }
    if (!step.hasLooked) return;
    flight.hasLooked = true;
    flight.hasSite = step.site.has_value();
    if (step.site) flight.site = overMap(world.frame.terrain, *unit.type, *step.site);
    flight.looksAt = world.state.tick + rules::kLandingLook + static_cast<Tick>(unit.id % 16);
}

void tellRate(WorldParts& world, Unit& unit) {
    const auto& [second, third] = unit.type->air.moveRates;
    const Fixed speed = unit.motion.speed;
    const auto isBeyond = [&](Fixed rate) { return rate > Fixed() && speed >= rate; };
    std::int8_t rate = 0;
    if (speed > Fixed()) rate = isBeyond(third) ? 3 : isBeyond(second) ? 2 : 1;
    if (rate == unit.flight.toldRate) return;
    unit.flight.toldRate = rate;
    if (rate > 0)
        startScriptIfThere(world, unit,
                           ofSlot(UnitScript::moveRate1, static_cast<std::size_t>(rate - 1)));
}

/// Above its site: somebody may have come there before.
void tryToLand(WorldParts& world, Unit& unit) {
    if (canLandAt(world, unit, unit.place)) return beginLanding(world, unit);
    unit.flight.hasSite = false;
    unit.flight.looksAt = world.state.tick;
}

void applyFlight(WorldParts& world, Unit& unit, const FlightStep& step, bool hasGoal) {
    if (hasGoal && step.isThere) unit.motion.arrival = Arrival::atGoal;
    if (step.takesOff) takeOff(world, unit);
    if (unit.flight.stage == FlightStage::landed || unit.flight.stage == FlightStage::perched)
        return;
    if (unit.flight.stage == FlightStage::flying) {
        world.derived.buckets.move(unit.slot(), unit.place, step.place);
        unit.place = step.place;
    }
    unit.heading = step.heading;
    unit.pitch = step.pitch;
    unit.roll = step.roll;
    unit.altitude = step.altitude;
    unit.motion.speed = step.speed;
    unit.flight.climb = step.climb;
    unit.flight.isPassing = step.isPassing;
    tellRate(world, unit);
    if (unit.flight.stage == FlightStage::landing) {
        if (unit.altitude <= restingAltitude(world.frame.terrain, *unit.type, unit.place))
            touchDown(world, unit);
        return;
    }
    noteWaiting(world, unit, step, hasGoal);
    if (step.landsHere) tryToLand(world, unit);
}

}  // namespace

void stepFlight(WorldParts& world, TickScratch& scratch) {
    constexpr std::size_t kUnitsPerBlock = 64;
    scratch.finders.resize(world.workers.count());
    const WorldParts& before = world;
    world.workers.forEach(
        scratch.flights.size(), kUnitsPerBlock, [&](std::size_t slot, std::size_t worker) {
            if (const Unit* const unit = before.state.units.at(slot); unit && flies(*unit))
                scratch.flights[slot] =
                    planFlight(before, scratch.finders[worker], *unit, scratch.wishes[slot]);
        });
    for (Unit& unit : world.state.units) {
        if (!flies(unit)) continue;
        applyFlight(world, unit, scratch.flights[unit.slot()],
                    scratch.wishes[unit.slot()].goal.has_value());
        ++scratch.counts.steps;
    }
    for (const UnitFinder& finder : scratch.finders) scratch.counts.pairs += finder.pairs;
    scratch.finders.clear();
}

}  // namespace orb::sim
