#pragma once

#include <cstdint>
#include <vector>

#include "sim/ways/route.h"

namespace orb::sim {

/// Where a walker has got to on his way; state.
struct Way {
    /// He wishes to be elsewhere.
    bool isWanted = false;
    bool hasStep = false;
    /// `cells` only leads to his sector's side that looks towards the goal.
    bool isProvisional = false;
    /// He has come near enough to his goal to leave his group's way.
    bool seeksOwnGoal = false;
    /// The ground on his way has changed.
    bool isRenewed = false;
    RouteState state = RouteState::waiting;
    std::uint32_t movementClass = kNoMovementClass;
    /// As wished.
    GroundPoint goal = {};
    GroundPoint gathering = {};
    /// Where he stands and, where his footprint does not fit there, the nearest cell where it does.
    GroundPoint place = {};
    Cell cell = {};
    Cell start = {};
    /// The cell that is looked for, and the one in its place that can be reached.
    Cell aim = {};
    Cell end = {};
    /// His number in the queue; 0 while he is not in it.
    std::uint64_t ticket = 0;
    /// The portals on the way and its end; what is before `next` lies behind him.
    std::vector<Cell> cells = {};
    std::uint32_t next = 0;
    RouteStep step = {};
};

template <typename Visit>
void eachField(const Cell& cell, Visit visit) {
    visit("x", cell.x);
    visit("z", cell.z);
}

template <typename Visit>
void eachField(const RouteStep& step, Visit visit) {
    visit("state", step.state);
    visit("toward", step.toward);
    visit("isEnd", step.isEnd);
}

template <typename Visit>
void eachField(const Way& way, Visit visit) {
    visit("isWanted", way.isWanted);
    // What is left of one that is not wanted has no meaning.
    if (!way.isWanted) return;
    visit("hasStep", way.hasStep);
    visit("isProvisional", way.isProvisional);
    visit("seeksOwnGoal", way.seeksOwnGoal);
    visit("isRenewed", way.isRenewed);
    visit("state", way.state);
    visit("movementClass", way.movementClass);
    visit("goal", way.goal);
    visit("gathering", way.gathering);
    visit("place", way.place);
    visit("cell", way.cell);
    visit("start", way.start);
    visit("aim", way.aim);
    visit("end", way.end);
    visit("ticket", way.ticket);
    visit("cells", way.cells);
    visit("next", way.next);
    visit("step", way.step);
}
static_assert(sizeof(Way) == 128);

}  // namespace orb::sim
