#include <gtest/gtest.h>

#include "sim/work/work.h"
#include "sim/workshop.h"

namespace orb::sim {
namespace {

/// A builder that walks.
std::shared_ptr<UnitType> wright(std::int32_t workPerTick) {
    auto type = crane(workPerTick);
    type->name = "WRIGHT";
    type->canMove = true;
    type->movement = {px(2), px(1), px(1), 2'000, true};
    return type;
}

OrderRequest stopping() {
    OrderRequest order;
    order.kind = OrderKind::stop;
    return order;
}

/// What was there, came and went makes up what there is.
void expectToAddUp(const Stock& stock, Amount start) {
    EXPECT_EQ(stock.amount, start + stock.produced - stock.spent - stock.wasted);
    EXPECT_GE(stock.amount, Amount());
    EXPECT_LE(stock.amount, stock.storage);
}

TEST(Works, FiguresThatPlayersKnow) {
    Battlefield field;
    setStocks(field, 500, 0);
    field.world.frame.conditions.tidalStrength = 13;
    field.world.state.wind.speed = 2'500;
    const auto gives = [&](const UnitEconomy& economy) {
        Unit& unit = field.place(plant(economy), 1, 100, 100);
        field.tick();
        const double energy = energyOf(field).income.toNumber();
        const double metal = metalOf(field).income.toNumber();
        removeUnit(field.world, unit);
        return std::pair(metal, energy);
    };
    using Given = std::pair<double, double>;
    EXPECT_EQ(gives({.isTidal = true}), Given(0, 13));
    EXPECT_EQ(gives({.windPower = whole(30)}), Given(0, 15));
    EXPECT_EQ(gives({.energyUse = whole(-20)}), Given(0, 20));
    EXPECT_EQ(gives({.metalMake = whole(1), .energyMake = whole(22)}), Given(1, 22));
    energyOf(field).amount = whole(1'000);
    EXPECT_EQ(gives({.energyUse = whole(625), .makesMetal = whole(12)}), Given(12, 0));
    EXPECT_EQ(energyOf(field).drain, whole(625));
    field.world.state.wind.speed = 20'000;
    EXPECT_EQ(gives({.windPower = whole(30)}), Given(0, 30));
}

TEST(Works, SumsHoldWhateverHappens) {
    Battlefield field;
    setStocks(field, 300, 5);
    metalOf(field).ownStorage = energyOf(field).ownStorage = whole(400);
    field.place(
        plant({.metalMake = Amount::fromNumber(1.37), .energyMake = Amount::fromNumber(13.1)}), 1,
        100, 100);
    field.place(plant({.energyUse = whole(10),
                       .makesMetal = Amount::fromNumber(0.3),
                       .metalStorage = whole(50)}),
                1, 200, 100);
    const Unit& builder = field.place(crane(7), 1, 400, 400);
    const auto wares = product(97, 31, 23);
    Unit* enemy = nullptr;
    const auto step = [&](int round) {
        Unit* const made = unitNamed(field, "WARES");
        if (round % 5 == 0) field.give(builder, buildOrder(wares, 400, 448));
        if (round % 5 == 1) {
            auto foe = product(60, 11, 13);
            foe->name = "FOE";
            enemy = &field.place(foe, 2, 450, 400);
            field.give(builder, orderAt(OrderKind::capture, *enemy));
        }
        if (round % 5 == 2 && made) field.give(builder, orderAt(OrderKind::reclaim, *made));
        if (round % 5 == 3 && enemy) {
            enemy->health = whole(100);
            field.give(builder, orderAt(OrderKind::repair, *enemy));
        }
        if (round % 5 == 4) {
            OrderRequest end;
            end.kind = OrderKind::selfDestruct;
            field.give(*enemy, end);
        }
    };
    wares->name = "WARES";
    const_cast<UnitType&>(*builder.type).buildOptions = {"WARES"};
    for (int round = 0; round < 100; ++round) {
        step(round);
        field.tick(100);
        expectToAddUp(metalOf(field), whole(300));
        expectToAddUp(energyOf(field), whole(5));
    }
    EXPECT_GE(field.all<Built>().size(), 15U);
    EXPECT_GE(field.all<Killed>().size(), 30U);
    EXPECT_GT(field.all<Stalled>().size(), 0U);
    EXPECT_GT(metalOf(field).wasted, Amount());
    EXPECT_EQ(energyOf(field).produced,
              Amount::fromRaw(Amount::fromNumber(13.1).raw() * 10'000 / 30));
}

TEST(Works, GuardsHelpThoseWhoWorkAndThoseWhoGuardThem) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    const Unit& first = field.place(wright(10), 1, 400, 400);
    const Unit& second = field.place(wright(10), 1, 440, 400);
    const Unit& third = field.place(wright(10), 1, 360, 400);
    field.give(second, orderAt(OrderKind::guard, first));
    field.give(third, orderAt(OrderKind::guard, second));
    field.give(first, buildOrder(product(3'000, 90, 90), 400, 448));
    field.tick(103);
    EXPECT_EQ(field.all<Built>().size(), 1U);
    EXPECT_EQ(metalOf(field).spent, whole(90));
    // in a circle
    field.give(first, orderAt(OrderKind::guard, third));
    field.tick(30);
    EXPECT_EQ(metalOf(field).spent, whole(90));
}

TEST(Works, SitesLieSideBySideAndFramesAreGoneOnWith) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    const auto wares = product(500, 20, 20);
    const auto queued = [&](double x) {
        OrderRequest order = buildOrder(wares, x, 448);
        order.isQueued = true;
        field.give(builder, order);
    };
    for (const double x : {400.0, 432.0, 416.0}) queued(x);
    field.tick(110);
    EXPECT_EQ(field.all<Built>().size(), 2U);
    ASSERT_EQ(field.all<OrderFailed>().size(), 1U);
    EXPECT_EQ(field.all<OrderFailed>().front().fault, SiteFault::occupied);

    field.give(builder, buildOrder(wares, 400, 350));
    field.tick(20);
    field.give(builder, stopping());
    field.tick(20);
    Unit* frame = nullptr;
    for (Unit& unit : field.world.state.units)
        if (!unit.isBuilt()) frame = &unit;
    ASSERT_NE(frame, nullptr);
    // by the same order, and by mending
    field.give(builder, buildOrder(wares, 400, 350));
    field.tick(20);
    const std::int64_t done = frame->growth.done;
    EXPECT_GT(done, 35 * 10 * kWorkSteps);
    field.give(builder, orderAt(OrderKind::repair, *frame));
    field.tick(20);
    EXPECT_TRUE(frame->isBuilt());
    EXPECT_EQ(metalOf(field).spent, whole(60));
}

TEST(Works, WhoIsTakenApartActsToTheEndAndLeavesNothing) {
    Battlefield field;
    setStocks(field, 0, 0);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    auto type = product(1'000, 80, 10);
    type->economy.metalMake = whole(3);
    type->corpse = 0;
    field.world.frame.featureTypes.push_back({.name = "wreck"});
    Unit& target = field.place(type, 1, 400, 448);
    target.health = whole(500);
    field.give(builder, orderAt(OrderKind::reclaim, target));
    field.tick(40);
    EXPECT_TRUE(target.isBuilt());
    EXPECT_EQ(metalOf(field).income, whole(3));
    field.tick(15);
    EXPECT_EQ(unitNamed(field, "DUMMY"), nullptr);
    EXPECT_TRUE(field.world.state.features.all().empty());
    // half of its hit points, half of its metal
    EXPECT_NEAR(metalOf(field).amount.toNumber(), 40 + 5.1, 1.5);
}

TEST(Works, PlayersUndoWhatOthersHaveDoneToCapture) {
    Battlefield field;
    setStocks(field, 0, 1'000);
    field.world.state.players[1].energy = energyOf(field);
    const Unit& first = field.place(crane(10), 1, 400, 400);
    const Unit& second = field.place(crane(10), 2, 400, 496);
    const Unit& target = field.place(product(1'000, 0, 100), 3, 400, 448);
    field.give(first, orderAt(OrderKind::capture, target));
    field.tick(90);
    field.give(first, stopping());
    field.give(second, orderAt(OrderKind::capture, target));
    field.tick(185);
    EXPECT_EQ(target.player, 3);
    field.tick(10);
    EXPECT_EQ(target.player, 2);
    // each pays for his own work
    EXPECT_EQ(energyOf(field).spent, whole(90));
    EXPECT_EQ(field.world.state.players[1].energy.spent, whole(190));
}

TEST(Works, WhatWasTakenApartCostsItsMetalAgain) {
    Battlefield field;
    setStocks(field, 0, 1'000);
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    Unit& target = field.place(product(1'000, 80, 100), 1, 400, 448);
    const auto work = [&](OrderKind kind, int ticks) {
        field.give(builder, orderAt(kind, target));
        field.tick(ticks);
    };
    work(OrderKind::reclaim, 50);
    EXPECT_EQ(metalOf(field).amount, whole(40));
    work(OrderKind::repair, 60);
    EXPECT_EQ(target.health, whole(1'000));
    EXPECT_EQ(metalOf(field).amount, Amount());
    EXPECT_NEAR(energyOf(field).spent.toNumber(), 12.5, 0.1);
    // whole again, and not only to look at
    work(OrderKind::reclaim, 60);
    EXPECT_EQ(metalOf(field).amount, whole(48));
    EXPECT_NEAR(target.health.toNumber(), 400, 1);
    // what was shot off costs energy alone, and no more than is missing
    target.growth.reclaimed = 0;
    target.health = whole(999);
    work(OrderKind::repair, 5);
    EXPECT_EQ(metalOf(field).amount, whole(48));
    EXPECT_NEAR(energyOf(field).spent.toNumber(), 12.5 + 0.025, 0.1);
}

TEST(Works, GuardsTakeApartAndCaptureToo) {
    Battlefield field;
    setStocks(field, 0, 1'000);
    field.world.frame.featureTypes.push_back(
        {.name = "rock", .isBlocking = true, .isReclaimable = true, .metal = 100});
    const Unit& first = field.place(wright(10), 1, 400, 400);
    const Unit& second = field.place(wright(10), 1, 440, 400);
    field.give(second, orderAt(OrderKind::guard, first));
    const Unit& foe = field.place(product(1'000, 0, 0), 2, 400, 448);
    field.give(first, orderAt(OrderKind::capture, foe));
    field.tick(54);
    EXPECT_EQ(foe.player, 1);
    OrderRequest rock;
    rock.kind = OrderKind::reclaim;
    rock.feature = placeFeature(field.world, 0, {26, 23})->id;
    field.give(first, rock);
    field.tick(54);
    EXPECT_EQ(metalOf(field).amount, whole(100));
    // nobody helps an enemy, nor mends him
    const Unit& other = field.place(product(1'000, 0, 0), 2, 500, 448);
    const std::int64_t id = first.id;
    const auto answer = [&](OrderKind kind, const Unit& target) {
        return giveOrder(field.world, field.scratch, {&id, 1}, orderAt(kind, target))[0].hindrance;
    };
    EXPECT_EQ(answer(OrderKind::repair, other), OrderHindrance::ofOtherPlayer);
    EXPECT_EQ(answer(OrderKind::capture, foe), OrderHindrance::ofSamePlayer);
}

TEST(Works, BuildersOnPatrolWorkBesideTheirWay) {
    Battlefield field;
    setStocks(field, 0, 1'000);
    field.world.frame.featureTypes.push_back(
        {.name = "rock", .isBlocking = true, .isReclaimable = true, .metal = 20});
    field.world.frame.featureTypes.push_back({.name = "statue",
                                              .isBlocking = true,
                                              .isReclaimable = true,
                                              .isForPatrols = false,
                                              .metal = 20});
    placeFeature(field.world, 0, {30, 23});
    placeFeature(field.world, 1, {34, 23});
    Unit& hurt = field.place(product(100, 0, 0), 1, 700, 450);
    hurt.health = whole(500);
    const Unit& builder = field.place(wright(10), 1, 400, 400);
    OrderRequest patrol;
    patrol.kind = OrderKind::patrol;
    patrol.place = at(800, 400);
    field.give(builder, patrol);
    field.tick(400);
    EXPECT_EQ(metalOf(field).amount, whole(20));
    EXPECT_EQ(field.world.state.features.all().size(), 1U);
    EXPECT_EQ(hurt.health, whole(1'000));
    EXPECT_EQ(builder.orders.size(), 2U);
    // nothing is told of it
    for (const OrderDone& done : field.all<OrderDone>()) EXPECT_EQ(done.order, OrderKind::patrol);
}

TEST(Works, FactoriesHandOrdersOn) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    auto works = dummyType();
    works->economy.workPerTick = 100;
    works->sendsProducts = true;
    auto cart = wright(1);
    cart->name = "CART";
    works->buildOptions = {"CART"};
    const Unit& factory = field.place(works, 1, 400, 400);
    OrderRequest patrol;
    patrol.kind = OrderKind::patrol;
    patrol.place = at(700, 500);
    field.give(factory, patrol);
    patrol.place = at(700, 700);
    patrol.isQueued = true;
    field.give(factory, patrol);
    EXPECT_TRUE(factory.orders.empty());
    OrderRequest hold;
    hold.kind = OrderKind::fireState;
    hold.value = 0;
    field.give(factory, hold);
    field.give(factory, buildOrder(cart, 0, 0));
    field.tick(5);
    const Unit* made = unitNamed(field, "CART");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->standing.fire, 0);
    ASSERT_EQ(made->orders.size(), 3U);
    EXPECT_EQ(made->orders[0].place, at(700, 500));
    EXPECT_GT(made->orders[1].place.z, px(420));
    EXPECT_EQ(made->orders[2].place, at(700, 700));
}

TEST(Works, FramesThatArePlacedElsewhereLeaveTheirYard) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    auto works = dummyType();
    works->economy.workPerTick = 1;
    auto cart = wright(1);
    cart->name = "CART";
    cart->economy.buildTime = 1'000;
    works->buildOptions = {"CART"};
    const Unit& factory = field.place(works, 1, 400, 400);
    field.give(factory, buildOrder(cart, 0, 0));
    field.tick(5);
    Unit* const frame = unitNamed(field, "CART");
    ASSERT_NE(frame, nullptr);
    OrderRequest place;
    place.kind = OrderKind::place;
    place.place = at(700, 700);
    field.give(*frame, place);
    field.tick(5);
    EXPECT_EQ(frame->place, at(700, 700));
    EXPECT_EQ(field.world.state.units.count(), 3U);
}

TEST(Works, HealthGrowsWithFrames) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    const auto health = [&](double fraction, float percent) {
        const Unit& unit = placeUnit(field.world, {.type = product(1'000, 0, 0),
                                                   .place = at(200, 200),
                                                   .healthPercent = percent,
                                                   .buildFraction = px(fraction),
                                                   .isForced = true});
        return unit.health.toNumber();
    };
    EXPECT_EQ(health(0, 100), 1);
    EXPECT_EQ(health(0.5, 100), 500);
    EXPECT_EQ(health(0.5, 50), 250);
    EXPECT_EQ(health(1, 50), 500);
}

TEST(Works, SomeBecomeFeaturesWhenTheyAreBuilt) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    field.world.frame.featureTypes.push_back({.name = "teeth", .isBlocking = true});
    auto teeth = product(100, 10, 10);
    teeth->becomesFeature = true;
    teeth->corpse = 0;
    const Unit& builder = field.place(crane(10), 1, 400, 400);
    field.give(builder, buildOrder(teeth, 400, 448));
    field.tick(20);
    EXPECT_EQ(field.world.state.units.count(), 1U);
    ASSERT_EQ(field.world.state.features.all().size(), 1U);
    ASSERT_EQ(field.all<OrderDone>().size(), 1U);
    EXPECT_EQ(metalOf(field).spent, whole(10));
}

TEST(Works, FactoriesGiveUpWhatTheyAreNotToBuildAnyMore) {
    Battlefield field;
    setStocks(field, 1'000, 1'000);
    auto works = dummyType();
    works->name = "WORKS";
    works->footprintX = works->footprintZ = 4;
    works->yard = yardOf("oooo occo occo oooo", 4, 4);
    works->economy.workPerTick = 10;
    works->buildOptions = {"CART", "BIG", "WORKS"};
    auto cart = std::make_shared<UnitType>();
    cart->name = "CART";
    cart->economy.buildTime = 1'000;
    auto big = std::make_shared<UnitType>(*cart);
    big->name = "BIG";
    big->footprintX = big->footprintZ = kMaxFootprint;
    big->canMove = true;
    big->movement = {px(2), px(1), px(1), 2'000, true};
    // at the very edge, larger than its yard
    const Unit& factory = field.place(works, 1, 30, 30);
    field.give(factory, buildOrder(cart, 0, 0));
    field.tick(20);
    ASSERT_NE(unitNamed(field, "CART"), nullptr);
    field.give(factory, buildOrder(big, 0, 0));
    field.tick(20);
    EXPECT_EQ(unitNamed(field, "CART"), nullptr);
    ASSERT_NE(unitNamed(field, "BIG"), nullptr);
    field.tick(700);
    EXPECT_EQ(field.all<Built>().size(), 1U);
    // itself in its own yard
    const std::int64_t id = factory.id;
    OrderRequest itself = buildOrder(works, 0, 0);
    itself.isUnrestricted = true;
    EXPECT_EQ(giveOrder(field.world, field.scratch, {&id, 1}, itself).front(),
              OrderRefusal::cannotWork);
    // and more than any queue holds
    OrderRequest more = buildOrder(cart, 0, 0);
    more.isQueued = true;
    more.count = 1'000'000;
    for (int i = 0; i < 10'000; ++i) field.give(factory, more);
    EXPECT_EQ(factory.orders.size(), kMaxOrders);
    EXPECT_EQ(factory.orders.back().count, 1'000);
}

TEST(Works, AllLettersOfYardsAreLivedWith) {
    Battlefield field;
    setStocks(field, 1'000'000, 1'000'000);
    auto cart = std::make_shared<UnitType>();
    cart->name = "CART";
    double x = 60;
    for (const std::string letters : {"yyyy", "OOOO", "cCcC", "fGgw", "?\x01\xff ", "YYYY"}) {
        auto works = dummyType();
        works->yard = yardOf(letters, 2, 2);
        works->economy.workPerTick = 10;
        works->buildOptions = {"CART"};
        const Unit& factory = field.place(works, 1, x, 200);
        OrderRequest order = buildOrder(cart, 0, 0);
        order.count = 3;
        field.give(factory, order);
        x += 100;
    }
    field.tick(100);
    EXPECT_GE(field.all<Built>().size(), 6U);
}

}  // namespace
}  // namespace orb::sim
