#include "sim/fight/aiming.h"

#include "sim/battlefield.h"
#include "sim/scripts/piece_pose.h"

namespace orb::sim {
namespace {

/// How far the target's middle lies beside the line from a turret's barrel through its muzzle.
double missOfMuzzle(const Battlefield& field, const Unit& turret, const Vector& target) {
    const Vector pivot = pieceInWorld(field.world, turret, 2);
    const Vector muzzle = pieceInWorld(field.world, turret, 3);
    const Vector wanted = withLength(target - pivot, lengthOf(muzzle - pivot));
    return lengthOf(muzzle - pivot - wanted).toNumber();
}

TEST(Aiming, PutsTheMuzzleOnTheLineToTheTarget) {
    // the ground rises to the east; the turret's body faces and tilts in several ways
    io::TntFile hill = flatMap(80, 80, 20, 0);
    for (std::size_t z = 0; z < 80; ++z)
        for (std::size_t x = 46; x < 80; ++x) cellOf(hill, x, z).height = 160;
    for (const double heading : {0.0, 90.0, 200.0})
        for (const double pitch : {0.0, 9.0})
            for (const auto& [x, z] : {std::pair{640.0 + 180, 640.0},
                                       {640.0, 640.0 - 180},
                                       {640.0, 640.0 + 180},
                                       {640.0 - 150, 640.0 + 90}}) {
                Battlefield field(hill);
                const auto gun = weaponType(Flight::guided);
                Unit& turret = field.place(turretType(gun), 1, 640, 640, heading);
                turret.pitch = Angle::fromDegrees(pitch);
                turret.roll = Angle::fromDegrees(pitch / 2);
                const Unit& target = field.place(dummyType(), 2, x, z);
                ASSERT_TRUE(field.tickUntil<Aimed>(90)) << heading << ' ' << x << ' ' << z;
                field.tick(2);
                EXPECT_LT(missOfMuzzle(field, turret, hitCenter(field.world, target)), 0.02)
                    << heading << ' ' << pitch << ' ' << x << ' ' << z;
            }
}

TEST(Aiming, FollowsWhileItsBodyTilts) {
    Battlefield field;
    const auto gun = weaponType(Flight::guided);
    gun->tolerance = gun->pitchTolerance = 8'000;
    Unit& turret = field.place(turretType(gun), 1, 640, 640, 30);
    turret.pitch = Angle::fromDegrees(4);
    const Unit& target = field.place(dummyType(10'000), 2, 800, 700);
    ASSERT_TRUE(field.tickUntil<Aimed>(90));
    field.forget();
    turret.pitch = Angle::fromDegrees(-9);
    turret.roll = Angle::fromDegrees(12);
    turret.heading = turret.heading + Angle::fromDegrees(5);
    field.tick(30);
    constexpr double kBarrel = 26, kMostRadians = 0.005;
    EXPECT_LT(missOfMuzzle(field, turret, hitCenter(field.world, target)), kBarrel * kMostRadians);
    // it has counted as aimed all the time
    EXPECT_TRUE(field.all<Aimed>().empty());
    EXPECT_FALSE(field.all<Fired>().empty());
}

TEST(Aiming, TellsWhyItDoesNotFire) {
    const auto reasonAfter = [](Battlefield& field) {
        field.tick(60);
        const auto failures = field.all<AimFailed>();
        EXPECT_EQ(failures.size(), 1U);
        EXPECT_TRUE(field.all<Fired>().empty());
        return failures.empty() ? AimFailure{} : failures[0].reason;
    };
    const auto orderAt = [](Battlefield& field, Unit& turret, const Unit& target) {
        OrderRequest order;
        order.kind = OrderKind::attack;
        order.target = target.id;
        field.give(turret, order);
    };
    {
        Battlefield field;
        Unit& turret = field.place(turretType(weaponType(Flight::straight)), 1, 640, 640);
        Unit& target = field.place(dummyType(), 2, 640, 900);
        orderAt(field, turret, target);
        moveUnitTo(field.world, target, at(640, 1'100));
        EXPECT_EQ(reasonAfter(field), AimFailure::outOfRange);
    }
    {
        Battlefield field;
        constexpr std::string_view kRefuses = "piece base; AimPrimary(a, b) { return (0); }";
        field.place(turretType(weaponType(Flight::straight), kRefuses), 1, 640, 640);
        field.place(dummyType(), 2, 640, 800);
        EXPECT_EQ(reasonAfter(field), AimFailure::scriptRefused);
    }
    {
        Battlefield field;
        field.place(turretType(weaponType(Flight::straight), "piece base; Create() { }"), 1, 640,
                    640);
        field.place(dummyType(), 2, 640, 480);  // behind
        EXPECT_EQ(reasonAfter(field), AimFailure::noScript);
    }
    {
        io::TntFile wall = flatMap(80, 80, 20, 0);
        for (std::size_t x = 0; x < 80; ++x)
            for (std::size_t z = 44; z < 47; ++z) cellOf(wall, x, z).height = 200;
        Battlefield field(wall);
        field.place(turretType(weaponType(Flight::straight)), 1, 640, 640);
        field.place(dummyType(), 2, 640, 840);
        EXPECT_EQ(reasonAfter(field), AimFailure::noLine);
        // a mortar throws over it
        Battlefield over(wall);
        over.place(turretType(weaponType(Flight::ballistic, 600)), 1, 640, 640);
        over.place(dummyType(), 2, 640, 840);
        over.tick(330);
        EXPECT_FALSE(over.all<Fired>().empty());
        ASSERT_FALSE(over.all<Hit>().empty());
        EXPECT_EQ(over.all<Hit>()[0].damaged.size(), 1U);
    }
}

TEST(Aiming, WithoutScriptItShootsWhereTheBodyFaces) {
    Battlefield field;
    field.place(turretType(weaponType(Flight::straight), ""), 1, 640, 640);
    const Unit& target = field.place(dummyType(), 2, 640, 800);
    field.tick(70);
    ASSERT_EQ(field.all<Fired>().size(), 2U);
    EXPECT_EQ(field.all<Fired>()[0].piece, -1);
    EXPECT_EQ(target.health, Amount::fromInt(20));
}

TEST(Aiming, ScriptsHearOfTheirSlowestWeapon) {
    constexpr std::string_view kListens =
        "piece base; static-var time; Create() { time = 1; return (0); }"
        "SetMaxReloadTime(ms) { time = time + ms; return (0); }";
    Battlefield field;
    const auto type = turretType(weaponType(Flight::straight), kListens);
    type->weapons[2] = [] {
        const auto slow = weaponType(Flight::straight);
        slow->reload = 100;
        return slow;
    }();
    const Unit& unit = field.place(type, 1, 640, 640);
    field.tick();
    EXPECT_EQ(field.world.state.scripts.of(unit)->statics.at(0), 3'334);
}

TEST(Aiming, UnitsTurnWhereTheirWeaponsCannot) {
    const auto gun = weaponType(Flight::straight);
    gun->isTurret = false;
    const auto walker = turretType(gun);
    walker->isBuilding = false;
    walker->canMove = true;
    walker->movement = {
        .maxSpeed = px(1), .acceleration = px(1), .brakeRate = px(1), .turnRate = 700};
    Battlefield field;
    const Unit& unit = field.place(walker, 1, 640, 640);
    field.place(dummyType(), 2, 500, 640);
    ASSERT_TRUE(field.tickUntil<Hit>(120));
    EXPECT_NEAR(unit.heading.steps(), -16'384, 300);
    EXPECT_EQ(unit.place, at(640, 640));
}

TEST(Targets, TakesTheNearestThatItMay) {
    Battlefield field;
    const auto gun = turretType(weaponType(Flight::guided));
    gun->badTargets[0] = {"VTOL"};
    Unit& turret = field.place(gun, 1, 640, 640);
    const auto kite = dummyType();
    kite->categories = {"FEN", "VTOL"};
    const Unit& poor = field.place(kite, 2, 640, 680);
    field.place(dummyType(), 1, 680, 640);
    const Unit& far = field.place(dummyType(), 2, 640, 900);
    const Unit& near = field.place(dummyType(), 2, 640, 500);
    field.tick(17);
    EXPECT_EQ(turret.weapons[0].target, near.ref());

    turret.standing.fire = 1;  // returns fire
    turret.lastAttacker = far.ref();
    Unit& third = field.place(dummyType(), 3, 600, 640);
    turret.weapons[0] = {};
    field.tick(17);
    EXPECT_EQ(turret.weapons[0].target, far.ref());
    turret.standing.fire = 0;
    field.tick(17);
    EXPECT_EQ(turret.weapons[0].aim, AimKind::nothing);

    // an order goes before all of it
    OrderRequest order;
    order.kind = OrderKind::attack;
    order.target = near.id;
    field.give(turret, order);
    field.tick(2);
    EXPECT_EQ(turret.weapons[0].target, near.ref());
    // the dead are nothing to shoot at
    order.kind = OrderKind::remove;
    order.target.reset();
    field.give(near, order);
    field.tick(2);
    EXPECT_EQ(turret.weapons[0].aim, AimKind::nothing);

    // bad targets are better than none
    field.give(far, order);
    turret.standing.fire = StandingOrders::kFiresAtWill;
    moveUnitTo(field.world, third, at(640, 1'200));
    field.tick(17);
    EXPECT_EQ(turret.weapons[0].target, poor.ref());
    moveUnitTo(field.world, third, at(640, 900));
    field.tick(17);
    EXPECT_EQ(turret.weapons[0].target, third.ref());
}

}  // namespace
}  // namespace orb::sim
