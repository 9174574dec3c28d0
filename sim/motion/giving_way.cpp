#include "sim/motion/giving_way.h"

#include <algorithm>
#include <array>
#include <utility>

#include "sim/motion/ground_motion.h"
#include "sim/rules.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

constexpr std::int32_t kQuarterTurn = 16'384;
constexpr std::int32_t kEighthTurn = kQuarterTurn / 2;

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

bool isUnderWay(const Unit& unit) {
    return !unit.orders.empty() && unit.type->canMove;
}

/// Who follows somebody keeps his speed, so that queues flow; others come to a halt.
Fixed speedBehind(const Unit& unit, const Unit* blocker) {
    const bool follows =
        blocker && isUnderWay(*blocker) &&
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

/// The first direction in which there is room for a step: those that lead least away come first,
/// and all units try the same side, so that two who meet do not dance.
void chooseDetour(const WorldParts& world, Unit& unit, Angle wished) {
    constexpr std::array<std::int32_t, 6> kTries = {
        kEighthTurn, -kEighthTurn, kQuarterTurn, -kQuarterTurn, 3 * kEighthTurn, -3 * kEighthTurn};
    const CellRect from = unit.cells();
    for (const std::int32_t offset : kTries) {
        const Angle heading = wished + Angle::fromSteps(offset);
        const CellRect to = cellsAhead(unit, heading, rules::kDetourProbe);
        if (to == from || !mayStep(world, unit, from, to)) continue;
        const std::int32_t turn = std::abs(shortestDifference(unit.heading, heading));
        const std::int32_t turning = turn / std::max(1, unit.type->movement.turnRate);
        unit.motion.detours = static_cast<std::uint8_t>(std::min(unit.motion.detours + 1, 255));
        unit.motion.detour = Angle::fromSteps(offset);
        unit.motion.detourTicks = static_cast<std::int16_t>(
            std::min(rules::kDetourTicks + turning, rules::kLongestDetourTicks));
        return;
    }
}

bool isWithinFootprints(const Unit& unit, const MotionStep& step, std::int32_t footprints) {
    const std::int32_t cells = footprints * std::max(unit.type->footprintX, unit.type->footprintZ);
    return step.end && step.distance <= Fixed::fromInt(cells * kCellPixels);
}

/// It stands beside its goal, which others have taken; the longer it has looked for a way, the
/// farther that may be.
bool isNearEnough(const Unit& unit, const MotionStep& step) {
    const std::int32_t footprints =
        std::min(rules::kCrowdedGoalFootprints + unit.motion.detours / rules::kDetoursPerFootprint,
                 rules::kMostCrowdedGoalFootprints);
    return unit.motion.stillTicks >= rules::kCrowdedGoalTicks &&
           isWithinFootprints(unit, step, footprints);
}

/// Ends a way that does not go on: behind friends before the goal it is as good as there.
void giveUp(Unit& unit, const MotionStep& step, const Unit* blocker) {
    const bool isThere = blocker && blocker->player == unit.player &&
                         isWithinFootprints(unit, step, rules::kMostCrowdedGoalFootprints);
    unit.motion.arrival = !isThere           ? Arrival::givenUp
                          : step.isElsewhere ? Arrival::elsewhere
                                             : Arrival::atGoal;
}

}  // namespace

bool mayStep(const WorldParts& world, const Unit& unit, const CellRect& from, const CellRect& to) {
    if (unit.type->canFly) return world.frame.terrain.contains(to);
    const std::int32_t foreign = countForeign(world, unit, to);
    if (foreign > 0 && foreign >= countForeign(world, unit, from)) return false;
    return canStandAt(world, unit, to.center()) || !canStandAt(world, unit, from.center());
}

void beBlocked(WorldParts& world, Unit& unit, const MotionStep& step, const CellRect& wished) {
    UnitMotion& motion = unit.motion;
    Unit* const blocker = blockerAt(world, unit, wished);
    motion.speed = speedBehind(unit, blocker);
    if (blocker && isNearEnough(unit, step)) {
        motion.arrival = step.isElsewhere ? Arrival::elsewhere : Arrival::atGoal;
        return;
    }
    const bool waits = blocker && isUnderWay(*blocker);
    // A queue gets on as its head does; only where each waits for the other they all count on.
    if (waits)
        motion.blockedTicks = std::min(motion.blockedTicks, blocker->motion.blockedTicks + 1);
    const bool isFriend = blocker && blocker->player == unit.player;
    const Tick longest = isFriend ? rules::kGiveUpOnFriendsTicks : rules::kGiveUpTicks;
    if (motion.blockedTicks >= longest) return giveUp(unit, step, blocker);
    if (blocker) makeRoom(world, *blocker, unit);
    // Who goes on by himself is waited for, each a little longer than the next.
    const Tick patience = waits ? rules::kPatience + static_cast<Tick>(unit.id % 8) : 0;
    if (motion.detourTicks == 0 && motion.stillTicks >= patience)
        chooseDetour(world, unit, step.wished);
}

void makeRoom(WorldParts& world, Unit& unit, const Unit& other) {
    if (!unit.orders.empty() || !unit.type->canMove || !unit.isPresent() || !unit.isBuilt() ||
        unit.player != other.player)
        return;
    // First to the side of the other's way on which it stands already.
    const Vector between = unit.position() - other.position();
    const bool isLeft = shortestDifference(other.heading, headingOf(between.x, between.z)) >= 0;
    const std::int32_t side = isLeft ? kQuarterTurn : -kQuarterTurn;
    const std::int32_t cells =
        std::max(other.type->footprintX, other.type->footprintZ) + rules::kSideStepCells;
    for (const std::int32_t turn : {side, side / 2, -side, -side / 2, 0}) {
        const CellRect to = cellsAhead(unit, other.heading + Angle::fromSteps(turn),
                                       Fixed::fromInt(cells * kCellPixels));
        if (!mayStep(world, unit, unit.cells(), to)) continue;
        Order order;
        order.kind = OrderKind::move;
        order.source = OrderSource::sideStep;
        order.place = order.gathering = to.center();
        unit.orders.push_back(order);
        unit.motion.beginAnew();
        return;
    }
}

}  // namespace orb::sim
