#pragma once

#include <cmath>
#include <queue>
#include <random>

#include "sim/ground.h"
#include "sim/ground/occupancy.h"
#include "sim/motion/way_steps.h"
#include "sim/orders/order.h"
#include "sim/state_fields.h"
#include "sim/state_hash.h"
#include "sim/ways/routes.h"

/// What tests of ways share: ground with walls, a plain search to compare with, and somebody who
/// does as he is told.
namespace orb::sim {

inline MovementLimits sized(std::int32_t footprint) {
    return {.footprintX = footprint, .footprintZ = footprint};
}

inline Terrain flatTerrain(std::uint32_t width, std::uint32_t depth) {
    return Terrain(flatMap(width, depth, 10, 0));
}

/// Blocks of all sizes up to a side, some of them leaving gaps.
inline void scatterBlocks(Routes& routes, std::int32_t cellsX, std::int32_t cellsZ,
                          std::int32_t count, std::int32_t mostSide, std::mt19937& random) {
    const auto below = [&](std::int32_t end) {
        return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(end));
    };
    for (std::int32_t i = 0; i < count; ++i)
        routes.setBlocked(
            {{below(cellsX), below(cellsZ)}, 1 + below(mostSide), 1 + below(mostSide)}, true);
}

/// The lengths of the shortest ways over cells to a goal, by plain search over the whole map; 0 for
/// the goal and where there is none.
inline std::vector<std::uint32_t> plainSearch(const ClassGrid& grid, Cell goal) {
    constexpr std::uint32_t kNone = 0xFFFFFFFF;
    const auto index = [&](Cell cell) {
        return static_cast<std::size_t>(cell.z * grid.cellsX() + cell.x);
    };
    std::vector<std::uint32_t> lengths(
        static_cast<std::size_t>(grid.cellsX()) * static_cast<std::size_t>(grid.cellsZ()), kNone);
    using Open = std::pair<std::uint32_t, std::pair<std::int32_t, std::int32_t>>;
    std::priority_queue<Open, std::vector<Open>, std::greater<>> open;
    const auto reach = [&](Cell cell, std::uint32_t length) {
        if (length >= lengths[index(cell)]) return;
        lengths[index(cell)] = length;
        open.push({length, {cell.x, cell.z}});
    };
    if (grid.fits(goal)) reach(goal, 0);
    while (!open.empty()) {
        const auto [length, place] = open.top();
        open.pop();
        const Cell cell{place.first, place.second};
        if (length != lengths[index(cell)]) continue;
        for (std::size_t i = 0; i < kDirections; ++i) {
            const Cell next{cell.x + kSteps[i].x, cell.z + kSteps[i].z};
            const bool isCornerFree = grid.fits({cell.x, next.z}) && grid.fits({next.x, cell.z});
            if (grid.fits(next) && isCornerFree)
                reach(next, length + stepLength(i % 2 == 1, grid.cost(cell), grid.cost(next)));
        }
    }
    std::ranges::replace(lengths, kNone, 0U);
    return lengths;
}

inline std::uint64_t hashOf(const Routes& routes) {
    HashSink sink;
    putState(sink, "routes", routes);
    return sink.value();
}

/// Somebody who walks where his steps tell him, at once and without turning.
struct Walker {
    std::uint32_t number = 0;
    std::uint32_t movementClass = 0;
    GroundPoint place = {};
    GroundPoint goal = {};
    RouteStep step = {};
    double walked = 0;
    bool isThere = false;

    void walk(double pixels) {
        const double x = step.toward.x.toNumber() - place.x.toNumber();
        const double z = step.toward.z.toNumber() - place.z.toNumber();
        const double apart = std::hypot(x, z);
        isThere = step.isEnd && apart <= pixels;
        if (apart <= pixels) {
            place = step.toward;
            walked += apart;
            return;
        }
        place =
            at(place.x.toNumber() + x / apart * pixels, place.z.toNumber() + z / apart * pixels);
        walked += pixels;
    }
};

}  // namespace orb::sim
