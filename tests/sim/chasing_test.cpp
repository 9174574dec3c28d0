#include "sim/orders/chasing.h"

#include "sim/battlefield.h"

namespace orb::sim {
namespace {

/// Walks, sees 700 pixels and shoots 200, and leaves its place by 150 at most.
std::shared_ptr<UnitType> hunterType() {
    auto type = turretType(weaponType(Flight::straight, 200));
    type->isBuilding = false;
    type->canMove = true;
    type->movement = {
        .maxSpeed = px(2), .acceleration = px(1), .brakeRate = px(1), .turnRate = 3'000};
    type->sightDistance = 700;
    type->maxHealth = 5'000;
    type->leash = px(150);
    return type;
}

double distanceTo(const Unit& unit, double x, double z) {
    return lengthOf(unit.place.x - px(x), unit.place.z - px(z)).toNumber();
}

TEST(Chasing, HoldsItsPlaceOrLeavesItALittleOrFar) {
    const struct {
        std::uint8_t move;
        double enemyAt;
        bool goes;
        bool comesBack;
    } cases[] = {{StandingOrders::kHoldsPlace, 300, false, false},
                 {StandingOrders::kManoeuvres, 300, true, true},
                 {StandingOrders::kManoeuvres, 500, false, false},
                 {StandingOrders::kRoams, 500, true, false}};
    for (const auto& [move, enemyAt, goes, comesBack] : cases) {
        Battlefield field;
        Unit& hunter = field.place(hunterType(), 1, 400, 640);
        hunter.standing.move = move;
        const UnitRef enemy = field.place(dummyType(200), 2, 400 + enemyAt, 640).ref();
        field.tick(200);
        EXPECT_EQ(!field.all<Fired>().empty(), goes) << int{move} << ' ' << enemyAt;
        EXPECT_EQ(distanceTo(hunter, 400, 640) > 50, goes) << int{move} << ' ' << enemyAt;
        EXPECT_LE(distanceTo(hunter, 400, 640), move == StandingOrders::kRoams ? 400 : 150);
        field.tick(300);
        EXPECT_EQ(!field.world.state.units.find(enemy), goes);
        EXPECT_TRUE(hunter.orders.empty());
        EXPECT_EQ(distanceTo(hunter, 400, 640) < 5, !goes || comesBack) << int{move};
        // it went of its own will: nobody is told of an order's end
        EXPECT_TRUE(field.all<OrderDone>().empty());
    }
}

TEST(Chasing, LeavesHimWhoRunsTooFar) {
    Battlefield field;
    Unit& hunter = field.place(hunterType(), 1, 400, 640);
    hunter.standing.move = StandingOrders::kManoeuvres;
    Unit& enemy = field.place(dummyType(10'000), 2, 650, 640);
    field.tick(100);
    ASSERT_GT(hunter.place.x, px(420));
    moveUnitTo(field.world, enemy, at(1'000, 640));
    field.tick(200);
    EXPECT_LT(distanceTo(hunter, 400, 640), 5);
    // whoever is told something forgets his place
    moveUnitTo(field.world, enemy, at(650, 640));
    field.tick(60);
    OrderRequest order;
    order.kind = OrderKind::move;
    order.place = at(400, 300);
    order.isQueued = true;
    field.give(hunter, order);
    field.tick(300);
    EXPECT_LT(distanceTo(hunter, 400, 300), 5);
}

TEST(Chasing, PatrolsStopForEnemiesAndGoOn) {
    Battlefield field;
    Unit& hunter = field.place(hunterType(), 1, 300, 640);
    OrderRequest order;
    order.kind = OrderKind::patrol;
    order.place = at(900, 640);
    field.give(hunter, order);
    const Unit& enemy = field.place(dummyType(200), 2, 600, 340);
    const UnitRef enemyRef = enemy.ref();
    bool left = false;
    for (int i = 0; i < 400 && field.world.state.units.find(enemyRef); ++i) {
        field.tick();
        left = left || hunter.place.z < px(560);
    }
    EXPECT_TRUE(left);
    EXPECT_FALSE(field.world.state.units.find(enemyRef));
    field.tick(2);
    ASSERT_EQ(hunter.orders.size(), 2U);
    EXPECT_EQ(hunter.orders[0].source, OrderSource::given);
    field.tick(300);
    EXPECT_LT(distanceTo(hunter, hunter.place.x.toNumber(), 640), 3);
}

TEST(Chasing, SparesWhomItsDefinitionNamesAndReturnsFire) {
    Battlefield field;
    const auto type = hunterType();
    type->notChased = {"KITE"};
    Unit& hunter = field.place(type, 1, 400, 640);
    const auto kite = dummyType(10'000);
    kite->categories = {"KITE"};
    Unit& enemy = field.place(kite, 2, 700, 640);
    field.tick(120);
    EXPECT_EQ(hunter.place, at(400, 640));
    moveUnitTo(field.world, enemy, at(560, 640));
    field.tick(60);
    EXPECT_FALSE(field.all<Fired>().empty());

    type->notChased.clear();
    hunter.standing.fire = StandingOrders::kReturnsFire;
    moveUnitTo(field.world, enemy, at(700, 640));
    field.tick(60);
    EXPECT_EQ(hunter.place, at(400, 640));
    Damage damage;
    damage.victim = hunter.ref();
    damage.amount = Amount::fromInt(1);
    damage.by = enemy.ref();
    field.scratch.damage.push_back(damage);
    stepDamage(field.world, field.scratch);
    field.tick(60);
    EXPECT_GT(hunter.place.x, px(440));
}

TEST(Chasing, GuardsGoAfterWhoAttacksTheirWard) {
    for (const bool holds : {false, true}) {
        Battlefield field;
        const Unit& ward = field.place(dummyType(10'000), 1, 400, 640);
        Unit& hunter = field.place(hunterType(), 1, 340, 640);
        hunter.standing.move = holds ? StandingOrders::kHoldsPlace : StandingOrders::kRoams;
        OrderRequest order;
        order.kind = OrderKind::guard;
        order.target = ward.id;
        field.give(hunter, order);
        field.place(turretType(weaponType(Flight::straight, 600)), 2, 900, 640);
        field.tick(250);
        EXPECT_EQ(hunter.place.x > px(600), !holds);
    }
}

}  // namespace
}  // namespace orb::sim
