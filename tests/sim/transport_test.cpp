#include "sim/cargo/cargo.h"
#include "sim/flyers.h"
#include "sim/scripts/piece_pose.h"

namespace orb::sim {
namespace {

constexpr std::string_view kSling = R"(
piece body, sling;
static-var begun, ended, height;
Create() { return (0); }
BeginTransport(h) { begun = begun + 1; height = h; move sling to y-axis 0 - h speed [20]; return (0); }
EndTransport() { ended = ended + 1; move sling to y-axis [0] speed [20]; return (0); }
QueryTransport(piecenum) { piecenum = sling; return (0); }
)";

constexpr std::string_view kCrane = R"(
piece base, arm;
static-var picked, dropped, place;
Create() { return (0); }
TransportPickup(id)
{
    set 6 to 1;
    picked = picked + 1;
    sleep 200;
    attach-unit id to arm;
    sleep 200;
    attach-unit id to 0 - 1;
    set 6 to 0;
    return (0);
}
TransportDrop(id, where)
{
    set 6 to 1;
    dropped = dropped + 1;
    place = where;
    attach-unit id to arm;
    sleep 200;
    drop-unit id;
    set 6 to 0;
    return (0);
}
)";

std::shared_ptr<UnitType> storkType(bool hasScript = true) {
    auto type = planeType(true);
    type->name = "STORK";
    type->hold = {.capacity = 1, .mostFootprint = 3};
    if (hasScript) giveScript(*type, kSling, {"body", "sling"});
    return type;
}

std::shared_ptr<UnitType> ferryType(bool hasScript = true) {
    auto type = walkerType("FERRY");
    type->hold = {.capacity = 2, .mostFootprint = 2};
    if (hasScript) {
        giveScript(*type, kCrane, {"base", "arm"});
        type->piecesAtRest[1].offset = {px(20), px(8), {}};
    }
    return type;
}

/// Whether every unit has what carries it and is carried by what has it.
void expectSound(const Battlefield& field) {
    for (const Unit& unit : field.world.state.units) {
        for (const UnitRef ref : unit.hold.cargo) {
            const Unit* const load = field.world.state.units.find(ref);
            ASSERT_NE(load, nullptr);
            EXPECT_EQ(load->carrier, unit.ref());
            EXPECT_TRUE(load->hold.cargo.empty());
        }
        if (!unit.carrier) continue;
        const Unit* const carrier = field.world.state.units.find(unit.carrier);
        ASSERT_NE(carrier, nullptr);
        EXPECT_EQ(std::ranges::count(carrier->hold.cargo, unit.ref()), 1);
    }
}

TEST(Transport, AircraftLiftAndSetDown) {
    for (const bool hasScript : {true, false}) {
        Battlefield field;
        Unit& stork = field.place(storkType(hasScript), 1, 200, 200);
        Unit& load = field.place(walkerType(), 1, 700, 500);
        field.give(load, orderAt(OrderKind::move, 900, 900, true));
        load.orders.clear();
        const CellRect cells = load.cells();
        field.give(stork, orderOn(OrderKind::load, load));
        ASSERT_TRUE(field.tickUntil<OrderDone>(600)) << hasScript;
        EXPECT_EQ(load.carrier, stork.ref());
        EXPECT_LT(distance(stork, 700, 500), 10);
        EXPECT_TRUE(field.world.state.occupancy.isFree(cells));
        if (hasScript) {
            EXPECT_EQ(staticOf(field, stork, 0), 1);
            EXPECT_EQ(staticOf(field, stork, 2), px(12).raw());
            EXPECT_NEAR(stork.altitude.toNumber(), 20 + 12, 4);
        }
        // it stays in the air with it, and its load stays where the piece is
        field.tick(200);
        EXPECT_EQ(stork.flight.stage, FlightStage::flying);
        EXPECT_EQ(load.position(), pieceInWorld(field.world, stork, load.carrierPiece));
        expectSound(field);

        field.forget();
        field.place(dummyType(), 1, 1'000, 1'000);
        field.give(stork, orderAt(OrderKind::unload, 1'000, 1'000));
        ASSERT_TRUE(field.tickUntil<OrderDone>(600));
        EXPECT_FALSE(load.carrier);
        EXPECT_EQ(load.altitude, px(20));
        const double apart = distance(load, 1'000, 1'000);
        EXPECT_TRUE(apart >= 32 && apart < 80) << apart;
        EXPECT_FALSE(field.world.state.occupancy.isFree(load.cells()));
        if (hasScript) {
            field.tick(2);
            EXPECT_EQ(staticOf(field, stork, 1), 1);
        }
        field.forget();
        field.give(load, orderAt(OrderKind::move, 900, 900));
        EXPECT_TRUE(field.tickUntil<OrderDone>(300));
        expectSound(field);
    }
}

TEST(Transport, OthersLoadFromBesideByTheirScripts) {
    for (const bool hasScript : {true, false}) {
        Battlefield field;
        Unit& ferry = field.place(ferryType(hasScript), 1, 200, 200);
        Unit& first = field.place(walkerType(), 1, 700, 500);
        Unit& second = field.place(walkerType(), 1, 760, 500);
        Unit& third = field.place(walkerType(), 1, 820, 500);
        field.give(ferry, orderOn(OrderKind::load, first));
        OrderRequest more = orderOn(OrderKind::load, second);
        more.isQueued = true;
        field.give(ferry, more);
        more.target = third.id;
        field.give(ferry, more);
        field.tick(700);
        EXPECT_EQ(first.carrier, ferry.ref());
        EXPECT_EQ(second.carrier, ferry.ref());
        EXPECT_EQ(second.carrierPiece, -1);
        EXPECT_GT(distance(ferry, 700, 500), 30);
        // there is no room for a third
        EXPECT_FALSE(third.carrier);
        ASSERT_EQ(field.all<OrderFailed>().size(), 1U);
        EXPECT_EQ(field.all<OrderFailed>()[0].reason, OrderFailure::cannotDo);
        expectSound(field);

        field.give(ferry, orderAt(OrderKind::unload, 400, 900));
        field.tick(900);
        EXPECT_FALSE(first.carrier || second.carrier);
        EXPECT_LT(distance(first, 400, 900), 4);
        EXPECT_LT(distance(second, 400, 900), 60);
        if (hasScript) {
            EXPECT_EQ(staticOf(field, ferry, 0), 2);
            EXPECT_EQ(staticOf(field, ferry, 1), 2);
        }
        expectSound(field);
    }
}

TEST(Transport, RefusesWhatItCannotCarry) {
    Battlefield field;
    Unit& ferry = field.place(ferryType(), 1, 200, 200);
    const auto answer = [&](const Unit& unit, const Unit& target) {
        const std::int64_t id = unit.id;
        return giveOrder(field.world, field.scratch, {&id, 1}, orderOn(OrderKind::load, target))[0];
    };
    const auto large = walkerType("LARGE");
    large->footprintX = 3;
    const auto heavy = walkerType("HEAVY");
    heavy->canBeCarried = false;
    const auto why = [&](const Unit& target) {
        const OrderAnswer given = answer(ferry, target);
        EXPECT_EQ(given.refusal, OrderRefusal::cannotWork);
        return given.hindrance;
    };
    EXPECT_EQ(why(ferry), OrderHindrance::itself);
    EXPECT_EQ(why(field.place(large, 1, 300, 300)), OrderHindrance::tooLarge);
    EXPECT_EQ(why(field.place(heavy, 1, 400, 300)), OrderHindrance::cannotBeCarried);
    EXPECT_EQ(why(field.place(planeType(), 1, 500, 300)), OrderHindrance::cannotBeCarried);
    EXPECT_EQ(why(field.place(dummyType(), 1, 600, 300)), OrderHindrance::cannotBeCarried);
    EXPECT_EQ(why(field.place(walkerType(), 2, 700, 300)), OrderHindrance::ofOtherPlayer);
    Unit& frame = field.place(walkerType(), 1, 700, 400);
    frame.buildFraction = px(0.5);
    EXPECT_EQ(why(frame), OrderHindrance::targetNotBuilt);
    EXPECT_EQ(answer(field.place(walkerType(), 1, 800, 300), ferry), OrderRefusal::cannotWork);
}

TEST(Transport, HoldsFillAndEmptyInTheOrderOfTheirQueue) {
    Battlefield field;
    Unit& ferry = field.place(ferryType(false), 1, 200, 200);
    const auto answer = [&](OrderRequest order, bool isQueued) {
        order.isQueued = isQueued;
        const std::int64_t id = ferry.id;
        return giveOrder(field.world, field.scratch, {&id, 1}, order)[0].hindrance;
    };
    const OrderRequest unload = orderAt(OrderKind::unload, 300, 300);
    Unit& first = field.place(walkerType(), 1, 240, 200);
    Unit& second = field.place(walkerType(), 1, 160, 200);
    Unit& third = field.place(walkerType(), 1, 200, 240);
    EXPECT_EQ(answer(unload, false), OrderHindrance::holdEmpty);
    EXPECT_EQ(answer(unload, true), OrderHindrance::holdEmpty);
    EXPECT_EQ(answer(orderOn(OrderKind::load, first), false), OrderHindrance::none);
    OrderRequest letOut = unload;
    letOut.target = first.id;
    EXPECT_EQ(answer(letOut, true), OrderHindrance::none);
    EXPECT_EQ(answer(orderOn(OrderKind::load, first), true), OrderHindrance::none);
    EXPECT_EQ(answer(orderOn(OrderKind::load, second), true), OrderHindrance::none);
    field.tick(150);
    ASSERT_EQ(ferry.hold.cargo.size(), 2U);
    EXPECT_TRUE(ferry.orders.empty());
    EXPECT_EQ(answer(orderOn(OrderKind::load, third), false), OrderHindrance::holdFull);
    EXPECT_EQ(answer(unload, false), OrderHindrance::none);
    EXPECT_EQ(answer(orderOn(OrderKind::load, third), true), OrderHindrance::none);
    field.tick(200);
    EXPECT_EQ(ferry.hold.cargo, std::vector{third.ref()});
}

TEST(Transport, CapturedCarriersBringTheirLoad) {
    Battlefield field;
    field.world.state.players[0].energy.amount = Amount::fromInt(1'000);
    Unit& ferry = field.place(ferryType(false), 2, 300, 300);
    Unit& load = field.place(walkerType(), 2, 340, 300);
    takeAboard(field.world, ferry, load, -1);
    auto captor = dummyType();
    captor->canCapture = true;
    captor->economy.workPerTick = 10;
    captor->economy.buildDistance = px(100);
    field.give(field.place(captor, 1, 300, 360), orderOn(OrderKind::capture, ferry));
    field.tick(5);
    EXPECT_EQ(ferry.player, 1);
    EXPECT_EQ(load.player, 1);
    expectSound(field);
}

TEST(Transport, CarriersDoNotCarryEachOtherInCircles) {
    Battlefield field;
    Unit& one = field.place(ferryType(), 1, 300, 300);
    Unit& other = field.place(ferryType(), 1, 360, 300);
    Unit& walker = field.place(walkerType(), 1, 420, 300);
    field.give(one, orderOn(OrderKind::load, other));
    field.give(other, orderOn(OrderKind::load, one));
    field.tick(100);
    expectSound(field);
    EXPECT_NE(static_cast<bool>(one.carrier), static_cast<bool>(other.carrier));
    // who is aboard takes nobody aboard, and who has somebody aboard goes nowhere
    Unit& carried = one.carrier ? one : other;
    attachByScript(field.world, carried, static_cast<std::int32_t>(walker.id), -1);
    attachByScript(field.world, walker, static_cast<std::int32_t>(walker.id), -1);
    EXPECT_FALSE(walker.carrier);
    Unit& third = field.place(ferryType(), 1, 330, 360);
    attachByScript(field.world, third, static_cast<std::int32_t>((one.carrier ? other : one).id),
                   -1);
    EXPECT_TRUE(third.hold.cargo.empty());
    expectSound(field);
}

TEST(Transport, WhoIsAboardSharesItsEnd) {
    Battlefield field;
    Unit& ferry = field.place(ferryType(false), 1, 300, 300);
    Unit& load = field.place(walkerType(), 1, 340, 300);
    Unit& gone = field.place(walkerType(), 1, 260, 300);
    takeAboard(field.world, ferry, load, -1);
    takeAboard(field.world, ferry, gone, -1);
    // nobody hurts it there, and it does nothing
    Unit& turret = field.place(turretType(weaponType(Flight::straight)), 2, 600, 300);
    field.give(load, orderAt(OrderKind::move, 900, 900));
    field.tick(5);
    EXPECT_EQ(load.place, ferry.place);
    EXPECT_NE(turret.weapons[0].target, load.ref());
    // one that is taken away leaves its carrier
    OrderRequest remove;
    remove.kind = OrderKind::remove;
    field.give(gone, remove);
    EXPECT_EQ(ferry.hold.cargo.size(), 1U);
    field.forget();
    OrderRequest kill;
    kill.kind = OrderKind::kill;
    kill.value = 50;
    field.give(ferry, kill);
    EXPECT_EQ(field.all<Killed>().size(), 2U);
    field.tick(3);
    EXPECT_EQ(field.world.state.units.count(), 1U);

    // a carrier that is taken away leaves its load, and one that is placed elsewhere leaves its
    // carrier
    Unit& second = field.place(ferryType(false), 1, 300, 300);
    Unit& kept = field.place(walkerType(), 1, 340, 300);
    Unit& placed = field.place(walkerType(), 1, 380, 300);
    takeAboard(field.world, second, kept, -1);
    takeAboard(field.world, second, placed, -1);
    field.give(placed, orderAt(OrderKind::place, 800, 800));
    EXPECT_EQ(placed.place, at(800, 800));
    expectSound(field);
    field.give(second, remove);
    EXPECT_FALSE(kept.carrier);
    EXPECT_FALSE(field.world.state.occupancy.isFree(kept.cells()));
    field.tick(2);
}

TEST(Transport, FindsNoRoomInTheSea) {
    io::TntFile map = flatMap(80, 80, 20, 10);
    for (std::size_t z = 0; z < 80; ++z)
        for (std::size_t x = 40; x < 80; ++x) cellOf(map, x, z).height = 0;
    Battlefield field(map);
    Unit& stork = field.place(storkType(), 1, 200, 200);
    Unit& load = field.place(walkerType(), 1, 300, 200);
    takeAboard(field.world, stork, load, 1);
    field.give(stork, orderAt(OrderKind::unload, 1'000, 600));
    ASSERT_TRUE(field.tickUntil<OrderFailed>(600));
    EXPECT_EQ(field.all<OrderFailed>()[0].fault, SiteFault::tooDeep);
    EXPECT_TRUE(load.carrier);
}

TEST(Hover, GoesOverLandAndWaterAndTiltsOnLandAlone) {
    io::TntFile map = flatMap(80, 40, 60, 40);
    for (std::size_t z = 0; z < 40; ++z)
        for (std::size_t x = 20; x < 80; ++x)
            cellOf(map, x, z).height = static_cast<std::uint8_t>(x < 30       ? 60 - 2 * (x - 20)
                                                                 : x % 2 == 0 ? 0
                                                                              : 30);
    Battlefield field(map);
    const auto type = walkerType("SKIMMER");
    type->limits = {.maxSlope = 10, .maxWaterSlope = 10, .canHover = true};
    giveScript(*type,
               "piece base; static-var surface; Create() { return (0); } "
               "setSFXoccupy(s) { surface = s; return (0); }",
               {"base"});
    Unit& unit = field.place(type, 1, 100, 300);
    field.give(unit, orderAt(OrderKind::move, 1'000, 300));
    std::int32_t tilt = 0;
    for (int i = 0; i < 900 && field.all<OrderDone>().empty(); ++i) {
        field.tick();
        if (unit.place.x > px(520)) {
            EXPECT_EQ(unit.altitude, px(40));
            EXPECT_EQ(unit.pitch, Angle());
        }
        tilt = std::min(tilt, unit.pitch.steps());
    }
    ASSERT_FALSE(field.all<OrderDone>().empty());
    EXPECT_TRUE(field.all<OrderDone>()[0].hasReached);
    EXPECT_LT(tilt, -500);
    EXPECT_EQ(staticOf(field, unit, 0), 2);
}

TEST(Ships, LieAtTheirWaterline) {
    Battlefield field(flatMap(80, 80, 20, 60));
    const auto ship = walkerType("SHIP");
    ship->limits = {.minWaterDepth = 15};
    ship->floats = true;
    ship->waterline = 6;
    const auto sub = walkerType("SUB");
    sub->limits = {.minWaterDepth = 15};
    sub->floats = true;
    sub->waterline = 30;
    Unit& above = field.place(ship, 1, 300, 300);
    Unit& below = field.place(sub, 1, 300, 400);
    field.give(above, orderAt(OrderKind::move, 600, 300));
    field.give(below, orderAt(OrderKind::move, 600, 400));
    field.tick(100);
    EXPECT_EQ(above.altitude, px(54));
    EXPECT_EQ(below.altitude, px(30));
    EXPECT_EQ(above.pitch, Angle());
}

}  // namespace
}  // namespace orb::sim
