#include <gtest/gtest.h>

#include "sim/work/work.h"
#include "sim/workshop.h"

namespace orb::sim {
namespace {

TEST(Economy, SumsAreExactOverTenThousandTicks) {
    Battlefield field;
    setStocks(field, 500, 500);
    // neither is a whole number of steps a tick
    field.place(
        plant({.metalMake = Amount::fromNumber(1.1), .energyMake = Amount::fromNumber(7.3)}), 1,
        100, 100);
    field.place(plant({.energyUse = whole(-20), .energyStorage = whole(50)}), 1, 200, 100);
    const Amount metal = metalOf(field).amount, energy = energyOf(field).amount;
    field.tick(10'000);
    const auto gained = [](double perSecond) {
        return Amount::fromRaw(Amount::fromNumber(perSecond).raw() * 10'000 / 30);
    };
    EXPECT_EQ(metalOf(field).amount, metal + gained(1.1));
    EXPECT_EQ(energyOf(field).amount, energy + gained(27.3));
    EXPECT_EQ(energyOf(field).produced, gained(27.3));
}

TEST(Economy, AStallGivesEverybodyTheSameShare) {
    Battlefield field;
    setStocks(field, 0, 0);
    field.place(plant({.energyMake = whole(30)}), 1, 100, 100);
    const UnitEconomy maker{.energyUse = whole(60), .makesMetal = whole(12)};
    const Unit& first = field.place(plant(maker), 1, 200, 100);
    field.place(plant(maker), 1, 300, 100);
    field.tick();
    EXPECT_EQ(energyOf(field).share, Fixed::fromRatio(1, 4, Rounding::down));
    EXPECT_EQ(energyOf(field).drain, whole(120));
    EXPECT_EQ(energyOf(field).amount, Amount());
    EXPECT_EQ(metalOf(field).income, whole(6));
    EXPECT_EQ(field.all<Stalled>().size(), 2U);
    field.tick(30);
    EXPECT_EQ(field.all<Stalled>().size(), 2U);  // told once

    OrderRequest off;
    off.kind = OrderKind::deactivate;
    field.give(first, off);
    field.tick();
    EXPECT_EQ(energyOf(field).drain, whole(60));
}

TEST(Economy, ExtractorsGetWhatLiesUnderThem) {
    Battlefield field;
    FeatureType ore{.name = "ore", .footprintX = 3, .footprintZ = 3, .isDeposit = true};
    ore.metal = 255;
    field.world.frame.featureTypes.push_back(ore);
    placeFeature(field.world, 0, {10, 10});
    auto type = plant({.extraction = 1'000});
    type->footprintX = type->footprintZ = 3;
    type->yard = yardOf("ooooooooo", 3, 3);
    setStocks(field, 0, 0);
    const Unit& mine = field.place(type, 1, 11.5 * 16, 11.5 * 16);
    EXPECT_EQ(mine.labour.groundMetal, 9 * 255);
    field.tick(300);
    EXPECT_EQ(metalOf(field).income, Amount::fromNumber(2.295));
    EXPECT_NEAR(metalOf(field).amount.toNumber(), 22.95, 1e-4);
    field.place(type, 1, 500, 500);  // plain ground
    field.tick();
    EXPECT_NEAR(metalOf(field).income.toNumber(), 2.295 + 0.027, 1e-4);
}

TEST(Economy, WhatThereIsNoRoomForIsLost) {
    Battlefield field;
    field.place(plant({.metalMake = whole(3'000), .metalStorage = whole(150)}), 1, 100, 100);
    field.tick(2);
    EXPECT_EQ(metalOf(field).amount, whole(150));
    EXPECT_EQ(metalOf(field).produced, whole(200));
    EXPECT_EQ(metalOf(field).wasted, whole(50));
}

TEST(Construction, TakesTheWorkOfItsBuildersAndTheirMoney) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    field.give(builder, buildOrder(product(2'495, 145, 760), 400, 448));
    field.tick();
    Unit* const frame = unitNamed(field, "DUMMY");
    ASSERT_NE(frame, nullptr);
    field.tick(249);
    EXPECT_FALSE(frame->isBuilt());
    EXPECT_TRUE(field.all<Built>().empty());
    field.tick();
    EXPECT_TRUE(frame->isBuilt());
    EXPECT_EQ(frame->health, whole(1'000));
    EXPECT_EQ(metalOf(field).amount, whole(1'000 - 145));
    EXPECT_EQ(energyOf(field).spent, whole(760));
    field.tick();
    EXPECT_EQ(field.all<OrderDone>().size(), 1U);

    // two are twice as fast
    setStocks(field, 1'000, 1'000);
    const Unit& second = field.place(crane(10), 1, 440, 400);
    field.give(builder, buildOrder(product(2'495, 145, 760), 400, 350));
    field.tick();
    OrderRequest help;
    help.kind = OrderKind::repair;
    for (const Unit& unit : field.world.state.units)
        if (!unit.isBuilt()) help.target = unit.id;
    field.give(second, help);
    field.forget();
    field.tick(125);
    EXPECT_EQ(field.all<Built>().size(), 1U);
}

TEST(Construction, StallsAndRecoversWithoutLosingAnything) {
    Battlefield field;
    setStocks(field, 50, 10'000);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    field.give(builder, buildOrder(product(1'000, 100, 50), 400, 448));
    field.tick(300);
    EXPECT_LT(metalOf(field).amount, whole(1));
    EXPECT_EQ(field.all<Stalled>().size(), 1U);
    EXPECT_TRUE(field.all<Built>().empty());
    metalOf(field).amount += whole(1'000);
    field.tick(60);
    EXPECT_EQ(field.all<Built>().size(), 1U);
    EXPECT_EQ(metalOf(field).spent, whole(100));
    EXPECT_EQ(energyOf(field).spent, whole(50));
}

TEST(Construction, ExtremesOfCostNeitherOverflowNorStopTheWorld) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    auto dear = product(1, 1'000'000'000'000, 1'000'000'000'000);
    dear->name = "DEAR";
    OrderRequest order = buildOrder(dear, 400, 448);
    order.isUnrestricted = true;
    for (int i = 0; i < 20; ++i)
        field.give(field.place(crane(kMaxWorkPerTick), 1, 300 + 10 * i, 400), order);
    field.give(field.place(crane(1), 2, 600, 600), buildOrder(product(1, 0, 0), 640, 640));
    field.tick(60);
    EXPECT_FALSE(unitNamed(field, "DEAR")->isBuilt());
    EXPECT_TRUE(unitNamed(field, "DUMMY")->isBuilt());
    EXPECT_GE(metalOf(field).amount, Amount());
}

TEST(Construction, TellsWhyItIsNotBegun) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    const std::int64_t id = builder.id;
    auto other = product(10, 1, 1);
    other->name = "OTHER";
    OrderRequest order = buildOrder(other, 448, 400);
    EXPECT_EQ(giveOrder(field.world, field.scratch, {&id, 1}, order).front(),
              OrderRefusal::cannotWork);
    other->limits.minWaterDepth = 10;
    order.isUnrestricted = true;
    field.give(builder, order);
    field.tick(2);
    ASSERT_EQ(field.all<OrderFailed>().size(), 1U);
    EXPECT_EQ(field.all<OrderFailed>().front().fault, SiteFault::tooShallow);
    field.place(dummyType(), 1, 448, 400);
    field.forget();
    field.give(builder, buildOrder(product(10, 1, 1), 448, 400));
    field.tick(2);
    ASSERT_EQ(field.all<OrderFailed>().size(), 1U);
    EXPECT_EQ(field.all<OrderFailed>().front().fault, SiteFault::occupied);
}

TEST(Construction, WhatIsLeftAloneDecaysButNotWhatWasPutThere) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    field.give(builder, buildOrder(product(2'000, 10, 10), 400, 448));
    auto shown = product(2'000, 10, 10);
    shown->name = "SHOWN";
    placeUnit(field.world, {.type = shown, .place = at(600, 600), .buildFraction = px(0.3)});
    field.tick(100);
    OrderRequest stop;
    stop.kind = OrderKind::stop;
    field.give(builder, stop);
    field.tick(rules::kDecayAfter + rules::kDecayTicks);
    EXPECT_EQ(unitNamed(field, "DUMMY"), nullptr);
    EXPECT_EQ(unitNamed(field, "SHOWN")->buildFraction, px(0.3));
}

TEST(Construction, FactoriesOpenBuildRollOutAndShut) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    auto works = turretType(nullptr, R"(
piece base, turret, barrel, flare;
static-var began, ended, shut;
Create() { began = 0; ended = 0; shut = 0; return (0); }
Activate() { set YARD_OPEN to 1; sleep 200; set INBUILDSTANCE to 1; return (0); }
Deactivate() { set INBUILDSTANCE to 0; shut = shut + 1; while (get YARD_OPEN) { set YARD_OPEN to 0; sleep 300; } return (0); }
StartBuilding() { began = began + 1; return (0); }
StopBuilding() { ended = ended + 1; return (0); }
QueryBuildInfo(piecenum) { piecenum = base; return (0); }
)");
    works->name = "WORKS";
    works->footprintX = works->footprintZ = 6;
    works->yard = yardOf("occcco occcco occcco occcco occcco occcco", 6, 6);
    works->economy.workPerTick = 10;
    works->sendsProducts = true;
    works->buildOptions = {"CART"};
    works->isActiveWhenBuilt = false;
    auto cart = std::make_shared<UnitType>();
    cart->name = "CART";
    cart->footprintX = cart->footprintZ = 2;
    cart->canMove = true;
    cart->movement = {px(2), px(1), px(1), 2'000, true};
    cart->maxHealth = 50;
    cart->economy.buildTime = 300;
    const Unit& factory = placeUnit(
        field.world, {.type = works, .place = at(640, 640), .isActive = false, .isForced = true});
    OrderRequest order;
    order.kind = OrderKind::build;
    order.product = cart;
    order.count = 3;
    field.give(factory, order);
    OrderRequest rally;
    rally.kind = OrderKind::move;
    rally.place = at(640, 900);
    field.give(factory, rally);
    field.tick(20);
    EXPECT_TRUE(factory.values.isYardOpen);
    ASSERT_NE(unitNamed(field, "CART"), nullptr);
    EXPECT_EQ(unitNamed(field, "CART")->place, at(640, 640));
    field.tick(900);
    EXPECT_EQ(field.all<Built>().size(), 3U);
    EXPECT_FALSE(factory.values.isYardOpen);
    EXPECT_FALSE(factory.isActive);
    const auto& statics = field.world.state.scripts.of(factory)->statics;
    EXPECT_EQ((std::vector<std::int32_t>(statics.begin(), statics.end())),
              (std::vector<std::int32_t>{3, 3, 1}));
    for (const Unit& unit : field.world.state.units) {
        if (unit.type == cart) {
            EXPECT_GT(unit.place.z, px(800));
        }
    }
}

TEST(Work, ReclaimingGivesAllOfItsWorthAndRepairCostsEnergy) {
    Battlefield field;
    setStocks(field, 0, 1'000);
    FeatureType heap{.name = "heap", .isBlocking = true, .isReclaimable = true};
    heap.metal = 33;
    heap.energy = 7;
    field.world.frame.featureTypes.push_back(heap);
    const std::uint32_t id = placeFeature(field.world, 0, {26, 25})->id;
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    OrderRequest order;
    order.kind = OrderKind::reclaim;
    order.feature = id;
    field.give(builder, order);
    field.tick(60);
    EXPECT_EQ(field.all<FeatureGone>().size(), 1U);
    EXPECT_EQ(metalOf(field).amount, whole(33));
    EXPECT_EQ(energyOf(field).amount, whole(1'007));

    Unit& hurt = field.place(product(1'000, 100, 400), 1, 400, 450);
    hurt.health = whole(500);
    OrderRequest mend;
    mend.kind = OrderKind::repair;
    mend.target = hurt.id;
    field.give(builder, mend);
    field.tick(55);
    EXPECT_EQ(hurt.health, whole(1'000));
    EXPECT_EQ(energyOf(field).amount, whole(1'007 - 50));
    EXPECT_EQ(metalOf(field).amount, whole(33));

    order = {};
    order.kind = OrderKind::reclaim;
    order.target = hurt.id;
    field.give(builder, order);
    field.tick(105);
    EXPECT_EQ(unitNamed(field, "DUMMY"), nullptr);
    EXPECT_EQ(metalOf(field).amount, whole(133));
}

TEST(Work, CaptureAndSelfDestruction) {
    Battlefield field;
    setStocks(field, 0, 1'000);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    Unit& enemy = field.place(product(1'000, 100, 400), 2, 400, 450);
    OrderRequest order;
    order.kind = OrderKind::capture;
    order.target = enemy.id;
    field.give(builder, order);
    field.tick(105);
    EXPECT_EQ(enemy.player, 1);
    EXPECT_EQ(energyOf(field).amount, whole(600));
    order = {};
    order.kind = OrderKind::selfDestruct;
    field.give(enemy, order);
    field.give(enemy, order);  // called off
    field.tick(5);
    EXPECT_NE(unitNamed(field, "DUMMY"), nullptr);
    field.give(enemy, order);
    field.tick(5);
    EXPECT_EQ(unitNamed(field, "DUMMY"), nullptr);
}

}  // namespace
}  // namespace orb::sim
