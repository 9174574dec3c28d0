#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/ground/cell.h"

namespace orb::sim {

/// Of what has no movement class: its way is the straight line.
inline constexpr std::uint32_t kNoMovementClass = 0xFFFFFFFF;

/// That somebody wants to be elsewhere. All places are those of his middle.
struct RouteWish {
    /// Who: a unit's slot.
    std::uint32_t walker = 0;
    std::uint32_t movementClass = kNoMovementClass;
    GroundPoint place = {};
    GroundPoint goal = {};
    /// Where all of his group go, near their own goals; far from these they share one search, so
    /// an order to many costs like one to one. The goal itself for those who go alone.
    GroundPoint gathering = {};
};

enum class RouteState : std::uint8_t {
    /// The way is not known yet: `toward` leads to the goal's side of the sector, where there is
    /// one, and is where he stands else.
    waiting,
    /// There is a way to the goal.
    whole,
    /// There is none; it leads to the place nearest to it that he can get to.
    elsewhere,
};

/// What to do next.
struct RouteStep {
    RouteState state = RouteState::waiting;
    /// A place to which the straight line is free of what stays.
    GroundPoint toward = {};
    /// It is the way's end: the goal, or what takes its place.
    bool isEnd = false;
    bool operator==(const RouteStep&) const = default;
};

/// The work of one update, for tables and for tests of growth.
struct RouteWork {
    std::size_t wishes = 0;
    std::size_t tickets = 0;
    std::size_t answered = 0;
    /// Of the queue, afterwards.
    std::size_t waiting = 0;
    std::size_t visits = 0;
    std::size_t fields = 0;
    std::size_t steps = 0;
    std::size_t rebuiltSectors = 0;
};

}  // namespace orb::sim
