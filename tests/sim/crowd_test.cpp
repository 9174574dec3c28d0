#include <cmath>

#include "sim/battlefield.h"
#include "sim/world.h"

namespace orb::sim {
namespace {

std::shared_ptr<UnitType> walkerType(std::int32_t footprint = 2, std::int32_t turnRate = 900) {
    auto type = std::make_shared<UnitType>();
    type->name = "WALKER";
    type->footprintX = type->footprintZ = footprint;
    type->canMove = true;
    type->maxHealth = 100;
    type->limits.maxSlope = 20;
    type->movement = {.maxSpeed = px(2),
                      .acceleration = px(0.1),
                      .brakeRate = px(0.2),
                      .turnRate = turnRate,
                      .isUpright = true};
    return type;
}

OrderRequest orderTo(double x, double z) {
    OrderRequest order;
    order.kind = OrderKind::move;
    order.place = at(x, z);
    return order;
}

/// A field with crowds on it, which are watched while they go.
struct Crowds {
    Battlefield field;
    std::size_t sent = 0;

    /// A wall from west to east but for a gap.
    void build(std::int32_t z, std::int32_t gapFrom, std::int32_t gapTo) {
        field.world.frame.featureTypes.push_back({.name = "wall", .isBlocking = true});
        for (std::int32_t x = 0; x < 80; ++x)
            if (x < gapFrom || x >= gapTo) placeFeature(field.world, 0, {x, z});
    }
    std::vector<std::int64_t> add(const std::shared_ptr<UnitType>& type, double x, double z,
                                  std::size_t count, std::int32_t player = 1) {
        std::vector<std::int64_t> ids;
        for (const GroundPoint& place : blockPlaces(*type, at(x, z), count))
            ids.push_back(field.place(type, player, place.x.toNumber(), place.z.toNumber()).id);
        return ids;
    }
    void send(const std::vector<std::int64_t>& ids, double x, double z) {
        giveOrder(field.world, field.scratch, ids, orderTo(x, z));
        sent += ids.size();
    }
    /// Until all orders are over, and no two ever share a cell; the ticks it took.
    int tickUntilOver(int most) {
        for (int tick = 0; tick < most; ++tick) {
            field.tick();
            for (const Unit& unit : field.world.state.units)
                EXPECT_TRUE(field.world.state.occupancy.isFreeFor(ownerOf(unit), unit.cells()))
                    << unit.id << " at tick " << tick;
            if (field.all<OrderDone>().size() + field.all<OrderFailed>().size() >= sent)
                return tick;
        }
        return most;
    }
    std::size_t reached() const {
        const auto done = field.all<OrderDone>();
        return static_cast<std::size_t>(std::ranges::count_if(done, &OrderDone::hasReached));
    }
};

TEST(Crowds, WhoMeetHeadOnPassOneAnother) {
    // one and one, not quite on one line; slow turners
    for (const double aside : {0, 4, 16, 20, 40}) {
        Crowds crowds;
        const auto type = walkerType(3, 420);
        const Unit& west = crowds.field.place(type, 1, 400, 640);
        const Unit& east = crowds.field.place(type, 1, 900, 640 + aside);
        crowds.send({west.id}, 900, 640);
        crowds.send({east.id}, 400, 640 + aside);
        EXPECT_LT(crowds.tickUntilOver(600), 600) << aside;
        EXPECT_EQ(crowds.reached(), 2U) << aside;
    }
    // crowds of friends and of enemies, and a large one among the small
    for (const std::int32_t player : {1, 2}) {
        Crowds crowds;
        const auto north = crowds.add(walkerType(), 640, 300, 30);
        const auto south = crowds.add(walkerType(), 640, 1'000, 30, player);
        const auto large = crowds.add(walkerType(4), 640, 140, 1);
        crowds.send(north, 640, 1'000);
        crowds.send(south, 640, 300);
        crowds.send(large, 640, 1'160);
        EXPECT_LT(crowds.tickUntilOver(3'000), 3'000) << player;
        EXPECT_GE(crowds.reached(), 55U) << player;
        EXPECT_TRUE(crowds.field.all<OrderFailed>().empty()) << player;
    }
}

TEST(Crowds, GetThroughAPassInBothDirections) {
    Crowds crowds;
    crowds.build(40, 36, 44);
    const auto north = crowds.add(walkerType(), 640, 300, 30);
    const auto south = crowds.add(walkerType(), 640, 1'000, 30);
    crowds.send(north, 640, 1'000);
    crowds.send(south, 640, 300);
    EXPECT_LT(crowds.tickUntilOver(4'500), 4'500);
    EXPECT_GE(crowds.reached(), 55U);
}

TEST(Crowds, EndWhereOthersHoldThePlaceOrNobodyGets) {
    Crowds held;
    held.add(walkerType(), 640, 900, 30);
    held.send(held.add(walkerType(), 640, 300, 30), 640, 900);
    EXPECT_LT(held.tickUntilOver(2'400), 2'400);
    EXPECT_TRUE(held.field.all<OrderFailed>().empty());

    Crowds walled;
    walled.build(40, 0, 0);
    walled.send(walled.add(walkerType(), 640, 300, 60), 640, 900);
    EXPECT_LT(walled.tickUntilOver(2'400), 2'400);
    EXPECT_TRUE(walled.field.all<OrderFailed>().empty());
    EXPECT_EQ(walled.reached(), 0U);
}

TEST(Crowds, LetALoneWalkerThroughWhoStands) {
    for (const std::int32_t player : {1, 2}) {
        Crowds crowds;
        crowds.add(walkerType(), 640, 640, 100, player);
        crowds.send({crowds.field.place(walkerType(4), 1, 640, 200).id}, 640, 1'100);
        EXPECT_LT(crowds.tickUntilOver(1'200), 1'200) << player;
        EXPECT_EQ(crowds.reached(), 1U) << player;
    }
}

TEST(Crowds, GuardsInTheWayStepAside) {
    Crowds crowds;
    crowds.build(40, 38, 42);
    const Unit& ward = crowds.field.place(walkerType(), 1, 700, 700);
    Unit& guard = crowds.field.place(walkerType(), 1, 640, 650);
    OrderRequest order;
    order.kind = OrderKind::guard;
    order.target = ward.id;
    crowds.field.give(guard, order);
    crowds.send({crowds.field.place(walkerType(4), 1, 640, 400).id}, 640, 1'000);
    EXPECT_LT(crowds.tickUntilOver(900), 900);
    EXPECT_EQ(crowds.reached(), 1U);
    crowds.field.tick(90);
    ASSERT_EQ(guard.orders.size(), 1U);
    EXPECT_EQ(guard.orders.front().kind, OrderKind::guard);
}

TEST(Crowds, WhoIsShutInStands) {
    Crowds crowds;
    Unit& inside = crowds.field.place(walkerType(), 1, 640, 640);
    const auto post = std::make_shared<UnitType>(*walkerType());
    post->canMove = false;
    for (const auto& [x, z] : {std::pair{-32, 0}, {32, 0}, {0, -32}, {0, 32}})
        crowds.field.place(post, 2, 640 + x, 640 + z);
    crowds.send({inside.id}, 640, 1'000);
    crowds.field.tick(60);
    EXPECT_EQ(inside.orders.size(), 1U);
    for (int i = 0; i < 30; ++i) {
        crowds.field.tick();
        EXPECT_EQ(inside.motion.speed, Fixed());
        EXPECT_FALSE(inside.values.toldMoving);
    }
}

TEST(Crowds, NobodyCreepsOrRollsOnForMinutes) {
    Crowds crowds;
    auto type = walkerType();
    type->movement.brakeRate = px(0.0001);
    Unit& unit = crowds.field.place(type, 1, 640, 300);
    crowds.send({unit.id}, 640, 500);
    EXPECT_LT(crowds.tickUntilOver(900), 900);
    crowds.field.tick(60);
    EXPECT_EQ(unit.motion.speed, Fixed());
    EXPECT_LT(std::abs(unit.place.z.toNumber() - 500), 3);
}

}  // namespace
}  // namespace orb::sim
