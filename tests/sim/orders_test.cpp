#include "sim/orders/orders.h"

#include "sim/battlefield.h"

namespace orb::sim {
namespace {

std::shared_ptr<UnitType> runnerType() {
    auto type = std::make_shared<UnitType>();
    type->name = "RUNNER";
    type->canMove = true;
    type->maxHealth = 100;
    type->movement = {.maxSpeed = px(8),
                      .acceleration = px(8),
                      .brakeRate = px(8),
                      .turnRate = 32'768,
                      .isUpright = true};
    return type;
}

OrderRequest order(OrderKind kind) {
    OrderRequest request;
    request.kind = kind;
    return request;
}
OrderRequest order(OrderKind kind, double x, double z, bool isQueued = false) {
    OrderRequest request = order(kind);
    request.place = at(x, z);
    request.isQueued = isQueued;
    return request;
}
OrderRequest order(OrderKind kind, const Unit& target) {
    OrderRequest request = order(kind);
    request.target = target.id;
    return request;
}

using Answers = std::vector<OrderAnswer>;
Answers answers(Battlefield& field, std::vector<std::int64_t> ids, const OrderRequest& request) {
    return giveOrder(field.world, field.scratch, ids, request);
}

TEST(Orders, AreRefusedForAReason) {
    using enum OrderRefusal;
    Battlefield field;
    Unit& runner = field.place(runnerType(), 1, 300, 300);
    Unit& post = field.place(dummyType(), 1, 400, 300);
    Unit& turret = field.place(turretType(weaponType(Flight::straight)), 1, 500, 300);
    Unit& frame = field.place(runnerType(), 1, 600, 300);
    frame.buildFraction = px(0.5);
    Unit& dead = field.place(runnerType(), 1, 700, 300);
    const std::int64_t deadId = dead.id;
    field.give(dead, order(OrderKind::remove));
    const std::vector<std::int64_t> all = {runner.id, post.id, turret.id, frame.id, deadId, -1};

    EXPECT_EQ(answers(field, all, order(OrderKind::move, 500, 500)),
              (Answers{none, cannotMove, cannotMove, notBuilt, noSuchUnit, noSuchUnit}));
    EXPECT_EQ(answers(field, all, order(OrderKind::attack, post)),
              (Answers{noWeapon, noSuchTarget, none, noWeapon, noSuchUnit, noSuchUnit}));
    OrderRequest third = order(OrderKind::attack, post);
    third.slot = 2;
    EXPECT_EQ(answers(field, {turret.id}, third), Answers{noWeapon});
    third.target = deadId;
    EXPECT_EQ(answers(field, {turret.id}, third), Answers{noSuchTarget});
    EXPECT_EQ(answers(field, {runner.id}, order(OrderKind::guard, post)), Answers{none});
    EXPECT_EQ(answers(field, {}, order(OrderKind::stop)), Answers{});
    for (std::size_t i = 1; i < kMaxOrders; ++i)
        EXPECT_EQ(answers(field, {runner.id}, order(OrderKind::move, 400, 400, true)),
                  Answers{none});
    EXPECT_EQ(answers(field, {runner.id}, order(OrderKind::move, 400, 400, true)),
              Answers{queueFull});
    EXPECT_EQ(answers(field, {runner.id}, order(OrderKind::move, 400, 400)), Answers{none});
    EXPECT_EQ(runner.orders.size(), 1U);
    // a patrol is two: there and back
    for (std::size_t i = 1; i + 1 < kMaxOrders; ++i)
        EXPECT_EQ(answers(field, {runner.id}, order(OrderKind::move, 400, 400, true)),
                  Answers{none});
    EXPECT_EQ(answers(field, {runner.id}, order(OrderKind::patrol, 400, 400, true)),
              Answers{queueFull});
    EXPECT_EQ(runner.orders.size(), kMaxOrders - 1);
}

TEST(Orders, AreRefusedWhenNoWeaponCanCarryThemOut) {
    using enum OrderRefusal;
    io::TntFile lake = flatMap(80, 80, 20, 60);
    for (std::size_t z = 0; z < 80; ++z)
        for (std::size_t x = 0; x < 40; ++x) cellOf(lake, x, z).height = 100;
    Battlefield field(lake);
    const auto make = [](auto change) {
        auto weapon = weaponType(Flight::straight, 800);
        change(*weapon);
        return weapon;
    };
    auto type = turretType(make([](WeaponType& weapon) { weapon.isWaterWeapon = true; }));
    type->weapons[1] = make([](WeaponType& weapon) { weapon.isCommandFire = true; });
    type->weapons[2] = make([](WeaponType& weapon) { weapon.isOnlyForAircraft = true; });
    Unit& unit = field.place(type, 1, 320, 320);
    Unit& dry = field.place(dummyType(), 2, 400, 320);
    Unit& sunk = field.place(dummyType(), 2, 900, 320);
    const auto answer = [&](OrderKind kind, const Unit& target, std::int8_t slot = -1) {
        OrderRequest request = order(kind, target);
        request.slot = slot;
        return answers(field, {unit.id}, request)[0].refusal;
    };
    EXPECT_EQ(answer(OrderKind::attack, unit), noSuchTarget);
    EXPECT_EQ(answer(OrderKind::attack, dry), cannotReach);
    EXPECT_EQ(answer(OrderKind::attack, dry, 1), onlyOnCommand);
    EXPECT_EQ(answer(OrderKind::fire, dry), none);
    EXPECT_EQ(answer(OrderKind::attack, sunk, 0), none);
    EXPECT_EQ(answer(OrderKind::attack, sunk, 2), cannotReach);
    OrderRequest place = order(OrderKind::attack, 320, 500);
    EXPECT_EQ(answers(field, {unit.id}, place), Answers{cannotReach});
    place.place = at(900, 500);
    EXPECT_EQ(answers(field, {unit.id}, place), Answers{none});

    // what can be hit no more is given up, and so is who went aboard of somebody
    EXPECT_EQ(answer(OrderKind::attack, sunk), none);
    moveUnitTo(field.world, sunk, at(400, 500));
    field.tick();
    ASSERT_EQ(field.all<OrderFailed>().size(), 1U);
    EXPECT_EQ(field.all<OrderFailed>()[0].reason, OrderFailure::cannotReach);
    EXPECT_EQ(answer(OrderKind::fire, dry), none);
    dry.carrier = unit.ref();
    field.tick();
    EXPECT_EQ(field.all<OrderFailed>().back().reason, OrderFailure::targetGone);
    EXPECT_EQ(answer(OrderKind::fire, dry), noSuchTarget);
    EXPECT_EQ(answers(field, {dry.id}, order(OrderKind::damage, 500, 500)), Answers{carried});
    EXPECT_EQ(answers(field, {dry.id}, order(OrderKind::stop)), Answers{none});
}

TEST(Orders, ToShootAtTheLakeHitItsSurface) {
    Battlefield field(flatMap(80, 80, 20, 60));
    Unit& unit = field.place(turretType(weaponType(Flight::straight)), 1, 640, 640);
    unit.altitude = px(60);
    field.give(unit, order(OrderKind::attack, 640, 840));
    ASSERT_TRUE(field.tickUntil<Hit>(120));
    EXPECT_NEAR(field.all<Hit>()[0].place.y.toNumber(), 60, 1);
    EXPECT_NEAR(field.all<Hit>()[0].place.z.toNumber(), 840, 16);
}

TEST(Orders, AttackersAimAtWhatMoves) {
    Battlefield field;
    Unit& turret = field.place(turretType(weaponType(Flight::guided)), 1, 640, 640);
    auto slow = runnerType();
    slow->movement.maxSpeed = px(0.5);
    Unit& target = field.place(slow, 2, 500, 800);
    turret.standing.fire = 0;
    field.give(target, order(OrderKind::move, 780, 800));
    field.give(turret, order(OrderKind::attack, target));
    field.tick(120);
    // a shot a second once it is aimed
    EXPECT_GE(field.all<Fired>().size(), 2U);
    EXPECT_LE(field.all<Aimed>().size(), 12U);
}

TEST(Orders, FollowEachOtherInTheQueue) {
    Battlefield field;
    Unit& unit = field.place(runnerType(), 1, 300, 300);
    field.give(unit, order(OrderKind::move, 400, 300));
    field.give(unit, order(OrderKind::move, 400, 400, true));
    EXPECT_EQ(unit.orders.size(), 2U);
    ASSERT_TRUE(field.tickUntil<OrderDone>(60));
    EXPECT_NEAR(unit.place.x.toNumber(), 400, 3);
    field.forget();
    ASSERT_TRUE(field.tickUntil<OrderDone>(60));
    EXPECT_NEAR(unit.place.z.toNumber(), 400, 3);
    EXPECT_TRUE(unit.orders.empty());

    field.give(unit, order(OrderKind::move, 900, 900));
    field.tick(10);
    field.give(unit, order(OrderKind::stop));
    field.forget();
    field.tick(30);
    EXPECT_EQ(unit.motion.speed, Fixed());
    EXPECT_TRUE(field.all<OrderDone>().empty());
}

TEST(Orders, PatrolsGoRoundUntilTheyAreStopped) {
    Battlefield field;
    Unit& unit = field.place(runnerType(), 1, 300, 300);
    field.give(unit, order(OrderKind::patrol, 400, 300));
    field.tick(200);
    EXPECT_GE(field.all<OrderDone>().size(), 6U);
    EXPECT_EQ(unit.orders.size(), 2U);
    EXPECT_GE(unit.place.x, px(297));
    EXPECT_LE(unit.place.x, px(403));
    // where it stands already: told once a second, not all the time
    field.forget();
    field.give(unit, order(OrderKind::patrol, unit.place.x.toNumber(), unit.place.z.toNumber()));
    field.tick(300);
    EXPECT_EQ(unit.orders.size(), 2U);
    EXPECT_LE(field.all<OrderDone>().size(), 10U);
    EXPECT_GE(field.all<OrderDone>().size(), 2U);
}

TEST(Orders, GuardsStayNearUntilTheirWardIsGone) {
    Battlefield field;
    Unit& ward = field.place(runnerType(), 1, 300, 300);
    Unit& guard = field.place(runnerType(), 1, 340, 300);
    field.give(guard, order(OrderKind::guard, ward));
    field.give(ward, order(OrderKind::move, 900, 900));
    field.tick(300);
    EXPECT_LT(lengthOf(guard.place.x - ward.place.x, guard.place.z - ward.place.z), px(110));
    field.forget();
    field.give(ward, order(OrderKind::remove));
    ASSERT_TRUE(field.tickUntil<OrderFailed>(3));
    EXPECT_EQ(field.all<OrderFailed>()[0].reason, OrderFailure::targetGone);
}

TEST(Orders, AttackersGoWithinTheirRange) {
    Battlefield field;
    auto type = runnerType();
    type->weapons[0] = weaponType(Flight::straight, 200);
    type->height = px(20);
    Unit& unit = field.place(type, 1, 200, 300);
    Unit& target = field.place(dummyType(60), 2, 900, 300);
    field.give(unit, order(OrderKind::attack, target));
    ASSERT_TRUE(field.tickUntil<Fired>(200));
    const Fixed apart = target.place.x - unit.place.x;
    EXPECT_LE(apart, px(200));
    EXPECT_GE(apart, px(150));
    ASSERT_TRUE(field.tickUntil<Killed>(300));
    ASSERT_TRUE(field.tickUntil<OrderDone>(3));
}

TEST(Orders, AttackersWithoutAFreeLineSeekOne) {
    for (const bool isEnclosed : {false, true}) {
        Battlefield field;
        field.world.frame.featureTypes.push_back(
            {.name = "wall", .height = 200, .isBlocking = true});
        // a wall between them, and in the second world all round the target
        for (std::int32_t x = 30; x < 50; ++x) {
            placeFeature(field.world, 0, {x, 30});
            if (isEnclosed) placeFeature(field.world, 0, {x, 49});
            if (isEnclosed) placeFeature(field.world, 0, {x < 40 ? 30 : 49, 31 + x % 10});
            if (isEnclosed) placeFeature(field.world, 0, {x < 40 ? 30 : 49, 40 + x % 10});
        }
        auto type = runnerType();
        type->weapons[0] = weaponType(Flight::straight, 600);
        type->height = px(20);
        Unit& unit = field.place(type, 1, 640, 300);
        const Unit& target = field.place(dummyType(), 2, 640, 640);
        field.give(unit, order(OrderKind::attack, target));
        EXPECT_EQ(field.tickUntil<Fired>(400), !isEnclosed);
        // then it stands
        field.tick(40);
        const GroundPoint place = unit.place;
        field.tick(200);
        EXPECT_EQ(unit.place, place);
        EXPECT_TRUE(field.all<OrderFailed>().empty());
        EXPECT_EQ(unit.orders.empty(), !isEnclosed);
    }
}

TEST(Orders, WhatCannotMoveIsNotSentAfterWhatIsOutOfItsRange) {
    Battlefield field;
    Unit& turret = field.place(turretType(weaponType(Flight::straight, 200)), 1, 300, 300);
    Unit& near = field.place(runnerType(), 2, 450, 300);
    Unit& far = field.place(runnerType(), 2, 550, 300);
    using Taken = std::vector<OrderAnswer>;
    const Taken taken{OrderRefusal::none}, refused{OrderRefusal::outOfRange};
    for (const OrderKind kind : {OrderKind::attack, OrderKind::fire}) {
        EXPECT_EQ(answers(field, {turret.id}, order(kind, far)), refused);
        EXPECT_EQ(answers(field, {turret.id}, order(kind, 300, 520)), refused);
        EXPECT_EQ(answers(field, {turret.id}, order(kind, 300, 480)), taken);
        EXPECT_EQ(answers(field, {turret.id}, order(kind, near)), taken);
    }
    // one that leaves is waited for
    field.give(turret, order(OrderKind::attack, near));
    field.give(near, order(OrderKind::place, 700, 300));
    field.tick(60);
    EXPECT_EQ(turret.orders.size(), 1U);
    field.give(near, order(OrderKind::place, 450, 300));
    EXPECT_TRUE(field.tickUntil<Fired>(60));
}

TEST(Orders, PreviewsActAtOnce) {
    Battlefield field;
    auto type = turretType(nullptr);
    type->isActiveWhenBuilt = true;
    Unit& frame = field.place(type, 1, 300, 300);
    frame.buildFraction = px(0.25);
    frame.health = Amount::fromInt(10);
    field.give(frame, order(OrderKind::finish));
    EXPECT_TRUE(frame.isBuilt());
    EXPECT_EQ(frame.health, Amount::fromInt(100));
    EXPECT_EQ(field.all<Built>().size(), 1U);

    OrderRequest place = order(OrderKind::place, 800, 640);
    place.heading = Angle::fromDegrees(90);
    place.hasHeading = true;
    field.give(frame, place);
    EXPECT_EQ(frame.place, at(800, 640));
    EXPECT_EQ(frame.heading, Angle::fromDegrees(90));
    // on the grid, and where it can stand; it may stay where it is
    Unit& other = field.place(type, 1, 900, 640);
    place.place = at(805, 643);
    EXPECT_EQ(answers(field, {frame.id}, place)[0].refusal, OrderRefusal::none);
    EXPECT_EQ(frame.place, at(800, 640));
    EXPECT_EQ(answers(field, {other.id}, place)[0].fault, SiteFault::occupied);
    EXPECT_EQ(other.place, at(896, 640));
    place.isForced = true;
    EXPECT_EQ(answers(field, {other.id}, place)[0].refusal, OrderRefusal::none);
    field.give(other, order(OrderKind::remove));
    EXPECT_TRUE(field.world.state.occupancy.ownerOf({49, 39}).isUnit());
    EXPECT_FALSE(field.world.state.occupancy.ownerOf({18, 18}).isUnit());

    OrderRequest damage = order(OrderKind::damage, 700, 640);
    damage.value = 30;
    field.give(frame, damage);
    EXPECT_EQ(frame.health, Amount::fromInt(70));
    damage.value = -1e300;
    field.give(frame, damage);
    EXPECT_EQ(frame.health, Amount::fromInt(70));
    OrderRequest kill = order(OrderKind::kill);
    kill.value = 40;
    const UnitRef ref = frame.ref();
    field.give(frame, kill);
    EXPECT_EQ(field.world.state.units.find(ref), nullptr);
    ASSERT_EQ(field.all<Killed>().size(), 1U);
    EXPECT_EQ(field.all<Killed>()[0].severity, 40);
    EXPECT_EQ(field.all<Killed>()[0].corpseType, 2);
    EXPECT_EQ(field.all<Explode>().size(), 1U);
    EXPECT_FALSE(field.world.state.occupancy.ownerOf({49, 39}).isUnit());
}

}  // namespace
}  // namespace orb::sim
