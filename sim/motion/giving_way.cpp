#include "sim/motion/giving_way.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "sim/motion/ground_motion.h"
#include "sim/motion/steering.h"
#include "sim/rules.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

/// Cells of a footprint that somebody else has or that are not on the map.
std::int32_t countForeign(const WorldParts& world, const Unit& unit, const CellRect& cells) {
    std::int32_t count = 0;
    const CellOwner self = ownerOf(unit);
    forEachCell(cells, [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        const bool isFree = owner == CellOwner() && world.frame.terrain.contains({cell, 1, 1});
        if (!isFree && owner != self) ++count;
    });
    return count;
}

/// The first in the order of the cells.
Unit* blockerAt(WorldParts& world, const Unit& unit, const CellRect& cells) {
    Unit* found = nullptr;
    forEachCell(cells, [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        if (owner.isUnit() && owner.id() != unit.id && !found)
            found = world.state.units.withId(owner.id());
    });
    return found;
}

/// Who follows somebody keeps his speed, so that queues flow; others come to a halt.
Fixed speedBehind(const Unit& unit, const Unit* blocker) {
    const bool follows =
        blocker && blocker->motion.hasGoal &&
        std::abs(shortestDifference(unit.heading, blocker->heading)) < kQuarterTurn;
    if (follows && blocker->motion.speed > Fixed())
        return std::min(unit.motion.speed, blocker->motion.speed);
    return unit.motion.speed.over(2, Rounding::down);
}

CellRect cellsAhead(const Unit& unit, Angle heading, Fixed length) {
    const Vector way = vectorOf(heading, {}, length);
    return footprintAt({unit.place.x + way.x, unit.place.z + way.z}, unit.type->footprintX,
                       unit.type->footprintZ);
}

bool isWithinFootprints(const Unit& unit, const MotionStep& step, std::int32_t footprints) {
    const std::int32_t cells = footprints * std::max(unit.type->footprintX, unit.type->footprintZ);
    return step.end && step.distance <= Fixed::fromInt(cells * kCellPixels);
}

/// It is about as near to where its group goes as its own place there is.
bool isAmongGroup(const Unit& unit) {
    if (!unit.motion.gathering) return false;
    const GroundPoint middle = *unit.motion.gathering;
    const bool hasPlace = !unit.orders.empty() && unit.orders.front().kind == OrderKind::move;
    const GroundPoint own = hasPlace ? unit.orders.front().place : middle;
    const std::int32_t cells =
        rules::kCrowdedGoalFootprints * std::max(unit.type->footprintX, unit.type->footprintZ);
    return lengthOf(unit.place.x - middle.x, unit.place.z - middle.z) <=
           lengthOf(own.x - middle.x, own.z - middle.z) + Fixed::fromInt(cells * kCellPixels);
}

/// There is no way to its goal, or it has come into the crowd round that.
bool maySettleHere(const Unit& unit, const MotionStep& step) {
    return step.isElsewhere || isAmongGroup(unit);
}

/// It stands behind one of its group who is there already, or beside its goal, which others have
/// taken; the longer it has waited, the farther that may be.
bool isNearEnough(const Unit& unit, const MotionStep& step, const Unit& blocker) {
    const UnitMotion& motion = unit.motion;
    if (motion.stillTicks >= rules::kBehindGroupTicks && !blocker.motion.hasGoal &&
        goTogether(unit, blocker) && maySettleHere(unit, step))
        return true;
    const std::int32_t footprints =
        std::min(rules::kCrowdedGoalFootprints + motion.blockedTicks / rules::kTicksPerFootprint,
                 rules::kMostCrowdedGoalFootprints);
    return motion.stillTicks >= rules::kCrowdedGoalTicks &&
           isWithinFootprints(unit, step, footprints);
}

/// Ends its way here, which is as good as at its goal. It does not belong here, so it lets those
/// through who do; where nobody gets to the goal there are none.
void stayHere(Unit& unit, const MotionStep& step) {
    unit.motion.arrival = step.isElsewhere ? Arrival::elsewhere : Arrival::atGoal;
    if (!step.isElsewhere) unit.motion.gathering.reset();
}

/// Ends a way that does not go on.
void giveUp(Unit& unit) {
    unit.motion.arrival = Arrival::givenUp;
    unit.motion.gathering.reset();
}

/// Where two groups meet and cannot pass, one goes back: the same for all of them, those behind as
/// soon as those before them do.
bool goesBackFor(const Unit& unit, const Unit& blocker) {
    if (!blocker.motion.hasGoal || blocker.player != unit.player || unit.motion.backTicks > 0)
        return false;
    if (goTogether(unit, blocker)) return blocker.motion.backTicks > 0;
    const auto rank = [](const Unit& one) {
        const GroundPoint place = one.motion.gathering.value_or(GroundPoint());
        return std::pair(place.x, place.z);
    };
    const bool isOncoming =
        std::abs(shortestDifference(unit.heading, blocker.heading)) > kQuarterTurn;
    return isOncoming && rank(unit) < rank(blocker) &&
           unit.motion.stillTicks >= rules::kStandOffTicks;
}

/// It can step aside onto those cells, or could if others who stand there did so too.
bool isRoom(const WorldParts& world, const Unit& unit, const CellRect& to) {
    if (mayStep(world, unit, unit.cells(), to)) return true;
    return canStandAt(world, unit, to.center()) && allCells(to, [&](Cell cell) {
               const CellOwner owner = world.state.occupancy.ownerOf(cell);
               if (owner == CellOwner() || owner == ownerOf(unit)) return true;
               const Unit* const other =
                   owner.isUnit() ? world.state.units.withId(owner.id()) : nullptr;
               return other && makesRoomFor(*other, unit);
           });
}

}  // namespace

bool mayStep(const WorldParts& world, const Unit& unit, const CellRect& from, const CellRect& to) {
    if (unit.type->canFly) return world.frame.terrain.contains(to);
    const std::int32_t foreign = countForeign(world, unit, to);
    if (foreign > 0 && foreign >= countForeign(world, unit, from)) return false;
    return canStandAt(world, unit, to.center()) || !canStandAt(world, unit, from.center());
}

bool goTogether(const Unit& unit, const Unit& other) {
    return unit.player == other.player && unit.motion.gathering &&
           unit.motion.gathering == other.motion.gathering;
}

void beBlocked(WorldParts& world, Unit& unit, const MotionStep& step, const CellRect& wished) {
    UnitMotion& motion = unit.motion;
    Unit* const blocker = blockerAt(world, unit, wished);
    motion.speed = speedBehind(unit, blocker);
    if (blocker && goesBackFor(unit, *blocker)) {
        motion.backTicks =
            goTogether(unit, *blocker) ? blocker->motion.backTicks : rules::kBackTicks;
        motion.detour.reset();
        return;
    }
    if (blocker && isNearEnough(unit, step, *blocker)) return stayHere(unit, step);
    const bool waits = blocker && blocker->motion.hasGoal;
    // A queue gets on as its head does; only where each waits for the other they all count on.
    if (waits)
        motion.blockedTicks = std::min(motion.blockedTicks, blocker->motion.blockedTicks + 1);
    const bool isFriend = blocker && blocker->player == unit.player;
    const Tick longest = isFriend ? rules::kGiveUpOnFriendsTicks : rules::kGiveUpTicks;
    // Going to and fro before enemies who stay where they are is no way past them.
    if (blocker && !isFriend && !blocker->motion.hasGoal) {
        if (motion.refusedSince < 0) motion.refusedSince = world.state.tick;
        if (world.state.tick - motion.refusedSince >= rules::kGiveUpOnEnemiesTicks)
            return giveUp(unit);
    }
    if (motion.blockedTicks >= longest) {
        // Behind friends before the goal is as good as there.
        if (isFriend && isWithinFootprints(unit, step, rules::kMostCrowdedGoalFootprints))
            return stayHere(unit, step);
        return giveUp(unit);
    }
    if (blocker) makeRoom(world, *blocker, unit);
}

void noteDetours(Unit& unit, const MotionStep& step, GroundPoint goal) {
    UnitMotion& motion = unit.motion;
    const Fixed distance = lengthOf(goal.x - unit.place.x, goal.z - unit.place.z);
    if (motion.nearest - distance >= Fixed::fromInt(kCellPixels)) {
        motion.nearest = distance;
        motion.hand = 0;
        motion.detourTicks = 0;
        motion.refusedSince = -1;
    }
    const bool maySettle = maySettleHere(unit, step);
    const bool counts = motion.detour || (maySettle && motion.stillTicks > 0);
    // Who goes to and fro before what he cannot pass is half of the time on his way back.
    constexpr int kWeight = 2;
    constexpr int kMost = kWeight * rules::kMostDetourTicks;
    motion.detourTicks = static_cast<std::int16_t>(
        std::clamp<int>(motion.detourTicks + (counts ? kWeight : -1), 0, kMost));
    if (maySettle && motion.detourTicks >= kWeight * rules::kCrowdedDetourTicks)
        return stayHere(unit, step);
    if (motion.detourTicks >= kMost) giveUp(unit);
}

bool makesRoomFor(const Unit& unit, const Unit& other) {
    const bool isAtWork = unit.labour.hasStarted || unit.labour.isOpen || unit.hold.handled;
    const bool stands = unit.orders.empty() ||
                        (!unit.motion.hasGoal && (unit.orders.front().kind == OrderKind::guard ||
                                                  unit.orders.front().kind == OrderKind::attack));
    // Who has got to where the other goes too stays there.
    const bool isThere = other.motion.hasGoal && goTogether(unit, other);
    return stands && !isAtWork && !isThere && unit.type->canMove && unit.isPresent() &&
           unit.isBuilt() && unit.player == other.player;
}

void makeRoom(WorldParts& world, Unit& unit, const Unit& other) {
    if (!makesRoomFor(unit, other)) return;
    // First to the side of the other's way on which it stands already.
    const Vector between = unit.position() - other.position();
    const bool isLeft = shortestDifference(other.heading, headingOf(between.x, between.z)) >= 0;
    const std::int32_t side = isLeft ? kQuarterTurn : -kQuarterTurn;
    const std::int32_t cells =
        std::max(other.type->footprintX, other.type->footprintZ) + rules::kSideStepCells;
    for (const std::int32_t turn : {side, side / 2, -side, -side / 2, 0}) {
        const CellRect to = cellsAhead(unit, other.heading + Angle::fromSteps(turn),
                                       Fixed::fromInt(cells * kCellPixels));
        if (!isRoom(world, unit, to)) continue;
        Order order;
        order.kind = OrderKind::move;
        order.source = OrderSource::sideStep;
        order.place = order.gathering = to.center();
        unit.orders.insert(unit.orders.begin(), order);
        unit.motion.beginAnew();
        return;
    }
}

}  // namespace orb::sim
