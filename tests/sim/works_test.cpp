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
