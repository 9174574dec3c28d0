#include "sim/battlefield.h"
#include "sim/scripts/script_host.h"
#include "sim/scripts/script_values.h"

namespace orb::sim {
namespace {

/// A building with a yard in its middle and a script of two pieces.
std::shared_ptr<UnitType> scripted(std::string_view script) {
    auto type = turretType(nullptr, script);
    type->pieces = {"base", "arm"};
    type->piecesAtRest = {{-1, {}}, {0, {px(3), px(10), px(5)}}};
    type->footprintX = type->footprintZ = 4;
    type->yard = yardOf("oooo occo occo oooo", 4, 4);
    return type;
}

std::int32_t staticOf(const Battlefield& field, const Unit& unit, std::size_t index) {
    return field.world.state.scripts.of(unit)->statics.at(index);
}

TEST(Scripts, ReadWhatTheyHaveSetAndTheWorldActsAfterwards) {
    Battlefield field;
    Unit& unit = field.place(scripted(R"(
        piece base, arm;
        static-var before, after, unknown, health, left, own, place, ground, height;
        Create()
        {
            before = get 5;
            set 5 to 1;
            after = get 5;
            set 20 to 1;
            set 4 to 1;
            set 999 to 1;
            unknown = get 999;
            health = get HEALTH;
            left = get BUILD_PERCENT_LEFT;
            own = get 71;
            place = get 7(arm);
            ground = get 16(get 9(0));
            height = get 11(0);
            return (0);
        }
        )"),
                             1, 320, 320, 90);
    unit.health = Amount::fromInt(50);
    unit.buildFraction = px(0.75);
    field.tick();
    EXPECT_EQ(staticOf(field, unit, 0), 0);
    EXPECT_EQ(staticOf(field, unit, 1), 1);
    EXPECT_TRUE(unit.values.isInBuildStance);
    EXPECT_TRUE(unit.values.isArmored);
    EXPECT_EQ(staticOf(field, unit, 2), 0);
    EXPECT_EQ(staticOf(field, unit, 3), 50);
    EXPECT_EQ(staticOf(field, unit, 4), 25);
    EXPECT_EQ(staticOf(field, unit, 5), 1);
    // heading east: forward is +x, and its left is the north
    EXPECT_EQ(staticOf(field, unit, 6), (325 << 16) | 317);
    EXPECT_EQ(staticOf(field, unit, 7), 20 << 16);
    EXPECT_EQ(staticOf(field, unit, 8), 20 << 16);
}

TEST(Scripts, SettableValuesAreNotReadOfOthers) {
    Battlefield field;
    Unit& one = field.place(scripted("piece base, arm; Create() { return (0); }"), 1, 320, 320);
    Unit& other = field.place(scripted("piece base, arm; Create() { return (0); }"), 2, 608, 320);
    other.values.isBusy = true;
    const auto value = [&](std::int32_t id, std::int32_t argument) {
        return scriptValue(field.world, one, id, argument);
    };
    const auto otherId = static_cast<std::int32_t>(other.id);
    for (std::int32_t id = 0; id < 100; ++id) {
        if (isSettable(id)) {
            EXPECT_EQ(value(id, otherId), value(id, 0)) << id;
        }
    }
    EXPECT_EQ(value(9, otherId), (608 << 16) | 320);
    EXPECT_EQ(value(72, otherId), 2);
    EXPECT_EQ(value(74, otherId), 0);
    EXPECT_EQ(value(70, 0), 2);
    EXPECT_EQ(value(9, 4'711), 0);
    EXPECT_EQ(value(9, -1), 0);
    // as the body sees it: to the east of one that faces south lies its left
    EXPECT_EQ(value(12, value(9, otherId) - value(9, 0)), 16'384);
    one.heading = Angle::fromDegrees(90);
    EXPECT_EQ(value(12, value(9, otherId) - value(9, 0)), 0);
    EXPECT_EQ(value(13, value(9, otherId) - value(9, 0)), 288 << 16);
}

TEST(Scripts, AYardStaysOpenWhileSomebodyStandsInIt) {
    Battlefield field;
    Unit& unit = field.place(scripted(R"(
        piece base, arm;
        Open() { set 18 to 1; return (0); }
        Close() { set 18 to 0; return (0); }
        )"),
                             1, 320, 320);
    const auto run = [&](std::string_view script) {
        OrderRequest order;
        order.kind = OrderKind::script;
        order.script = script;
        field.give(unit, order);
        field.tick();
    };
    const CellRect yard{{19, 19}, 2, 2};
    EXPECT_FALSE(field.world.state.occupancy.isFree(yard));
    run("Open");
    EXPECT_TRUE(unit.values.isYardOpen);
    EXPECT_TRUE(field.world.state.occupancy.isFree(yard));
    field.world.state.occupancy.take(Cell{19, 19}, {CellOwner::Kind::mobile, 77});
    run("Close");
    EXPECT_TRUE(unit.values.isYardOpen);
    field.world.state.occupancy.release({{19, 19}, 1, 1}, {CellOwner::Kind::mobile, 77});
    run("Close");
    EXPECT_FALSE(unit.values.isYardOpen);
    EXPECT_FALSE(field.world.state.occupancy.isFree(yard));
}

TEST(Scripts, CallsTellTheirEndAndMissingOnesAreToldOnce) {
    Battlefield field;
    Unit& unit = field.place(turretType(nullptr), 1, 320, 320);
    const std::int32_t direction[] = {8'192, 0};
    EXPECT_TRUE(startScript(field.world, unit, UnitScript::aimPrimary, direction, 7));
    EXPECT_TRUE(startScript(field.world, unit, UnitScript::aimPrimary, direction, 8));
    std::vector<EndedCall> ended;
    for (int i = 0; i < 60 && ended.size() < 2; ++i) {
        field.tick();
        ended.insert(ended.end(), field.scratch.endedCalls.begin(), field.scratch.endedCalls.end());
    }
    ASSERT_EQ(ended.size(), 2U);
    EXPECT_EQ(ended[0].callId, 7U);
    EXPECT_TRUE(ended[0].wasSignalled);
    EXPECT_EQ(ended[1].callId, 8U);
    EXPECT_EQ(ended[1].value, 1);
    EXPECT_FALSE(startScript(field.world, unit, UnitScript::aimTertiary));
    EXPECT_FALSE(startScript(field.world, unit, UnitScript::aimTertiary));
    ASSERT_EQ(field.all<ScriptMissing>().size(), 1U);
    EXPECT_EQ(field.all<ScriptMissing>()[0].script, "AimTertiary");
}

TEST(Scripts, HostileOnesEndTheirTicksAllTheSame) {
    // every thread spins, starts others, explodes, emits and sets without end
    constexpr std::string_view kHostile = R"(
        piece base, arm;
        static-var count;
        Create()
        {
            start-script Create();
            start-script Create();
            while (TRUE)
            {
                count = count + 1;
                explode base type FALL;
                emit-sfx 1024 from arm;
                play-sound(count);
                set 18 to rand(0, 1);
                set 19 to 1;
                set 1 to rand(-2147483648, 2147483647);
                attach-unit rand(-5, 9000) to rand(-9, 9);
                drop-unit count;
            }
            return (0);
        }
        StartMoving() { while (TRUE) { } return (0); }
        Killed(severity, corpsetype) { while (TRUE) { corpsetype = 99; } return (0); }
        SweetSpot(piecenum) { while (TRUE) { piecenum = 12345; } return (0); }
        )";
    const auto play = [&](std::size_t threads) {
        Battlefield field(flatMap(80, 80, 20, 0), threads);
        for (int i = 0; i < 40; ++i)
            field.place(scripted(kHostile), 1, 100.0 + i % 8 * 100, 100.0 + i / 8 * 100);
        for (int i = 0; i < 12; ++i) {
            field.forget();
            field.tick();
            EXPECT_LE(field.all<Explode>().size() + field.all<Effect>().size() +
                          field.all<Sound>().size(),
                      40 * kMaxScriptDeeds);
        }
        OrderRequest kill;
        kill.kind = OrderKind::kill;
        for (int id = 1; id <= 20; ++id)
            if (const Unit* unit = field.world.state.units.withId(id)) field.give(*unit, kill);
        field.tick();
        EXPECT_EQ(field.world.state.units.count(), 20U);
        return hashState(field.world);
    };
    const StateHash first = play(1);
    EXPECT_EQ(play(1), first);
    EXPECT_EQ(play(3), first);
}

TEST(World, HashesAndDumpsNameWhatDiffers) {
    Battlefield one, other;
    for (Battlefield* field : {&one, &other}) field->place(turretType(nullptr), 1, 320, 320);
    EXPECT_EQ(hashState(one.world), hashState(other.world));
    Unit& unit = *other.world.state.units.withId(1);
    unit.weapons[1].readyAt = 5;
    const StateHash before = hashState(one.world), after = hashState(other.world);
    for (std::size_t part = 0; part < kStatePartNames.size(); ++part)
        EXPECT_EQ(before.parts.at(part) == after.parts.at(part), part != 0) << part;
    const std::string dump = dumpState(one.world), changed = dumpState(other.world);
    const auto [at, otherAt] = std::ranges::mismatch(dump, changed);
    const std::size_t line = dump.rfind('\n', static_cast<std::size_t>(at - dump.begin())) + 1;
    EXPECT_EQ(dump.substr(line, dump.find(' ', line) - line),
              "units.units.unit.weapons.element.readyAt");

    unit.weapons[1].readyAt = 0;
    unit.orders.push_back({});
    EXPECT_NE(hashState(other.world).parts[static_cast<std::size_t>(StatePart::orders)],
              before.parts[static_cast<std::size_t>(StatePart::orders)]);
    unit.orders.clear();
    other.world.state.scripts.of(unit)->statics[0] = 1;
    EXPECT_NE(hashState(other.world).parts[static_cast<std::size_t>(StatePart::scripts)],
              before.parts[static_cast<std::size_t>(StatePart::scripts)]);
}

}  // namespace
}  // namespace orb::sim
