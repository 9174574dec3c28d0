#include "sim/flyers.h"
#include "sim/motion/landing.h"

namespace orb::sim {
namespace {

bool isLanded(const Unit& unit) {
    return unit.flight.stage == FlightStage::landed;
}

TEST(Air, RisesFliesAndLandsWhereItWasSent) {
    for (const bool hovers : {false, true}) {
        Battlefield field;
        Unit& plane = field.place(planeType(hovers), 1, 200, 200);
        Unit& inTheWay = field.place(dummyType(), 1, 400, 400);
        field.give(plane, orderAt(OrderKind::move, 800, 800));
        field.tick();
        EXPECT_FALSE(isLanded(plane));
        EXPECT_TRUE(field.world.state.occupancy.isFree(plane.cells()));
        Fixed highest, fastest;
        std::int32_t bank = 0;
        bool isDone = false;
        for (int i = 0; i < 600 && !isLanded(plane); ++i) {
            const Fixed before = plane.altitude;
            field.tick();
            EXPECT_LE(absolute(plane.altitude - before), px(3.1));
            highest = std::max(highest, plane.altitude);
            fastest = std::max(fastest, plane.motion.speed);
            bank = std::max(bank, std::abs(plane.roll.steps()));
            isDone = isDone || !field.all<OrderDone>().empty();
        }
        EXPECT_TRUE(isDone && isLanded(plane)) << hovers;
        EXPECT_NEAR(highest.toNumber(), 20 + 60, 1);
        EXPECT_EQ(fastest, px(6));
        EXPECT_GT(bank, 1'000);
        EXPECT_LT(distance(plane, 800, 800), 6);
        EXPECT_EQ(plane.altitude, px(20));
        EXPECT_EQ(plane.roll, Angle());
        EXPECT_EQ(plane.motion.speed, Fixed());
        EXPECT_FALSE(field.world.state.occupancy.isFree(plane.cells()));
        EXPECT_EQ(inTheWay.health, Amount::fromInt(100));
    }
}

TEST(Air, KeepsItsHeightAboveHillsAndTheSea) {
    io::TntFile map = flatMap(120, 40, 20, 50);
    for (std::size_t z = 0; z < 40; ++z)
        for (std::size_t x = 50; x < 80; ++x) cellOf(map, x, z).height = 180;
    for (const bool isFromSeaLevel : {false, true}) {
        Battlefield field(map);
        const auto type = planeType();
        type->air.isFromSeaLevel = isFromSeaLevel;
        Unit& plane = field.place(type, 1, 100, 300);
        field.give(plane, orderAt(OrderKind::move, 1'800, 300));
        for (int i = 0; i < 600 && field.all<OrderDone>().empty(); ++i) {
            field.tick();
            const Fixed ground = field.world.frame.terrain.groundHeight(plane.place);
            EXPECT_GE(plane.altitude, std::max(ground, px(50)));
            const double x = plane.place.x.toNumber();
            if (x > 1'000 && x < 1'200) {
                EXPECT_NEAR(plane.altitude.toNumber(), isFromSeaLevel ? 204 : 240, 8);
            }
        }
        EXPECT_FALSE(field.all<OrderDone>().empty());
        EXPECT_NEAR(plane.altitude.toNumber(), 110, 8);
        // there is only water to land on
        field.tick(300);
        EXPECT_FALSE(isLanded(plane));
        EXPECT_LT(distance(plane, 1'800, 300), 400);
        EXPECT_GT(plane.motion.speed, px(1));
    }
}

TEST(Air, LandsBesideWhatStandsThere) {
    Battlefield field;
    Unit& post = field.place(dummyType(), 1, 640, 640);
    std::vector<const Unit*> planes;
    OrderRequest order = orderAt(OrderKind::move, 640, 640);
    for (int i = 0; i < 5; ++i) {
        Unit& plane = field.place(planeType(true), 1, 200, 200 + 40 * i);
        field.give(plane, order);
        planes.push_back(&plane);
    }
    field.tick(900);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        EXPECT_TRUE(isLanded(*planes[i])) << i;
        EXPECT_LT(distance(*planes[i], 640, 640), 200);
        for (std::size_t k = 0; k < i; ++k)
            EXPECT_GE(
                distance(*planes[i], planes[k]->place.x.toNumber(), planes[k]->place.z.toNumber()),
                24);
        EXPECT_GE(distance(*planes[i], post.place.x.toNumber(), post.place.z.toNumber()), 24);
    }
}

constexpr std::string_view kWings = R"(
piece body;
static-var up, down, fast, moves, stops;
Create() { return (0); }
Activate() { up = up + 1; return (0); }
Deactivate() { down = down + 1; return (0); }
MoveRate2() { fast = fast + 1; return (0); }
StartMoving() { moves = moves + 1; return (0); }
StopMoving() { stops = stops + 1; return (0); }
)";

TEST(Air, TellsItsScript) {
    Battlefield field;
    const auto type = planeType();
    giveScript(*type, kWings, {"body"});
    Unit& plane = field.place(type, 1, 200, 200);
    plane.isActive = false;
    field.tick();
    const std::int32_t upBefore = staticOf(field, plane, 0);
    field.give(plane, orderAt(OrderKind::move, 900, 200));
    field.tick(600);
    EXPECT_TRUE(isLanded(plane));
    EXPECT_FALSE(plane.isActive);
    EXPECT_EQ(staticOf(field, plane, 0) - upBefore, 1);
    EXPECT_EQ(staticOf(field, plane, 1), 1);
    EXPECT_EQ(staticOf(field, plane, 2), 1);
    EXPECT_EQ(staticOf(field, plane, 3), staticOf(field, plane, 4));
}

TEST(Air, PatrolsWithoutStopping) {
    Battlefield field;
    Unit& plane = field.place(planeType(), 1, 200, 600);
    field.give(plane, orderAt(OrderKind::patrol, 1'000, 600));
    field.tick(120);
    for (int i = 0; i < 600; ++i) {
        field.tick();
        EXPECT_GE(plane.motion.speed, px(2.5));
    }
    EXPECT_GE(field.all<OrderDone>().size(), 3U);
    EXPECT_EQ(plane.orders.size(), 2U);
}

TEST(Air, BombersComeAgainAndAgain) {
    Battlefield field;
    const auto bomb = weaponType(Flight::dropped, 300);
    bomb->isTurret = false;
    bomb->damageRadius = px(24);
    bomb->edgeShare = px(1);
    const auto type = planeType();
    type->weapons[0] = bomb;
    Unit& plane = field.place(type, 1, 200, 200);
    Unit& target = field.place(dummyType(100), 2, 700, 640);
    field.give(plane, orderOn(OrderKind::attack, target));
    int near = 0, far = 0;
    for (int i = 0; i < 1'500 && field.all<Killed>().empty(); ++i) {
        field.tick();
        const double apart = distance(plane, 700, 640);
        if (apart < 30 && near == far) ++near;
        if (apart > 90 && near > far) ++far;
    }
    EXPECT_FALSE(field.all<Killed>().empty());
    EXPECT_GE(field.all<Fired>().size(), 3U);
    EXPECT_GE(near, 2);
    field.tick(400);
    EXPECT_TRUE(isLanded(plane));
}

TEST(Air, BombersFlyToFireOnce) {
    Battlefield field;
    const auto bomb = weaponType(Flight::dropped, 300);
    bomb->isTurret = false;
    bomb->damageRadius = px(24);
    const auto type = planeType();
    type->weapons[0] = bomb;
    Unit& plane = field.place(type, 1, 200, 200);
    field.give(plane, orderAt(OrderKind::fire, 700, 640));
    EXPECT_TRUE(field.tickUntil<Hit>(600));
    const Vector hit = field.all<Hit>()[0].place;
    EXPECT_LT(std::hypot(hit.x.toNumber() - 700, hit.z.toNumber() - 640), 24);
    field.tick(300);
    EXPECT_EQ(field.all<Fired>().size(), 1U);
    EXPECT_TRUE(plane.orders.empty());
}

TEST(Air, GunshipsStayOverAPlaceAndFaceIt) {
    Battlefield field;
    const auto gun = weaponType(Flight::straight, 250);
    gun->isTurret = false;
    const auto type = planeType(true);
    type->weapons[0] = gun;
    Unit& ship = field.place(type, 1, 200, 200);
    Unit& target = field.place(dummyType(10'000), 2, 800, 640);
    field.give(ship, orderOn(OrderKind::attack, target));
    field.tick(400);
    const GroundPoint place = ship.place;
    EXPECT_FALSE(field.all<Hit>().empty());
    field.tick(100);
    EXPECT_EQ(ship.place, place);
    EXPECT_LE(distance(ship, 800, 640), 250);
    EXPECT_NEAR(ship.altitude.toNumber(), 80, 1);
    EXPECT_LT(
        std::abs(shortestDifference(ship.heading, headingOf(px(800) - place.x, px(640) - place.z))),
        300);
}

TEST(Air, GuardsAndKeepsApart) {
    Battlefield field;
    Unit& ward = field.place(dummyType(), 1, 640, 640);
    std::vector<const Unit*> planes;
    for (int i = 0; i < 6; ++i) {
        Unit& plane = field.place(planeType(i % 2 == 0), 1, 300, 300);
        field.give(plane, orderOn(OrderKind::guard, ward));
        planes.push_back(&plane);
    }
    field.tick(400);
    for (const Unit* plane : planes) {
        EXPECT_LT(distance(*plane, 640, 640), 320);
        EXPECT_FALSE(isLanded(*plane));
    }
    EXPECT_GE(distance(*planes[0], planes[2]->place.x.toNumber(), planes[2]->place.z.toNumber()),
              16);
}

TEST(Air, HostileFiguresStayOnTheMap) {
    for (const double speed : {1'024.0, 0.001}) {
        const auto type = planeType();
        type->footprintX = type->footprintZ = 32;
        type->movement = {.maxSpeed = px(speed),
                          .acceleration = px(1'024),
                          .brakeRate = Fixed::fromRaw(1),
                          .turnRate = 1,
                          .isUpright = false};
        type->air.cruiseHeight = px(4'096);
        type->air.bankScale = type->air.pitchScale = px(8);
        type->weapons[0] = weaponType(Flight::straight, 0);
        Battlefield field(flatMap(20, 20, 255, 255));
        Unit& plane = field.place(type, 1, 1, 1);
        const Unit& target = field.place(dummyType(), 2, 300, 300);
        field.give(plane, orderAt(OrderKind::patrol, 319, 319));
        field.tick(50);
        field.give(plane, orderOn(OrderKind::attack, target));
        field.tick(50);
        field.give(plane, orderOn(OrderKind::guard, target));
        field.tick(50);
        EXPECT_TRUE(field.world.frame.terrain.contains(plane.place));
    }
}

TEST(Air, WhoIsStunnedStaysWhereItIs) {
    Battlefield field;
    Unit& plane = field.place(planeType(), 1, 300, 300);
    field.give(plane, orderAt(OrderKind::move, 1'000, 300));
    field.tick(30);
    const Vector before = plane.position();
    plane.stunnedUntil = field.world.state.tick + 60;
    field.tick(60);
    EXPECT_EQ(plane.position(), before);
    field.tick(30);
    EXPECT_NE(plane.position(), before);
}

constexpr std::string_view kRoost = R"(
piece deck, left, right;
Create() { return (0); }
QueryLandingPad(one, two) { one = left; two = right; return (0); }
)";

TEST(Air, LandsOnPadsUntilItIsWhole) {
    Battlefield field;
    Stock& energy = field.world.state.players[0].energy;
    energy.amount = energy.ownStorage = Amount::fromInt(1'000);
    auto roost = dummyType();
    roost->economy.workPerTick = 2;
    giveScript(*roost, kRoost, {"deck", "left", "right"});
    roost->piecesAtRest[1].offset = {px(-30), px(15), {}};
    roost->piecesAtRest[2].offset = {px(30), px(15), {}};
    Unit& owner = field.place(roost, 1, 600, 600);
    auto type = planeType();
    type->economy.buildTime = 100;
    type->economy.buildEnergy = Amount::fromInt(40);
    std::vector<Unit*> planes;
    for (const double x : {200.0, 300.0, 400.0}) {
        planes.push_back(&field.place(type, 1, x, 300));
        planes.back()->health = Amount::fromInt(20);
        field.give(*planes.back(), orderOn(OrderKind::land, owner));
    }
    int sat = 0, together = 0;
    for (int i = 0; i < 1'500 && field.all<OrderDone>().size() < 3; ++i) {
        field.tick();
        int now = 0;
        for (const Unit* plane : planes) {
            if (plane->flight.stage != FlightStage::perched) continue;
            ++now;
            EXPECT_EQ(plane->altitude, px(35));
            EXPECT_NEAR(distance(*plane, 608, 608), 30, 0.1);
        }
        sat += now > 0;
        together = std::max(together, now);
    }
    EXPECT_EQ(field.all<OrderDone>().size(), 3U);
    EXPECT_EQ(together, 2);
    EXPECT_GT(sat, 40);
    for (const Unit* plane : planes) EXPECT_EQ(plane->health, Amount::fromInt(100));
    EXPECT_NEAR(energy.spent.toNumber(), 3 * 8, 0.1);

    // what it sits on goes: it flies away
    planes[0]->health = Amount::fromInt(1);
    field.give(*planes[0], orderOn(OrderKind::land, owner));
    for (int i = 0; i < 600 && planes[0]->flight.stage != FlightStage::perched; ++i) field.tick();
    OrderRequest remove;
    remove.kind = OrderKind::remove;
    field.give(owner, remove);
    field.forget();
    field.tick(5);
    EXPECT_EQ(planes[0]->flight.stage, FlightStage::flying);
    EXPECT_EQ(field.all<OrderFailed>().size(), 1U);
}

}  // namespace
}  // namespace orb::sim
