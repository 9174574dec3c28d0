#include "sim/ways/routes.h"

#include <gtest/gtest.h>

#include "sim/walks.h"

namespace orb::sim {
namespace {

/// A map with somebody on it.
struct Walk {
    Walk(Terrain map, std::size_t threads = 2, std::size_t visits = kRouteVisitsPerTick)
        : terrain(std::move(map)), workers(threads), routes(terrain, visits) {}

    std::uint32_t classOf(const MovementLimits& limits) {
        return routes.classOf(terrain, limits, workers);
    }
    Walker& add(std::uint32_t movementClass, GroundPoint place, GroundPoint goal) {
        walkers.push_back({.number = static_cast<std::uint32_t>(walkers.size()),
                           .movementClass = movementClass,
                           .place = place,
                           .goal = goal});
        return walkers.back();
    }
    void tick() {
        for (const Walker& walker : walkers)
            if (!walker.isThere)
                routes.wish({walker.number, walker.movementClass, walker.place, walker.goal,
                             gathering.value_or(walker.goal)});
        routes.update(terrain, workers);
        for (Walker& walker : walkers) {
            if (walker.isThere) continue;
            walker.step = routes.step(walker.number);
            walker.walk(4);
            checkFooting(walker);
        }
    }
    /// Ticks until all are there; false when that takes too long.
    bool finish(int mostTicks) {
        for (int i = 0; i < mostTicks; ++i) {
            if (std::ranges::all_of(walkers, &Walker::isThere)) return true;
            tick();
        }
        return false;
    }
    void checkFooting(const Walker& walker) {
        const std::int32_t side = sides[walker.movementClass];
        const Cell cell = footprintAt(walker.place, side, side).corner;
        ASSERT_TRUE(routes.fits(walker.movementClass, cell))
            << "walker " << walker.number << " at " << cell.x << ", " << cell.z;
    }
    std::uint32_t addClass(std::int32_t side) {
        sides.push_back(side);
        return classOf(sized(side));
    }

    Terrain terrain;
    Workers workers;
    Routes routes;
    std::vector<Walker> walkers;
    std::vector<std::int32_t> sides;
    std::optional<GroundPoint> gathering;
};

/// Ground as the routes see it, for the plain search.
ClassGrid gridOf(const Walk& walk, std::int32_t side) {
    Obstacles obstacles(walk.terrain.cellsX(), walk.terrain.cellsZ());
    forEachCell({{0, 0}, walk.terrain.cellsX(), walk.terrain.cellsZ()},
                [&](Cell cell) { obstacles.set(cell, walk.routes.isBlocked(cell)); });
    return ClassGrid(walk.terrain, obstacles, sized(side));
}

/// The middles of cells that fit and are connected with one another.
std::vector<Cell> connectedCells(const ClassGrid& grid, std::mt19937& random, std::size_t count) {
    const auto somewhere = [&] {
        return Cell{static_cast<std::int32_t>(random() % static_cast<unsigned>(grid.cellsX())),
                    static_cast<std::int32_t>(random() % static_cast<unsigned>(grid.cellsZ()))};
    };
    for (;;) {
        const Cell first = somewhere();
        const std::vector<std::uint32_t> lengths = plainSearch(grid, first);
        const auto connected = [&](Cell cell) {
            return lengths[static_cast<std::size_t>(cell.z * grid.cellsX() + cell.x)] > 0;
        };
        if (std::ranges::count(lengths, 0U) > static_cast<std::ptrdiff_t>(lengths.size() * 3 / 4))
            continue;
        std::vector<Cell> cells{first};
        while (cells.size() < count)
            if (const Cell cell = somewhere(); connected(cell)) cells.push_back(cell);
        return cells;
    }
}

TEST(Routes, WaysAreNearlyAsShortAsThoseOfAPlainSearch) {
    double sum = 0, worst = 0;
    int count = 0;
    for (const std::int32_t side : {1, 2, 3, 5, 8}) {
        std::mt19937 random(static_cast<unsigned>(side));
        Walk walk(flatTerrain(260, 200));
        scatterBlocks(walk.routes, 260, 200, 700 / side, 9, random);
        const std::uint32_t movementClass = walk.addClass(side);
        walk.routes.update(walk.terrain, walk.workers);
        const ClassGrid grid = gridOf(walk, side);
        for (int i = 0; i < 12; ++i) {
            const std::vector<Cell> cells = connectedCells(grid, random, 6);
            const std::vector<std::uint32_t> lengths = plainSearch(grid, cells.front());
            walk.walkers.clear();
            for (std::size_t j = 1; j < cells.size(); ++j)
                walk.add(movementClass, middleAt(sized(side), cells[j]),
                         middleAt(sized(side), cells.front()));
            ASSERT_TRUE(walk.finish(20'000));
            for (std::size_t j = 1; j < cells.size(); ++j) {
                const double best =
                    lengths[static_cast<std::size_t>(cells[j].z * 260 + cells[j].x)] * 16.0 /
                    kStraightStep;
                const double ratio = walk.walkers[j - 1].walked / best;
                sum += ratio;
                worst = std::max(worst, ratio);
                ++count;
                ASSERT_EQ(walk.walkers[j - 1].place, middleAt(sized(side), cells.front()));
            }
        }
    }
    // Straight lines over open ground make up for the detours through the middles of borders.
    EXPECT_LT(sum / count, 1.0);
    EXPECT_LT(worst, 1.2);
}

TEST(Routes, OutOfReachTheyLeadToTheNearestPlaceThatIsNot) {
    std::mt19937 random(3);
    Walk walk(flatTerrain(120, 90));
    // an island of ground within walls, and walls within which nothing is free
    walk.routes.setBlocked({{60, 20}, 30, 30}, true);
    walk.routes.setBlocked({{65, 25}, 20, 20}, false);
    scatterBlocks(walk.routes, 60, 90, 40, 6, random);
    const std::uint32_t movementClass = walk.addClass(2);
    walk.routes.update(walk.terrain, walk.workers);
    const ClassGrid grid = gridOf(walk, 2);
    const std::vector<Cell> from = connectedCells(grid, random, 12);
    const std::vector<std::uint32_t> lengths = plainSearch(grid, from.front());
    const std::array<Cell, 4> goals = {Cell{75, 35}, Cell{61, 21}, Cell{300, -50}, Cell{70, 30}};
    for (const Cell goal : goals) {
        walk.walkers.clear();
        for (std::size_t i = 1; i < from.size(); ++i)
            walk.add(movementClass, middleAt(sized(2), from[i]), middleAt(sized(2), goal));
        ASSERT_TRUE(walk.finish(5'000));
        const Cell wished = cellAt(grid, sized(2), middleAt(sized(2), goal));
        std::int32_t least = 1 << 30;
        const auto squareApart = [&](Cell cell) {
            return (cell.x - wished.x) * (cell.x - wished.x) +
                   (cell.z - wished.z) * (cell.z - wished.z);
        };
        forEachCell({{0, 0}, 120, 90}, [&](Cell cell) {
            if (lengths[static_cast<std::size_t>(cell.z * 120 + cell.x)] > 0)
                least = std::min(least, squareApart(cell));
        });
        for (const Walker& walker : walk.walkers) {
            EXPECT_EQ(squareApart(footprintAt(walker.place, 2, 2).corner), least);
            EXPECT_EQ(walker.step.state,
                      wished == goal || least > 0 ? RouteState::elsewhere : RouteState::whole);
        }
    }
}

TEST(Routes, EveryoneIsServedInTurnHoweverManyGoalsThereAre) {
    // Enough for a new search or two in a tick, with goals for many times the searches kept.
    Walk walk(flatTerrain(200, 200), 2, 1'000);
    const std::uint32_t movementClass = walk.addClass(1);
    std::mt19937 random(5);
    for (int i = 0; i < 400; ++i) {
        const auto somewhere = [&] {
            return middleAt(sized(1), {static_cast<std::int32_t>(random() % 200),
                                       static_cast<std::int32_t>(random() % 200)});
        };
        walk.add(movementClass, somewhere(), somewhere());
    }
    std::size_t waiting = walk.walkers.size();
    for (int i = 0; i < 200 && waiting > 0; ++i) {
        walk.tick();
        EXPECT_LE(walk.routes.work().visits, 1'000U);
        EXPECT_LE(walk.routes.work().waiting, waiting);
        waiting = walk.routes.work().waiting;
    }
    EXPECT_EQ(waiting, 0U);
    EXPECT_TRUE(walk.finish(3'000));
}

TEST(Routes, WithoutAnswersEveryoneWaitsAtTheGoalsSideOfHisSector) {
    Walk walk(flatTerrain(128, 96), 1, 0);
    const std::uint32_t movementClass = walk.addClass(1);
    walk.add(movementClass, at(100, 100), at(1'900, 100));
    walk.add(movementClass, at(200, 200), at(100, 1'300));
    walk.add(movementClass, at(200, 200), at(300, 208));  // in his own sector
    for (int i = 0; i < 400; ++i) walk.tick();
    EXPECT_EQ(walk.routes.work().waiting, 3U);
    for (const Walker& walker : walk.walkers) {
        EXPECT_EQ(walker.step.state, RouteState::waiting);
        EXPECT_FALSE(walker.isThere);
    }
    EXPECT_EQ(walk.walkers[0].place.x.floor() / 16, 31);
    EXPECT_EQ(walk.walkers[1].place.z.floor() / 16, 31);
    EXPECT_EQ(walk.walkers[2].place, at(300, 208));
}

TEST(Routes, AWallAcrossTheWayIsGoneRoundAndItsOpeningTaken) {
    Walk walk(flatTerrain(128, 128));
    const std::uint32_t movementClass = walk.addClass(2);
    const CellRect wall{{64, 0}, 2, 120}, gap{{64, 20}, 2, 4};
    const auto walkedAcross = [&](int changeAfter, auto change) {
        walk.walkers.clear();
        walk.add(movementClass, at(200, 400), at(1'900, 400));
        for (int i = 0; i < changeAfter; ++i) walk.tick();
        change();
        EXPECT_TRUE(walk.finish(5'000));
        return walk.walkers.front().walked;
    };
    const double open = walkedAcross(0, [] {});
    EXPECT_LT(open, 1'750);
    const double round = walkedAcross(50, [&] { walk.routes.setBlocked(wall, true); });
    EXPECT_GT(round, 3'000);
    EXPECT_LT(walkedAcross(0, [&] { walk.routes.setBlocked(gap, false); }), 1'900);
    // shut in, he waits as near as he can; let out, he goes on
    walk.routes.setBlocked({{64, 0}, 2, 128}, true);
    walk.walkers.clear();
    walk.add(movementClass, at(200, 400), at(1'900, 400));
    walk.tick();
    EXPECT_EQ(walk.walkers.front().step.state, RouteState::elsewhere);
    for (int i = 0; i < 100; ++i) walk.tick();
    walk.routes.setBlocked({{64, 0}, 2, 128}, false);
    EXPECT_TRUE(walk.finish(5'000));
    EXPECT_EQ(walk.walkers.front().step.state, RouteState::whole);
    EXPECT_EQ(walkedAcross(0, [] {}), open);
}

TEST(Routes, WhoStandsWhereHeDoesNotFitLeavesByTheNearestWay) {
    Walk walk(flatTerrain(64, 64));
    const std::uint32_t movementClass = walk.addClass(2);
    walk.routes.setBlocked({{20, 20}, 6, 6}, true);
    walk.routes.wish({0, movementClass, at(396, 364), at(900, 900), at(900, 900)});
    walk.routes.update(walk.terrain, walk.workers);
    EXPECT_EQ(walk.routes.step(0).toward, middleAt(sized(2), {26, 22}));
    EXPECT_EQ(walk.routes.step(0).state, RouteState::whole);
    // nowhere near is there room: he stays
    walk.routes.setBlocked({{0, 0}, 64, 64}, true);
    walk.routes.wish({0, movementClass, at(396, 364), at(900, 900), at(900, 900)});
    walk.routes.update(walk.terrain, walk.workers);
    EXPECT_EQ(walk.routes.step(0), (RouteStep{RouteState::waiting, at(396, 364), false}));
    // without a class the way is the straight line
    walk.routes.wish({1, kNoMovementClass, at(1, 1), at(900, 900), at(900, 900)});
    walk.routes.update(walk.terrain, walk.workers);
    EXPECT_EQ(walk.routes.step(1), (RouteStep{RouteState::whole, at(900, 900), true}));
}

TEST(Routes, TheLargestMapIsCrossedFromCornerToCorner) {
    Walk walk(flatTerrain(2'047, 2'047));
    // a comb of walls: down and up again
    for (std::int32_t i = 0; i < 6; ++i)
        walk.routes.setBlocked({{300 * (i + 1), i % 2 == 0 ? 0 : 100}, 3, 1'947}, true);
    const std::uint32_t movementClass = walk.addClass(8);
    const GroundPoint first = middleAt(sized(8), {0, 0}), last = middleAt(sized(8), {2'039, 2'039});
    walk.add(movementClass, first, last);
    walk.add(movementClass, last, first);
    std::size_t visits = 0;
    for (int i = 0; i < 10; ++i) {
        walk.tick();
        visits += walk.routes.work().visits;
    }
    EXPECT_EQ(walk.routes.work().waiting, 0U);
    EXPECT_LT(visits, 100'000U);
    EXPECT_TRUE(walk.finish(100'000));
    EXPECT_LT(std::abs(walk.walkers[0].walked / walk.walkers[1].walked - 1), 0.02);
}

/// Three worlds of walkers in walls that change: one thread; several; all that is derived dropped
/// again and again.
TEST(Routes, AnswersDependNeitherOnThreadsNorOnWhatIsKept) {
    std::vector<std::unique_ptr<Walk>> walks;
    for (const std::size_t threads : {1U, 2U, 4U, 1U})
        walks.push_back(std::make_unique<Walk>(flatTerrain(150, 150), threads, 3'000));
    for (auto& walk : walks) {
        std::mt19937 random(9);
        scatterBlocks(walk->routes, 150, 150, 150, 8, random);
        walk->addClass(1);
        walk->addClass(3);
        walk->routes.update(walk->terrain, walk->workers);
        const ClassGrid grid = gridOf(*walk, 3);
        for (const Cell cell : connectedCells(grid, random, 150)) {
            const std::uint32_t number = static_cast<std::uint32_t>(walk->walkers.size());
            const Cell goal = number % 3 == 0 ? Cell{100, 40} : Cell{cell.z, cell.x};
            walk->add(number % 2, middleAt(sized(number % 2 == 0 ? 1 : 3), cell),
                      middleAt(sized(1), goal));
        }
    }
    std::mt19937 random(10);
    for (int tick = 0; tick < 300; ++tick) {
        const CellRect wall{
            {static_cast<std::int32_t>(random() % 150), static_cast<std::int32_t>(random() % 150)},
            1,
            12};
        const bool isBlocked = random() % 2 == 0;
        for (auto& walk : walks) {
            if (tick % 20 == 0) walk->routes.setBlocked(wall, isBlocked);
            if (walk == walks.back()) walk->routes.dropDerived();
            for (const Walker& walker : walk->walkers)
                walk->routes.wish(
                    {walker.number, walker.movementClass, walker.place, walker.goal, at(800, 800)});
            walk->routes.update(walk->terrain, walk->workers);
            for (Walker& walker : walk->walkers) {
                walker.step = walk->routes.step(walker.number);
                walker.walk(4);
            }
            ASSERT_EQ(hashOf(walk->routes), hashOf(walks.front()->routes)) << "tick " << tick;
        }
    }
}

}  // namespace
}  // namespace orb::sim
