#include "sim/world.h"

#include <gtest/gtest.h>

#include "sim/ground.h"

namespace orb::sim {
namespace {

std::shared_ptr<UnitType> unitType(std::int32_t footprint) {
    auto type = std::make_shared<UnitType>();
    type->footprintX = type->footprintZ = footprint;
    type->limits.maxSlope = 10;
    type->limits.maxWaterDepth = 5;
    type->maxHealth = 250;
    return type;
}

std::shared_ptr<UnitType> building(std::int32_t footprint, std::string_view yard) {
    auto type = unitType(footprint);
    type->isBuilding = true;
    type->yard = yardOf(yard, footprint, footprint);
    return type;
}

std::string_view fault(const World& world, std::shared_ptr<const UnitType> type, double x, double z,
                       bool isForced = false) {
    return textOf(
        world.testUnit({.type = std::move(type), .place = at(x, z), .isForced = isForced}));
}

const Unit& place(World& world, std::shared_ptr<const UnitType> type, double x, double z) {
    return world.placeUnit({.type = std::move(type), .place = at(x, z)});
}

/// Cells 0 to 3 of each row are land at 50, the others lie below the sea at 40: 36, then 20.
io::TntFile shore() {
    io::TntFile map = flatMap(12, 8, 50, 40);
    for (std::size_t z = 0; z < 8; ++z) {
        for (std::size_t x = 4; x < 8; ++x) cellOf(map, x, z).height = 36;
        for (std::size_t x = 8; x < 12; ++x) cellOf(map, x, z).height = 20;
    }
    cellOf(map, 0, 7).feature = io::kTntVoid;
    return map;
}

TEST(World, TellsWhyAUnitCannotStand) {
    const World world{Terrain(shore())};
    const auto walker = unitType(2);
    EXPECT_EQ(fault(world, walker, 32, 32), "");
    EXPECT_EQ(fault(world, walker, 5, 32), "outside the map");
    EXPECT_EQ(fault(world, walker, 500, 32), "outside the map");
    EXPECT_EQ(fault(world, walker, 16, 112), "void");
    EXPECT_EQ(fault(world, walker, 160, 32), "too deep");
    EXPECT_EQ(fault(world, walker, 96, 32), "");
    EXPECT_EQ(fault(world, walker, 64, 32), "too steep");
    EXPECT_EQ(fault(world, walker, 64, 32, true), "");
    EXPECT_EQ(fault(world, walker, 500, 32, true), "outside the map");

    const auto ship = unitType(2);
    ship->limits = {};
    ship->limits.minWaterDepth = 15;
    EXPECT_EQ(fault(world, ship, 32, 32), "too shallow");
    EXPECT_EQ(fault(world, ship, 160, 32), "");

    // under water another limit counts, for the cells whose own corner is there
    const auto crawler = unitType(1);
    crawler->limits = {.maxSlope = 10, .maxWaterSlope = 30};
    EXPECT_EQ(fault(world, crawler, 7 * 16 + 8, 32), "");
    EXPECT_EQ(fault(world, crawler, 3 * 16 + 8, 32), "too steep");

    const auto hover = unitType(2);
    hover->limits.canHover = true;
    EXPECT_EQ(fault(world, hover, 160, 32), "");
    const auto kite = unitType(2);
    kite->canFly = true;
    EXPECT_EQ(fault(world, kite, 16, 112), "");
}

TEST(World, OnlyTheYardKeepsCellsFree) {
    World world{Terrain(flatMap(20, 20, 50, 40))};
    const auto dock = building(4, "oooo oyyo oyyo ccoo");
    const Unit& placed = place(world, dock, 70, 60);
    EXPECT_EQ(placed.place, at(64, 64));  // on the grid
    EXPECT_EQ(placed.altitude, Fixed::fromInt(50));
    EXPECT_EQ(fault(world, unitType(2), 64, 64), "");
    EXPECT_EQ(fault(world, unitType(1), 40, 90), "occupied");
    EXPECT_EQ(fault(world, unitType(3), 72, 72), "occupied");
    EXPECT_EQ(fault(world, dock, 128, 64), "");
    EXPECT_EQ(fault(world, dock, 127, 64), "");
    EXPECT_EQ(fault(world, dock, 119, 64), "occupied");

    // forced onto others it takes what is free
    world.placeUnit({.type = building(4, ""), .place = at(96, 64), .isForced = true});
    EXPECT_EQ(fault(world, unitType(1), 120, 64), "occupied");
    // a letter short, a letter over
    EXPECT_EQ(yardOf("o\r\n y", 2, 2), "oyyy");
    EXPECT_EQ(yardOf("ocyfG", 2, 2), "ocyf");
    EXPECT_EQ(yardOf("", 1, 2), "oo");
}

TEST(World, FeaturesBlockAndVentsBear) {
    World world{Terrain(shore())};
    const std::uint32_t rock = world.addFeatureType(
        {.name = "rock", .footprintX = 2, .footprintZ = 2, .isBlocking = true});
    const std::uint32_t vent = world.addFeatureType({.name = "vent", .isGeothermal = true});
    const Feature* const placed = world.placeFeature(rock, {0, 0});
    ASSERT_NE(placed, nullptr);
    EXPECT_EQ(placed->place, at(16, 16));
    EXPECT_EQ(placed->altitude, Fixed::fromInt(50));
    EXPECT_EQ(fault(world, unitType(1), 24, 24), "occupied");
    EXPECT_EQ(world.testFeature(rock, {{1, 1}, 2, 2}), SiteFault::occupied);
    EXPECT_EQ(world.testFeature(vent, {{1, 1}, 1, 1}), SiteFault::none);
    EXPECT_EQ(world.testFeature(vent, {{0, 7}, 1, 1}), SiteFault::noGround);

    EXPECT_EQ(fault(world, building(1, "g"), 24, 56), "no vent");
    world.placeFeature(vent, {1, 3});
    EXPECT_EQ(fault(world, building(1, "g"), 24, 56), "");
    EXPECT_EQ(fault(world, building(2, "Goyy"), 32, 64), "");
    EXPECT_EQ(fault(world, building(2, "ogyy"), 32, 64), "no vent");

    // at the edge and beyond
    EXPECT_NE(world.placeFeature(rock, {11, 7}), nullptr);
    EXPECT_EQ(world.placeFeature(rock, {12, 7}), nullptr);
    EXPECT_EQ(world.placeFeature(rock, {-1, 0}), nullptr);
}

TEST(World, UnitsStandOnGroundOrWater) {
    World world{Terrain(shore())};
    const auto boat = unitType(1);
    boat->floats = true;
    boat->waterline = 6;
    const auto hover = unitType(1);
    hover->limits.canHover = true;
    EXPECT_EQ(place(world, boat, 168, 32).altitude, Fixed::fromInt(34));
    EXPECT_EQ(place(world, boat, 8, 32).altitude, Fixed::fromInt(50));
    EXPECT_EQ(place(world, hover, 168, 40).altitude, Fixed::fromInt(40));
    EXPECT_EQ(place(world, unitType(1), 104, 32).altitude, Fixed::fromInt(36));
    EXPECT_EQ(world.placeUnit({.type = boat, .healthPercent = 0}).health, Amount::fromInt(1));
    EXPECT_EQ(world.placeUnit({.type = boat, .healthPercent = 30}).health, Amount::fromInt(75));
}

TEST(World, BlocksLeaveOneCellBetween) {
    const auto places = blockPlaces(*unitType(2), at(100, 100), 5);
    ASSERT_EQ(places.size(), 5U);  // three columns and two rows of 3 cells less one
    EXPECT_EQ(places[1].x - places[0].x, Fixed::fromInt(48));
    EXPECT_EQ(places[3].z - places[0].z, Fixed::fromInt(48));
    EXPECT_EQ(places[3].x, places[0].x);
    EXPECT_EQ(blockPlaces(*unitType(2), at(100.5, 3), 1).front(), at(100.5, 3));

    World world{Terrain(flatMap(400, 400, 0, 0))};
    const auto type = unitType(1);
    for (const GroundPoint& point : blockPlaces(*type, at(3'200, 3'200), kMaxUnits)) {
        const UnitBirth birth{.type = type, .place = point};
        ASSERT_EQ(world.testUnit(birth), SiteFault::none);
        world.placeUnit(birth);
    }
    EXPECT_TRUE(world.isFull());
}

TEST(World, SeesAsFarAsItsUnits) {
    World world{Terrain(flatMap(100, 100, 0, 0))};
    const auto scout = unitType(1);
    scout->sightDistance = 100;
    place(world, scout, 100, 100);
    world.placeUnit({.type = scout, .player = 2, .place = at(200, 100)});
    world.placeUnit({.type = scout, .player = 2, .place = at(232, 100)});
    EXPECT_TRUE(world.isSeenBy(*world.units().withId(2), 1));
    EXPECT_FALSE(world.isSeenBy(*world.units().withId(3), 1));
    EXPECT_TRUE(world.isSeenBy(*world.units().withId(3), 2));
    EXPECT_FALSE(world.isSeenBy(*world.units().withId(1), 3));
}

}  // namespace
}  // namespace orb::sim
