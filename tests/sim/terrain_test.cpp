#include "sim/ground/terrain.h"

#include <gtest/gtest.h>

#include "sim/ground.h"

namespace orb::sim {
namespace {

TEST(Terrain, GroundRunsStraightBetweenTheCorners) {
    io::TntFile map = flatMap(4, 3, 10, 40);
    cellOf(map, 1, 0).height = 50;
    cellOf(map, 1, 1).height = 90;
    cellOf(map, 3, 2).height = 200;
    const Terrain terrain(map);
    const auto heightAt = [&](double x, double z) {
        return terrain.groundHeight(at(x, z)).toNumber();
    };
    EXPECT_EQ(heightAt(0, 0), 10);
    EXPECT_EQ(heightAt(16, 0), 50);
    EXPECT_EQ(heightAt(8, 0), 30);
    EXPECT_EQ(heightAt(16, 4), 60);
    EXPECT_EQ(heightAt(8, 8), 40);
    EXPECT_EQ(heightAt(24, 16), 50);
    // beyond the last corners the ground is level
    EXPECT_EQ(heightAt(63.99, 47.99), 200);
    EXPECT_EQ(heightAt(48, 40), 200);

    EXPECT_EQ(terrain.slope({0, 0}), 80);
    EXPECT_EQ(terrain.slope({3, 2}), 0);
    EXPECT_EQ(terrain.heightRange().highest, 200);
    EXPECT_EQ(terrain.heightRange({{2, 1}, 2, 2}).highest, 200);
    EXPECT_EQ(terrain.heightRange({{2, 0}, 2, 2}).highest, 10);
}

TEST(Terrain, KnowsItsEdges) {
    const Terrain terrain(flatMap(2'047, 2, 0, 0));
    EXPECT_TRUE(terrain.contains(at(0, 0)));
    EXPECT_TRUE(terrain.contains(at(32'751.9, 31.9)));
    EXPECT_FALSE(terrain.contains(at(32'752, 0)));
    EXPECT_FALSE(terrain.contains(at(0, 32)));
    EXPECT_FALSE(terrain.contains(at(-0.001, 0)));
    EXPECT_FALSE(terrain.contains(at(1e9, 0)));
    EXPECT_TRUE(terrain.contains(CellRect{{2'045, 0}, 2, 2}));
    EXPECT_FALSE(terrain.contains(CellRect{{2'045, 0}, 3, 2}));
    EXPECT_FALSE(terrain.contains(CellRect{{-1, 0}, 2, 2}));
}

}  // namespace
}  // namespace orb::sim
