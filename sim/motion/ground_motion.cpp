#include "sim/motion/ground_motion.h"

#include <algorithm>

#include "sim/fight/weapons.h"
#include "sim/motion/detours.h"
#include "sim/motion/giving_way.h"
#include "sim/motion/steering.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

/// A move is taken in pieces no longer than this: half a cell, so that none is jumped over.
constexpr std::int32_t kLongestPiece = kCellPixels / 2;

bool walks(const Unit& unit) {
    return unit.type->canMove && !unit.type->canFly && unit.isPresent() && unit.isBuilt();
}

/// The fastest on the arc that leads from its direction, so many steps off, to a place that far
/// away. Faster, and who turns slowly circles round the place for ever.
Fixed arcSpeed(Fixed distance, std::int32_t turnRate, std::int32_t offSteps) {
    const std::int64_t off = absolute(sine(Angle::fromSteps(offSteps))).raw();
    if (off == 0) return Fixed::fromInt(kMaxSpeed);
    // The arc's radius is d/(2 sin off); pi is 355/113. 2^31 by 2^15 by 2^9 fits.
    return Fixed::fromWideRaw(
        quotient(std::int64_t{distance.raw()} * turnRate * 355, 113 * off, Rounding::down));
}

/// It looks every few ticks whether others are in its way; while it goes round some, only when it
/// has come round them or comes no farther, so that it does not turn to and fro.
std::optional<GroundPoint> chooseDetour(const WorldParts& world, const Unit& unit,
                                        const RouteStep& way) {
    const auto& detour = unit.motion.detour;
    const Tick turn = world.state.tick + static_cast<Tick>(unit.id);
    bool looks = turn % rules::kLookRoundEvery == 0;
    if (detour) {
        const bool isThere = squaredDistance(unit.place.x, unit.place.z, detour->x, detour->z) <=
                             squaredLength(rules::kDetourReached);
        const bool isStuck = unit.motion.stillTicks >= rules::kDetourPatience;
        looks = isThere || (looks && isStuck) || turn % rules::kLongestDetour == 0;
    }
    return looks ? findDetour(world, unit, way.toward, way.isEnd) : detour;
}

/// On which side of the straight way to a place another one lies.
std::int8_t handOf(const Unit& unit, GroundPoint toward, GroundPoint place) {
    const Angle wished = headingOf(toward.x - unit.place.x, toward.z - unit.place.z);
    const Angle heading = headingOf(place.x - unit.place.x, place.z - unit.place.z);
    const std::int32_t off = shortestDifference(wished, heading);
    return static_cast<std::int8_t>(off > 0 ? -1 : off < 0 ? 1 : 0);
}

/// As far from here as another place, on the other side.
GroundPoint behind(const Unit& unit, GroundPoint place) {
    return {unit.place.x + (unit.place.x - place.x), unit.place.z + (unit.place.z - place.z)};
}

MotionStep planStep(const WorldParts& world, const Unit& unit, const UnitWish& wish) {
    const MoveLimits& limits = unit.type->movement;
    MotionStep step;
    step.heading = unit.heading;
    step.speed = changedSpeed(unit.motion.speed, {}, limits);
    if (!wish.goal) {
        if (const auto place = placeToFace(world, unit))
            step.heading = turnedTowards(
                unit.heading, headingOf(place->x - unit.place.x, place->z - unit.place.z),
                limits.turnRate);
        return step;
    }
    RouteStep way = world.state.routes.step(unit.slot());
    if (unit.motion.backTicks > 0) way = {way.state, behind(unit, way.toward), false};
    const Fixed x = way.toward.x - unit.place.x, z = way.toward.z - unit.place.z;
    step.distance = lengthOf(x, z);
    if (way.isEnd) step.end = way.toward;
    step.isElsewhere = way.state == RouteState::elsewhere;
    if (step.distance == Fixed()) return step;

    step.detour = chooseDetour(world, unit, way);
    step.hand = unit.motion.hand;
    if (step.detour && step.hand == 0) step.hand = handOf(unit, way.toward, *step.detour);
    const GroundPoint first = step.detour.value_or(way.toward);
    const Vector ahead{first.x - unit.place.x, {}, first.z - unit.place.z};
    const Angle wished = headingOf(ahead.x, ahead.z);
    step.heading = turnedTowards(unit.heading, wished, limits.turnRate);
    const std::int32_t off = shortestDifference(step.heading, wished);
    Fixed most = turningSpeed(limits.maxSpeed, off);
    // Nor does anybody run past where he waits to hear how the way goes on.
    const bool stops = way.isEnd || way.state == RouteState::waiting;
    if (step.detour)
        most = std::min(most, arcSpeed(lengthOf(ahead), limits.turnRate, off));
    else if (stops)
        most = std::min({most, step.distance, stoppingSpeed(step.distance, brakeRateOf(limits)),
                         arcSpeed(step.distance, limits.turnRate, off)});
    step.speed = changedSpeed(unit.motion.speed, most, limits);
    // Whoever brakes badly still does not run past his goal.
    if (stops && !step.detour) step.speed = std::min(step.speed, step.distance);
    return step;
}

void stepTo(WorldParts& world, Unit& unit, GroundPoint place, const CellRect& from,
            const CellRect& to) {
    if (from != to) world.state.occupancy.move(from, to, ownerOf(unit));
    world.derived.buckets.move(unit.slot(), unit.place, place);
    unit.place = place;
}

/// Counts how long it has not got on.
void noteProgress(WorldParts& world, Unit& unit, bool getsOn, bool wantsTo) {
    UnitMotion& motion = unit.motion;
    if (!wantsTo || getsOn) {
        motion.blockedTicks = wantsTo ? std::max(0, motion.blockedTicks - 2) : 0;
        motion.stillTicks = 0;
        return;
    }
    ++motion.blockedTicks;
    motion.stillTicks = static_cast<std::int16_t>(std::min<int>(motion.stillTicks + 1, 0x7FFF));
    if (motion.blockedTicks == rules::kBlockedTicks) world.tell(unit, Blocked{});
    // Nobody is in its way, and it gets nowhere: where it stands nothing leads away from.
    if (motion.blockedTicks > rules::kGiveUpOnFriendsTicks) motion.arrival = Arrival::givenUp;
}

/// What became of a piece of a step.
enum class Piece : std::uint8_t {
    taken,
    /// Only the lesser part of it, across the way: who creeps along what stands before him gets
    /// nowhere by it.
    grazed,
    refused,
};

/// Takes a piece of a step; where it cannot be, the longer part of it along one axis or else the
/// other, so that a unit slides along what it grazes.
Piece takePiece(WorldParts& world, Unit& unit, Fixed x, Fixed z) {
    const CellRect from = unit.cells();
    const bool isXLonger = absolute(x) >= absolute(z);
    const GroundPoint longer = isXLonger ? GroundPoint{x, {}} : GroundPoint{{}, z};
    const GroundPoint shorter{x - longer.x, z - longer.z};
    for (const GroundPoint& way : {GroundPoint{x, z}, longer, shorter}) {
        if (way == GroundPoint()) continue;
        const GroundPoint place{unit.place.x + way.x, unit.place.z + way.z};
        const CellRect to = footprintAt(place, from.width, from.depth);
        if (from != to && !mayStep(world, unit, from, to)) continue;
        stepTo(world, unit, place, from, to);
        const bool isLittle = lengthOf(way.x, way.z).times(2) < lengthOf(x, z);
        return way == shorter && isLittle ? Piece::grazed : Piece::taken;
    }
    return Piece::refused;
}

/// Takes the step piece by piece up to the first that cannot be; whether it got on.
bool advance(WorldParts& world, Unit& unit, const MotionStep& step) {
    const std::int32_t longest = Fixed::fromInt(kLongestPiece).raw();
    const std::int32_t pieces = (unit.motion.speed.raw() + longest - 1) / longest;
    const Vector whole = vectorOf(unit.heading, {}, unit.motion.speed);
    bool getsOn = false;
    for (std::int32_t i = 0; i < pieces; ++i) {
        const auto part = [&](Fixed length) {
            const auto upTo = [&](std::int32_t count) {
                return quotient(std::int64_t{length.raw()} * count, pieces, Rounding::towardsZero);
            };
            return Fixed::fromWideRaw(upTo(i + 1) - upTo(i));
        };
        const Fixed x = part(whole.x), z = part(whole.z);
        const GroundPoint wished{unit.place.x + x, unit.place.z + z};
        if (takePiece(world, unit, x, z) == Piece::taken) {
            getsOn = true;
            continue;
        }
        beBlocked(world, unit, step,
                  footprintAt(wished, unit.type->footprintX, unit.type->footprintZ));
        break;
    }
    return getsOn;
}

/// It need not stop where it arrives.
bool goesOn(const Unit& unit) {
    return unit.orders.size() > 1;
}

bool hasArrived(const Unit& unit, const MotionStep& step) {
    return step.end &&
           squaredDistance(unit.place.x, unit.place.z, step.end->x, step.end->z) <=
               squaredLength(rules::kArrivalDistance) &&
           (goesOn(unit) || unit.motion.speed <= brakeRateOf(unit.type->movement));
}

void applyStep(WorldParts& world, Unit& unit, MotionStep& step, const UnitWish& wish) {
    const bool hasGoal = wish.goal.has_value();
    unit.motion.hasGoal = hasGoal;
    if (hasGoal) unit.motion.gathering = wish.gathering;
    if (unit.motion.backTicks > 0) --unit.motion.backTicks;
    unit.motion.detour = step.detour;
    unit.motion.hand = step.hand;
    const bool turns = unit.heading != step.heading;
    unit.heading = step.heading;
    unit.motion.speed = step.speed;
    const bool wasUnderWay = unit.motion.arrival == Arrival::underWay;
    const GroundPoint before = unit.place;
    const bool getsOn = step.speed > Fixed() && advance(world, unit, step);
    if (hasGoal && hasArrived(unit, step))
        unit.motion.arrival = step.isElsewhere ? Arrival::elsewhere : Arrival::atGoal;
    if (wasUnderWay && unit.motion.arrival != Arrival::underWay && !goesOn(unit))
        unit.motion.speed = {};
    if (hasGoal && unit.motion.arrival == Arrival::underWay) noteDetours(unit, step, *wish.goal);
    const bool turnsOnly = turns && step.speed == Fixed();
    noteProgress(world, unit, getsOn || turnsOnly,
                 hasGoal && unit.motion.arrival == Arrival::underWay);
    step.hasMoved = turns || unit.place != before;
    if (unit.place == before && unit.motion.stillTicks > rules::kStandsTicks)
        unit.motion.speed = {};
}

Fixed surfaceAt(const WorldParts& world, const Unit& unit, GroundPoint place) {
    return restingAltitude(world.frame.terrain, *unit.type, world.frame.terrain.clamped(place));
}

}  // namespace

bool canStandAt(const WorldParts& world, const Unit& unit, GroundPoint place) {
    const CellRect cells = footprintAt(place, unit.type->footprintX, unit.type->footprintZ);
    return world.frame.terrain.contains(cells) &&
           world.state.routes.fits(unit.motion.movementClass, cells.corner);
}

void settleOnGround(const WorldParts& world, Unit& unit) {
    unit.altitude = surfaceAt(world, unit, unit.place);
    if (unit.type->movement.isUpright || unit.type->canFly) return;
    const Fixed length = Fixed::fromInt(unit.type->footprintZ * kCellPixels);
    const Fixed width = Fixed::fromInt(unit.type->footprintX * kCellPixels);
    const Vector ahead = vectorOf(unit.heading, {}, length.over(2, Rounding::down));
    const Vector left =
        vectorOf(unit.heading + Angle::fromSteps(kQuarterTurn), {}, width.over(2, Rounding::down));
    const auto rise = [&](const Vector& way) {
        return surfaceAt(world, unit, {unit.place.x + way.x, unit.place.z + way.z}) -
               surfaceAt(world, unit, {unit.place.x - way.x, unit.place.z - way.z});
    };
    unit.pitch = angleOf(rise(ahead), length);
    unit.roll = angleOf(rise(left), width);
}

void stepRoutes(WorldParts& world, TickScratch& scratch) {
    Routes& routes = world.state.routes;
    for (const Unit& unit : world.state.units) {
        const UnitWish& wish = scratch.wishes[unit.slot()];
        if (wish.goal && walks(unit))
            routes.wish(
                {unit.slot(), unit.motion.movementClass, unit.place, *wish.goal, wish.gathering});
    }
    routes.update(world.frame.terrain, world.workers);
    scratch.counts.nodeVisits += routes.work().visits;
}

void stepMotion(WorldParts& world, TickScratch& scratch) {
    constexpr std::size_t kUnitsPerBlock = 64;
    const WorldParts& before = world;
    world.workers.forEach(scratch.steps.size(), kUnitsPerBlock, [&](std::size_t slot, std::size_t) {
        if (const Unit* const unit = before.state.units.at(slot); unit && walks(*unit))
            scratch.steps[slot] = planStep(before, *unit, scratch.wishes[slot]);
    });
    for (Unit& unit : world.state.units) {
        if (!walks(unit)) continue;
        applyStep(world, unit, scratch.steps[unit.slot()], scratch.wishes[unit.slot()]);
        ++scratch.counts.steps;
    }
    world.workers.forEach(scratch.steps.size(), kUnitsPerBlock, [&](std::size_t slot, std::size_t) {
        if (scratch.steps[slot].hasMoved)
            settleOnGround(before, *world.state.units.at(static_cast<std::uint32_t>(slot)));
    });
}

}  // namespace orb::sim
