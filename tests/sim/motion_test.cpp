#include <array>
#include <cmath>
#include <numbers>
#include <tuple>

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

TEST(Motion, EveryoneGetsToPlacesNearby) {
    struct Figures {
        double speed, acceleration, brakeRate;
        std::int32_t turnRate;
    };
    // boats, carts, walkers; then what hardly turns, hardly brakes, or both
    constexpr std::array<Figures, 9> kAll = {{{2.4, 0.04, 0.05, 260},
                                              {1.6, 0.03, 0.08, 420},
                                              {1.3, 0.12, 0.2, 980},
                                              {2.2, 0.05, 0.1, 520},
                                              {1.4, 0.05, 0.1, 500},
                                              {9.5, 0.3, 5, 760},
                                              {0.34, 0.003, 0.006, 64},
                                              {12, 0.7, 0.006, 64},
                                              {1'024, 1'024, 1'024, 200}}};
    constexpr std::array<double, 5> kDistances = {3, 8, 20, 45, 100};
    constexpr int kDirections = 12, kApart = 240;
    Battlefield field(flatMap(kDirections * kApart / 16 + 20, 9 * 5 * kApart / 16 + 20, 20, 0));
    struct Walk {
        std::uint32_t slot;
        GroundPoint goal;
        double limit;
    };
    std::vector<Walk> walks;
    for (const Figures& figures : kAll)
        for (const double apart : kDistances)
            for (int i = 0; i < kDirections; ++i) {
                auto type = walkerType();
                type->movement = {px(figures.speed), px(figures.acceleration),
                                  px(figures.brakeRate), figures.turnRate, true};
                const double x = 200 + i * kApart;
                const double z = 200.0 + static_cast<double>(walks.size()) / kDirections * kApart;
                const double angle = 2 * std::numbers::pi * i / kDirections;
                Unit& unit = field.place(type, 1, x, z);
                const double goalX = x + apart * std::sin(angle),
                             goalZ = z + apart * std::cos(angle);
                field.give(unit, orderTo(goalX, goalZ));
                const double turning = 32'768.0 / figures.turnRate;
                const double straight = 2 * std::sqrt(2 * apart / figures.acceleration) +
                                        2 * std::sqrt(2 * apart / figures.brakeRate) +
                                        apart / figures.speed;
                walks.push_back({unit.slot(), at(goalX, goalZ), 30 + 2 * turning + 2 * straight});
            }
    std::size_t left = walks.size();
    for (int tick = 0; left > 0 && tick < 6'000; ++tick) {
        field.tick();
        std::erase_if(walks, [&](const Walk& walk) {
            const Unit& unit = *field.world.state.units.at(walk.slot);
            if (!unit.orders.empty() && tick < walk.limit) return false;
            EXPECT_TRUE(unit.orders.empty())
                << walk.slot / 60 << ' ' << walk.slot / 12 % 5 << ' ' << walk.slot % 12;
            EXPECT_LT(distance(unit, walk.goal.x.toNumber(), walk.goal.z.toNumber()), 2.1);
            EXPECT_EQ(unit.motion.speed, Fixed());
            return true;
        });
        left = walks.size();
    }
    EXPECT_EQ(left, 0U);
}

TEST(Motion, StopsAtTheLastOfItsWayPointsOnly) {
    Battlefield field;
    Unit& unit = field.place(walkerType(), 1, 300, 300);
    field.give(unit, orderTo(300, 500));
    OrderRequest second = orderTo(300, 700);
    second.isQueued = true;
    field.give(unit, second);
    ASSERT_TRUE(field.tickUntil<OrderDone>(300));
    EXPECT_GT(unit.motion.speed, px(0.5));
    field.forget();
    ASSERT_TRUE(field.tickUntil<OrderDone>(300));
    EXPECT_EQ(unit.motion.speed, Fixed());
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

TEST(Motion, WhoCannotGetNearerStaysWhereHeIs) {
    Battlefield field;
    build(field, 40, 0, 0);
    placeFeature(field.world, 0, {20, 20});
    // with its middle at and beside what is nearest to its goal in the wall, and beside a rock
    for (const auto& [x, z, goalX, goalZ] : {std::tuple{500.0, 624.0, 500.0, 660.0},
                                             {700.0, 630.0, 702.0, 700.0},
                                             {808.0, 628.0, 800.0, 690.0},
                                             {305.0, 328.0, 328.0, 328.0},
                                             {328.0, 352.0, 330.0, 328.0}}) {
        Unit& unit = field.place(walkerType(4), 1, x, z);
        const double apart = std::hypot(x - goalX, z - goalZ);
        field.give(unit, orderTo(goalX, goalZ));
        field.tick(120);
        EXPECT_TRUE(unit.orders.empty());
        EXPECT_LE(distance(unit, goalX, goalZ), apart) << x;
    }
}

TEST(Motion, ManyPassAGapAndNoTwoShareACell) {
    for (const auto& [count, gap] : {std::pair{30, 4}, {120, 3}}) {
        Battlefield field;
        build(field, 40, 38, 38 + gap);
        std::vector<std::int64_t> ids;
        const auto type = walkerType();
        for (const GroundPoint& place :
             blockPlaces(*type, at(640, 300), static_cast<std::size_t>(count))) {
            const Unit& unit = field.place(type, 1, place.x.toNumber(), place.z.toNumber());
            ids.push_back(unit.id);
        }
        giveOrder(field.world, field.scratch, ids, orderTo(640, 960));
        for (int i = 0; i < 6'000 && field.all<OrderDone>().size() < ids.size(); ++i) {
            field.tick();
            for (const Unit& unit : field.world.state.units)
                ASSERT_TRUE(field.world.state.occupancy.isFreeFor(ownerOf(unit), unit.cells()))
                    << unit.id << " at tick " << i;
        }
        EXPECT_EQ(field.all<OrderDone>().size(), ids.size());
        EXPECT_TRUE(field.all<OrderFailed>().empty());
        for (const Unit& unit : field.world.state.units)
            EXPECT_LT(distance(unit, 640, 960), count == 30 ? 250 : 640);
    }
}

TEST(Motion, IdleFriendsMakeRoomEnemiesDoNot) {
    for (const std::int32_t player : {1, 2}) {
        Battlefield field;
        build(field, 40, 39, 41);
        Unit& idle = field.place(walkerType(), player, 640, 672);
        Unit& unit = field.place(walkerType(), 1, 640, 500);
        field.give(unit, orderTo(640, 1'000));
        field.tick(2'700);
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
        Unit& placed = field.place(type, 1, 700, 700, 0);
        OrderRequest place = orderTo(800, 700, OrderKind::place);
        place.hasHeading = true;
        place.heading = Angle::fromDegrees(90);
        field.give(placed, place);
        EXPECT_EQ(placed.pitch == Angle(), upright);
        EXPECT_EQ(east.pitch, placed.pitch);
        EXPECT_EQ(south.roll, placed.pitch);
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
