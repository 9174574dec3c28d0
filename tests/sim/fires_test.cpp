#include <gtest/gtest.h>

#include "sim/battlefield.h"

namespace orb::sim {
namespace {

/// Reed that burns for 60 to 90 ticks, becomes ash and lights what is near.
class Reeds : public Battlefield {
public:
    Reeds() {
        FeatureType reed{.name = "reed", .footprintX = 2, .footprintZ = 2, .isBlocking = true};
        reed.burning = {.isFlammable = true,
                        .least = 60,
                        .most = 90,
                        .sparkEvery = 10,
                        .spreadPercent = 100,
                        .follower = 1};
        FeatureType ash{.name = "ash"};
        world.frame.featureTypes = {reed, ash};
    }
    std::uint32_t reed(std::int32_t x, std::int32_t z) {
        return placeFeature(world, 0, {x, z})->id;
    }
    Burning& burning() { return world.frame.featureTypes[0].burning; }
    std::size_t count(std::uint32_t type) const {
        const auto all = world.state.features.all();
        return static_cast<std::size_t>(std::ranges::count(all, type, &Feature::type));
    }
};

TEST(Fires, SpreadAndLeaveAsh) {
    Reeds field;
    const std::uint32_t first = field.reed(10, 10);
    for (int i = 1; i < 6; ++i) field.reed(10 + 3 * i, 10);
    field.reed(40, 10);  // too far from the others
    setOnFire(field.world, first);
    setOnFire(field.world, first);
    EXPECT_EQ(field.world.state.fires.size(), 1U);
    field.tick(59);
    EXPECT_EQ(field.count(1), 0U);
    EXPECT_EQ(field.world.state.fires.size(), 6U);
    field.tick(200);
    EXPECT_EQ(field.count(1), 6U);
    EXPECT_EQ(field.count(0), 1U);
    EXPECT_TRUE(field.world.state.fires.empty());
    EXPECT_EQ(field.all<FeatureBurns>().size(), 6U);
}

TEST(Fires, HurtWhoStandsByAndGoOutWithWhatBurns) {
    Reeds field;
    auto weapon = weaponType(Flight::straight);
    weapon->reload = 15;
    weapon->damage = Amount::fromInt(4);
    weapon->damageRadius = px(40);
    weapon->edgeShare = px(1);
    weapon->isOnlyForUnits = true;
    field.burning().weapon = weapon;
    const std::uint32_t reed = field.reed(10, 10);
    const Unit& near = field.place(dummyType(), 1, 200, 176);
    const Unit& far = field.place(dummyType(), 1, 400, 176);
    setOnFire(field.world, reed);
    field.tick(50);
    EXPECT_EQ(near.health, Amount::fromInt(100 - 4 * 4));
    EXPECT_EQ(far.health, Amount::fromInt(100));
    replaceFeature(field.world, reed, -1);
    field.tick(1);
    EXPECT_TRUE(field.world.state.fires.empty());
}

TEST(Fires, BeginWithHitsOfWeaponsThatStartThem) {
    for (const std::int32_t percent : {0, 100}) {
        Reeds field;
        field.reed(20, 10);
        auto bomb = weaponType(Flight::straight);
        bomb->damageRadius = px(100);
        bomb->firePercent = percent;
        auto type = dummyType();
        type->explodeAs = bomb;
        Unit& unit = field.place(type, 1, 300, 176);
        killUnit(field.world, field.scratch, unit, 50, DeathKind::killed);
        stepDamage(field.world, field.scratch);
        EXPECT_EQ(field.world.state.fires.size(), percent == 0 ? 0U : 1U);
    }
}

TEST(Fires, OfWholeWoodsThatComeBackStayWithinBounds) {
    Reeds field;
    // each becomes itself, burns for a tick and lights all around
    field.burning() = {.isFlammable = true,
                       .least = 1,
                       .most = 1,
                       .sparkEvery = 1,
                       .spreadPercent = 100,
                       .follower = 0};
    for (int z = 0; z < 40; ++z)
        for (int x = 0; x < 40; ++x) field.reed(2 * x, 2 * z);
    setOnFire(field.world, 1);
    field.tick(200);
    EXPECT_EQ(field.count(0), 1'600U);
    EXPECT_LE(field.world.state.fires.size(), kMaxFires);
    EXPECT_GT(field.world.state.fires.size(), 0U);
}

}  // namespace
}  // namespace orb::sim
