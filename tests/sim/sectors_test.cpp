#include "sim/ways/sectors.h"

#include <set>

#include <gtest/gtest.h>

#include "sim/walks.h"

namespace orb::sim {
namespace {

struct Ground {
    explicit Ground(Terrain map, MovementLimits of)
        : terrain(std::move(map)),
          obstacles(terrain.cellsX(), terrain.cellsZ()),
          limits(of),
          grid(terrain, obstacles, limits),
          graph(grid, workers) {}

    void set(const CellRect& cells, bool isBlocked) {
        forEachCell(cells, [&](Cell cell) { obstacles.set(cell, isBlocked); });
        if (const auto changed = grid.update(terrain, obstacles, limits, cells))
            graph.update(grid, {&*changed, 1}, workers);
    }

    Workers workers{2};
    Terrain terrain;
    Obstacles obstacles;
    MovementLimits limits;
    ClassGrid grid;
    SectorGraph graph;
};

/// A number below the end.
std::int32_t below(std::mt19937& random, std::int32_t end) {
    return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(end));
}

/// A wall, a block or a single cell, somewhere on the map.
CellRect somewhere(std::mt19937& random, const Terrain& terrain) {
    const std::array<CellRect, 4> kinds = {CellRect{{}, 40, 1}, CellRect{{}, 1, 40},
                                           CellRect{{}, 5, 4}, CellRect{{}, 1, 1}};
    CellRect cells = kinds[random() % kinds.size()];
    cells.corner = {below(random, terrain.cellsX() - cells.width + 1),
                    below(random, terrain.cellsZ() - cells.depth + 1)};
    return cells;
}

TEST(ClassGrid, TellsWhereAFootprintFitsCellByCell) {
    io::TntFile map = flatMap(40, 40, 50, 30);
    for (std::size_t z = 0; z < 40; ++z)
        for (std::size_t x = 20; x < 40; ++x)  // a shore that falls 8 px a cell
            cellOf(map, x, z).height = static_cast<std::uint8_t>(x < 26 ? 50 - 8 * (x - 20) : 2);
    cellOf(map, 5, 5).feature = io::kTntVoid;
    const Terrain terrain(map);
    Obstacles obstacles(40, 40);
    obstacles.set({10, 30}, true);
    for (const std::int32_t side : {1, 2, 5, 8}) {
        MovementLimits limits = sized(side);
        limits.site.maxWaterDepth = 12;
        limits.site.badSlope = 7;
        const ClassGrid grid(terrain, obstacles, limits);
        forEachCell({{0, 0}, 40, 40}, [&](Cell cell) {
            const CellRect footprint{cell, side, side};
            const bool isOnMap = terrain.contains(footprint);
            const bool fits = isOnMap && allCells(footprint, [&](Cell part) {
                                  return !terrain.isVoid(part) && !obstacles.isBlocked(part) &&
                                         30 - terrain.heightRange({part, 1, 1}).lowest <= 12;
                              });
            const bool isGood = fits && allCells(footprint, [&](Cell part) {
                                    return terrain.slope(part) <= 7 ||
                                           terrain.heightRange({part, 1, 1}).lowest < 30;
                                });
            ASSERT_EQ(grid.cost(cell), fits ? (isGood ? kUsualStep : 3) : kNoStep)
                << side << " at " << cell.x << ", " << cell.z;
        });
    }
}

TEST(SectorGraph, UpdatedForRandomWallsItEqualsOneBuiltAfresh) {
    for (const std::int32_t side : {1, 2, 3, 8}) {
        std::mt19937 random(static_cast<unsigned>(side));
        Ground ground(flatTerrain(130, 97), sized(side));
        for (int change = 0; change < 250; ++change) {
            ground.set(somewhere(random, ground.terrain), random() % 3 != 0);
            const ClassGrid grid(ground.terrain, ground.obstacles, ground.limits);
            const SectorGraph fresh(grid, ground.workers);
            ASSERT_TRUE(ground.graph == fresh) << side << ", change " << change;
        }
    }
}

TEST(SectorGraph, WallsClosedAndOpenedAgainLeaveNoTrace) {
    std::mt19937 random(7);
    Ground ground(flatTerrain(96, 96), sized(2));
    const SectorGraph before = ground.graph;
    std::vector<CellRect> walls;
    for (int i = 0; i < 60; ++i) walls.push_back(somewhere(random, ground.terrain));
    for (const CellRect& wall : walls) ground.set(wall, true);
    EXPECT_FALSE(ground.graph == before);
    std::ranges::shuffle(walls, random);
    for (const CellRect& wall : walls) ground.set(wall, false);
    EXPECT_TRUE(ground.graph == before);
}

TEST(SectorGraph, CellsAreInOneComponentWhenAPlainSearchConnectsThem) {
    std::mt19937 random(11);
    Ground ground(flatTerrain(100, 70), sized(1));
    for (int i = 0; i < 120; ++i) ground.set(somewhere(random, ground.terrain), true);
    const auto fitting = [&] {
        Cell cell;
        do cell = {below(random, 100), below(random, 70)};
        while (!ground.grid.fits(cell));
        return cell;
    };
    std::set<std::uint32_t> components;
    for (int i = 0; i < 40; ++i) {
        const Cell goal = fitting();
        const std::vector<std::uint32_t> lengths = plainSearch(ground.grid, goal);
        components.insert(ground.graph.componentAt(goal));
        for (int j = 0; j < 200; ++j) {
            const Cell from = fitting();
            const bool isConnected =
                from == goal || lengths[static_cast<std::size_t>(from.z * 100 + from.x)] > 0;
            ASSERT_EQ(ground.graph.componentAt(from) == ground.graph.componentAt(goal),
                      isConnected);
        }
        // the nearest cell of any component, by looking at all
        const Cell other = fitting(), place{below(random, 100), below(random, 70)};
        const std::uint32_t wanted = ground.graph.componentAt(other);
        Cell nearest = other;
        const auto squareApart = [&](Cell cell) {
            return (cell.x - place.x) * (cell.x - place.x) +
                   (cell.z - place.z) * (cell.z - place.z);
        };
        forEachCell({{0, 0}, 100, 70}, [&](Cell cell) {
            if (ground.grid.fits(cell) && ground.graph.componentAt(cell) == wanted &&
                squareApart(cell) < squareApart(nearest))
                nearest = cell;
        });
        EXPECT_EQ(squareApart(ground.graph.nearestIn(wanted, place)), squareApart(nearest));
    }
    EXPECT_GT(components.size(), 1U);
}

}  // namespace
}  // namespace orb::sim
