#include <gtest/gtest.h>

#include "sim/battlefield.h"
#include "sim/world.h"

namespace orb::sim {
namespace {

std::shared_ptr<UnitType> walkerType() {
    auto type = std::make_shared<UnitType>();
    type->name = "WALKER";
    type->footprintX = type->footprintZ = 2;
    type->canMove = true;
    type->maxHealth = 100;
    type->sightDistance = 200;
    type->movement.maxSpeed = px(1.5);
    type->movement.acceleration = type->movement.brakeRate = px(0.2);
    type->movement.turnRate = 800;
    type->weapons[0] = weaponType(Flight::straight, 200);
    return type;
}

/// The work of 60 ticks in which so many units of two players, all equally close, cross each other.
WorkCounts workOf(std::size_t count) {
    Battlefield field(flatMap(600, 600, 20, 0));
    const auto type = walkerType();
    std::vector<std::int64_t> ids;
    std::int32_t player = 1;
    for (const GroundPoint place : blockPlaces(*type, at(4'800, 4'800), count)) {
        const Unit& unit = field.place(type, player, place.x.toNumber(), place.z.toNumber());
        ids.push_back(unit.id);
        player = 3 - player;
    }
    OrderRequest order;
    order.place = at(8'000, 7'000);
    giveOrder(field.world, field.scratch, ids, order);
    field.tick(60);
    return field.scratch.counts;
}

TEST(Growth, WorkGrowsWithTheNumberOfUnitsAndNoFaster) {
    constexpr std::size_t kFew = 250, kMany = 4'000;
    constexpr std::uint64_t kTimes = kMany / kFew;
    const WorkCounts few = workOf(kFew), many = workOf(kMany);
    EXPECT_GT(few.pairs, 0U);
    // A block's border counts less the larger it is: some more than in proportion.
    EXPECT_LT(many.pairs, 2 * kTimes * few.pairs);
    EXPECT_LE(many.steps, kTimes * few.steps);
    // Those who go to one place look for one way.
    EXPECT_GT(few.nodeVisits, 0U);
    EXPECT_LT(many.nodeVisits, kTimes * few.nodeVisits);
}

}  // namespace
}  // namespace orb::sim
