#include <cmath>

#include "sim/battlefield.h"
#include "sim/world.h"

namespace orb::sim {
namespace {

std::shared_ptr<UnitType> walkerType(double speed = 2, std::int32_t footprint = 2) {
    auto type = std::make_shared<UnitType>();
    type->name = "WALKER";
    type->footprintX = type->footprintZ = footprint;
    type->canMove = true;
    type->maxHealth = 100;
    type->limits.maxSlope = 20;
    type->movement = {.maxSpeed = px(speed),
                      .acceleration = px(0.25),
                      .brakeRate = px(0.25),
                      .turnRate = 1'500,
                      .isUpright = false};
    return type;
}

OrderRequest orderTo(double x, double z, OrderKind kind = OrderKind::move) {
    OrderRequest order;
    order.kind = kind;
    order.place = at(x, z);
    return order;
}

double distance(const Unit& unit, double x, double z) {
    return std::hypot(unit.place.x.toNumber() - x, unit.place.z.toNumber() - z);
}

/// A wall of blocking features over a row of cells, but for a gap.
void build(Battlefield& field, std::int32_t z, std::int32_t gapFrom, std::int32_t gapTo) {
    field.world.frame.featureTypes.push_back({.name = "wall", .isBlocking = true});
    for (std::int32_t x = 0; x < 80; ++x)
        if (x < gapFrom || x >= gapTo) placeFeature(field.world, 0, {x, z});
}

TEST(Motion, TurnsSpeedsUpAndBrakesAtItsGoal) {
    Battlefield field;
    Unit& unit = field.place(walkerType(), 1, 300, 300, 180);
    field.give(unit, orderTo(300, 700));
    // it faces away: first it turns on the spot
    field.tick(6);
    EXPECT_EQ(unit.place, at(300, 300));
    EXPECT_NE(unit.heading, Angle::fromDegrees(180));
    Fixed fastest;
    int ticks = 0;
    for (; field.all<OrderDone>().empty() && ticks < 1'000; ++ticks) {
        const Fixed before = unit.motion.speed;
        field.tick();
        EXPECT_LE(unit.motion.speed - before, px(0.25));
        fastest = std::max(fastest, unit.motion.speed);
    }
    EXPECT_EQ(fastest, px(2));
    EXPECT_LT(ticks, 260);
    EXPECT_TRUE(field.all<OrderDone>()[0].hasReached);
    field.tick(12);
    EXPECT_LT(distance(unit, 300, 700), 3);
    EXPECT_EQ(unit.motion.speed, Fixed());
    EXPECT_TRUE(field.world.state.occupancy.ownerOf({18, 43}).isUnit());
    EXPECT_FALSE(field.world.state.occupancy.ownerOf({18, 18}).isUnit());
}

TEST(Motion, NothingIsTooFastForAWall) {
    for (const double speed : {2.0, 60.0, 1'024.0})
        for (const auto& [x, z] : {std::pair{640.0, 1'100.0}, {200.0, 1'000.0}, {1'200.0, 700.0}}) {
            Battlefield field;
            build(field, 40, 30, 34);
            auto type = walkerType(speed);
            type->movement.acceleration = type->movement.brakeRate = px(1'024);
            type->movement.turnRate = 32'768;
            Unit& unit = field.place(type, 1, 500, 200);
            field.give(unit, orderTo(x, z));
            bool hasPassedGap = false;
            for (int i = 0; i < 1'500 && field.all<OrderDone>().empty(); ++i) {
                field.tick();
                const CellRect cells = unit.cells();
                if (cells.corner.z <= 40 && cells.corner.z + 2 > 40) {
                    EXPECT_GE(cells.corner.x, 30) << speed;
                    EXPECT_LE(cells.corner.x, 32) << speed;
                    hasPassedGap = true;
                }
            }
            EXPECT_LT(distance(unit, x, z), 3) << speed << ' ' << x;
            EXPECT_TRUE(hasPassedGap || speed > 30);
        }
}

TEST(Motion, GoalsOutOfReachEndBesideThem) {
    Battlefield field;
    build(field, 40, 0, 0);
    Unit& unit = field.place(walkerType(4), 1, 500, 200);
    field.give(unit, orderTo(500, 900));
    field.tick(900);
    const auto done = field.all<OrderDone>();
    ASSERT_EQ(done.size(), 1U);
    EXPECT_FALSE(done[0].hasReached);
    EXPECT_LT(unit.place.z, Fixed::fromInt(640));
    EXPECT_LT(distance(unit, 500, 624), 24);
}

TEST(Motion, ManyPassAGapAndNoTwoShareACell) {
    Battlefield field;
    build(field, 40, 38, 42);
    std::vector<std::int64_t> ids;
    const auto type = walkerType();
    for (const GroundPoint& place : blockPlaces(*type, at(640, 300), 30)) {
        const Unit& unit = field.place(type, 1, place.x.toNumber(), place.z.toNumber());
        ids.push_back(unit.id);
    }
    giveOrder(field.world, field.scratch, ids, orderTo(640, 1'000));
    for (int i = 0; i < 3'000 && field.all<OrderDone>().size() < ids.size(); ++i) {
        field.tick();
        for (const Unit& unit : field.world.state.units)
            ASSERT_TRUE(field.world.state.occupancy.isFreeFor(ownerOf(unit), unit.cells()))
                << unit.id << " at tick " << i;
    }
    EXPECT_EQ(field.all<OrderDone>().size(), ids.size());
    EXPECT_TRUE(field.all<OrderFailed>().empty());
    for (const Unit& unit : field.world.state.units) EXPECT_LT(distance(unit, 640, 1'000), 300);
}

TEST(Motion, IdleFriendsMakeRoomEnemiesDoNot) {
    for (const std::int32_t player : {1, 2}) {
        Battlefield field;
        build(field, 40, 39, 41);
        Unit& idle = field.place(walkerType(), player, 640, 672);
        Unit& unit = field.place(walkerType(), 1, 640, 500);
        field.give(unit, orderTo(640, 1'000));
        field.tick(900);
        EXPECT_EQ(field.all<OrderDone>().size(), player == 1 ? 1U : 0U);
        EXPECT_EQ(field.all<OrderFailed>().size(), player == 1 ? 0U : 1U);
        EXPECT_EQ(idle.place == at(640, 672), player == 2);
        EXPECT_TRUE(idle.orders.empty());
    }
}

TEST(Motion, LiesOnTheSlopeUnlessUpright) {
    io::TntFile map = flatMap(80, 80, 20, 0);
    for (std::size_t z = 0; z < 80; ++z)
        for (std::size_t x = 0; x < 80; ++x)
            cellOf(map, x, z).height = static_cast<std::uint8_t>(20 + 2 * x);
    for (const bool upright : {false, true}) {
        Battlefield field(map);
        auto type = walkerType();
        type->movement.isUpright = upright;
        Unit& east = field.place(type, 1, 400, 400, 90);
        Unit& south = field.place(type, 1, 400, 700, 0);
        field.give(east, orderTo(600, 400));
        field.give(south, orderTo(400, 900));
        field.tick(60);
        // 2 up in 16
        const double slope = upright ? 0 : std::atan2(2, 16);
        EXPECT_NEAR(east.pitch.radians(), slope, 0.01);
        EXPECT_NEAR(east.roll.radians(), 0, 0.01);
        EXPECT_NEAR(south.pitch.radians(), 0, 0.01);
        EXPECT_NEAR(south.roll.radians(), slope, 0.01);  // its left is the east
        EXPECT_NEAR(east.altitude.toNumber(), 20 + east.place.x.toNumber() / 8, 0.01);
    }
}

TEST(Motion, WhoWasForcedOntoOthersOrBadGroundCanLeave) {
    Battlefield field;
    build(field, 40, 0, 0);
    Unit& below = field.place(walkerType(), 1, 400, 400);
    Unit& above = field.place(walkerType(), 1, 404, 404);
    Unit& walled = field.place(walkerType(), 1, 800, 648);
    field.give(above, orderTo(600, 400));
    field.give(walled, orderTo(800, 900));
    field.tick(300);
    EXPECT_LT(distance(above, 600, 400), 3);
    EXPECT_LT(distance(walled, 800, 900), 3);
    EXPECT_EQ(below.place, at(400, 400));
    EXPECT_TRUE(field.world.state.occupancy.isFreeFor(ownerOf(above), above.cells()));
}

}  // namespace
}  // namespace orb::sim
