#include "sim/sight/sight.h"

#include <gtest/gtest.h>

#include "sim/battlefield.h"
#include "sim/numbers/random.h"
#include "sim/scripts/script_values.h"
#include "sim/sight/cloak.h"

namespace orb::sim {
namespace {

TileHeights levelGround(std::int32_t side, std::uint8_t height) {
    TileHeights ground;
    ground.width = ground.depth = side;
    ground.heights.assign(static_cast<std::size_t>(side * side), height);
    return ground;
}

Look lookFrom(std::int32_t x, std::int32_t z, std::int32_t eye, std::int32_t distance) {
    return {1, x, z, eye, distance};
}

/// What is seen, as rows of # and dots.
std::vector<std::string> picture(const TileHeights& ground, const Look& look) {
    SightScratch scratch;
    std::vector<TileRun> seen;
    findSeen(ground, look, scratch, seen);
    std::vector<std::string> rows(static_cast<std::size_t>(ground.depth),
                                  std::string(static_cast<std::size_t>(ground.width), '.'));
    for (const auto& [x, z, length] : seen) rows[z].replace(x, length, length, '#');
    return rows;
}

TEST(LineOfSight, ReachesAsFarAsTheDistanceOnLevelGround) {
    EXPECT_EQ(picture(levelGround(7, 20), lookFrom(3, 3, 36, 64)),
              (std::vector<std::string>{".......", "...#...", "..###..", ".#####.", "..###..",
                                        "...#...", "......."}));
    // At the map's corner, and beyond every limit.
    EXPECT_EQ(picture(levelGround(3, 20), lookFrom(0, 0, 36, 40)),
              (std::vector<std::string>{"##.", "#..", "..."}));
    EXPECT_EQ(picture(levelGround(2, 0), lookFrom(1, 1, 8'191, kMaxSightTiles * kTilePixels)),
              (std::vector<std::string>{"##", "##"}));
}

TEST(LineOfSight, HillsHideWhatLiesBehindThem) {
    TileHeights ground = levelGround(9, 20);
    for (std::size_t z = 2; z < 7; ++z) ground.heights[z * 9 + 4] = 90;
    const std::string row = picture(ground, lookFrom(1, 4, 40, 400))[4];
    EXPECT_EQ(row, "#####....");
    // Who stands higher looks over it, and where hills hide nothing so does everybody.
    EXPECT_EQ(picture(ground, lookFrom(1, 4, 400, 400))[4], "#########");
    ground.hides = false;
    EXPECT_EQ(picture(ground, lookFrom(1, 4, 40, 400))[4], "#########");
}

TEST(LineOfSight, IsTheSameInEveryDirection) {
    constexpr std::int32_t kSide = 31;
    TileHeights ground = levelGround(kSide, 0);
    TileHeights turned = ground, mirrored = ground;
    const auto index = [](std::int32_t x, std::int32_t z) {
        return static_cast<std::size_t>(z * kSide + x);
    };
    for (std::int32_t z = 0; z < kSide; ++z)
        for (std::int32_t x = 0; x < kSide; ++x) {
            const auto height = static_cast<std::uint8_t>(
                randomBetween({.seed = 3, .id = static_cast<std::uint32_t>(index(x, z))}, 0, 60));
            ground.heights[index(x, z)] = height;
            turned.heights[index(kSide - 1 - z, x)] = height;
            mirrored.heights[index(kSide - 1 - x, z)] = height;
        }
    const Look look = lookFrom(kSide / 2, kSide / 2, 50, 15 * kTilePixels);
    const auto seen = picture(ground, look), seenTurned = picture(turned, look),
               seenMirrored = picture(mirrored, look);
    std::size_t count = 0;
    for (std::size_t z = 0; z < kSide; ++z)
        for (std::size_t x = 0; x < kSide; ++x) {
            count += seen[z][x] == '#' ? 1 : 0;
            EXPECT_EQ(seen[z][x], seenTurned[x][kSide - 1 - z]);
            EXPECT_EQ(seen[z][x], seenMirrored[z][kSide - 1 - x]);
        }
    EXPECT_GT(count, 50U);
    EXPECT_LT(count, 600U);
}

std::shared_ptr<UnitType> scout(std::int32_t sight) {
    auto type = dummyType();
    type->isBuilding = false;
    type->sightDistance = sight;
    return type;
}

std::shared_ptr<UnitType> blind() {
    return scout(0);
}

std::size_t seenTiles(const Battlefield& field, std::int32_t player) {
    const auto known = knowledgeOf(field.world, player);
    return static_cast<std::size_t>(std::ranges::count(known, Knowledge::sight));
}

OrderRequest orderOf(OrderKind kind) {
    OrderRequest order;
    order.kind = kind;
    return order;
}

TEST(Sight, FollowsItsUnitsAndEndsWithThem) {
    Battlefield field;
    Unit& one = field.place(scout(200), 1, 320, 320);
    Unit& other = field.place(scout(200), 1, 330, 330);
    const std::size_t alone = seenTiles(field, 1);
    EXPECT_GT(alone, 100U);
    moveUnitTo(field.world, other, at(900, 900));
    EXPECT_EQ(seenTiles(field, 1), 2 * alone);

    // Another's eyes from the next tick on, as after a capture.
    other.player = 2;
    field.tick();
    EXPECT_EQ(seenTiles(field, 1), alone);
    EXPECT_EQ(seenTiles(field, 2), alone);
    // Nobody looks out of what carries him.
    one.carrier = other.ref();
    field.tick();
    EXPECT_EQ(seenTiles(field, 1), 0U);
    EXPECT_FALSE(sees(field.world, 2, one));
    one.carrier = {};
    field.tick();
    EXPECT_EQ(seenTiles(field, 1), alone);
    field.give(one, orderOf(OrderKind::kill));
    removeUnit(field.world, other);
    EXPECT_EQ(seenTiles(field, 1) + seenTiles(field, 2), 0U);
}

TEST(Sight, DoesNotDependOnWhatIsDropped) {
    Battlefield field(flatMap(80, 80, 20, 0), 3);
    auto runner = scout(300);
    runner->canMove = true;
    runner->movement.maxSpeed = px(6);
    runner->movement.acceleration = runner->movement.brakeRate = px(1);
    runner->movement.turnRate = 4'000;
    for (int i = 0; i < 20; ++i) {
        Unit& unit = field.place(runner, 1 + i % 2, 100 + 40 * i, 200);
        OrderRequest order = orderOf(OrderKind::move);
        order.place = at(1'100 - 40 * i, 1'000);
        field.give(unit, order);
    }
    for (int i = 0; i < 60; ++i) {
        field.tick();
        const auto known = knowledgeOf(field.world, 1);
        dropDerived(field.world);
        ASSERT_EQ(knowledgeOf(field.world, 1), known);
    }
}

TEST(Sight, WeaponsChooseWhatTheirPlayerSees) {
    auto shortSighted = turretType(weaponType(Flight::straight, 400));
    shortSighted->sightDistance = 100;
    Battlefield field;
    Unit& turret = field.place(shortSighted, 1, 320, 320);
    Unit& enemy = field.place(blind(), 2, 620, 320);
    field.tick(60);
    EXPECT_TRUE(field.all<Fired>().empty());
    // Somebody else's eyes will do, and so does an order.
    OrderRequest attack = orderOf(OrderKind::attack);
    attack.target = enemy.id;
    field.give(turret, attack);
    EXPECT_TRUE(field.tickUntil<Fired>(60));
    field.give(turret, orderOf(OrderKind::stop));
    field.tick(30);
    field.forget();
    field.tick(60);
    EXPECT_TRUE(field.all<Fired>().empty());
    field.place(scout(150), 1, 560, 320);
    EXPECT_TRUE(field.tickUntil<Fired>(60));
}

struct Reach {
    std::int32_t radar = 0;
    std::int32_t sonar = 0;
    std::int32_t radarJam = 0;
    std::int32_t sonarJam = 0;
    bool aimsByRadar = false;
};

std::shared_ptr<UnitType> tower(const Reach& reach) {
    auto type = dummyType();
    type->sightDistance = 0;
    type->senses.radar = reach.radar;
    type->senses.sonar = reach.sonar;
    type->senses.radarJam = reach.radarJam;
    type->senses.sonarJam = reach.sonarJam;
    type->senses.aimsByRadar = reach.aimsByRadar;
    return type;
}

TEST(Radar, FindsWhatIsNotJammedWhileItWorks) {
    Battlefield field;
    Unit& radar = field.place(tower({.radar = 600}), 1, 320, 320);
    Unit& near = field.place(blind(), 2, 800, 320);
    Unit& far = field.place(blind(), 2, 930, 320);
    auto shy = blind();
    shy->senses.isStealthy = true;
    Unit& stealthy = field.place(shy, 2, 500, 320);
    field.tick();
    EXPECT_TRUE(hasOnRadar(1, near));
    EXPECT_FALSE(hasOnRadar(2, near));
    EXPECT_FALSE(sees(field.world, 1, near));
    EXPECT_FALSE(hasOnRadar(1, far));
    EXPECT_FALSE(hasOnRadar(1, stealthy));
    const auto known = knowledgeOf(field.world, 1);
    EXPECT_EQ(known[10 * 40 + 25], Knowledge::radar);
    EXPECT_EQ(known[10 * 40 + 35], Knowledge::nothing);

    Unit& jammer = field.place(tower({.radarJam = 200}), 2, 800, 400);
    field.tick();
    EXPECT_FALSE(hasOnRadar(1, near));
    EXPECT_FALSE(hasOnRadar(1, jammer));
    // Its own player is not jammed.
    Unit& other = field.place(blind(), 1, 780, 360);
    field.place(tower({.radar = 400}), 2, 1'000, 400);
    field.tick();
    EXPECT_TRUE(hasOnRadar(2, other));

    jammer.isActive = false;
    field.tick();
    EXPECT_TRUE(hasOnRadar(1, near));
    radar.stunnedUntil = field.world.state.tick + 2;
    field.tick();
    EXPECT_FALSE(hasOnRadar(1, near));
}

TEST(Radar, SonarFindsWhatIsInTheWater) {
    Battlefield field(flatMap(80, 80, 20, 80));
    field.place(tower({.sonar = 600}), 1, 320, 320);
    field.place(tower({.radar = 600}), 3, 320, 320);
    auto ship = blind();
    ship->floats = true;
    ship->waterline = 4;
    Unit& afloat = field.place(ship, 2, 500, 320);
    Unit& diver = field.place(blind(), 2, 600, 320);
    auto plane = blind();
    plane->canFly = true;
    Unit& above = field.place(plane, 2, 700, 320);
    field.tick();
    EXPECT_TRUE(hasOnRadar(1, afloat) && hasOnRadar(3, afloat));
    EXPECT_TRUE(hasOnRadar(1, diver));
    EXPECT_FALSE(hasOnRadar(3, diver));
    EXPECT_FALSE(hasOnRadar(1, above));
    EXPECT_TRUE(hasOnRadar(3, above));
    field.place(tower({.sonarJam = 300}), 2, 600, 400);
    field.tick();
    EXPECT_FALSE(hasOnRadar(1, diver));
    EXPECT_FALSE(hasOnRadar(1, afloat));
    EXPECT_TRUE(hasOnRadar(3, afloat));
}

TEST(Radar, AimsWeaponsWithTheUpgrade) {
    auto shortSighted = turretType(weaponType(Flight::straight, 400));
    shortSighted->sightDistance = 64;
    Battlefield field;
    field.place(shortSighted, 1, 320, 320);
    field.place(tower({.radar = 600}), 1, 320, 420);
    field.place(blind(), 2, 620, 320);
    field.tick(60);
    EXPECT_TRUE(field.all<Fired>().empty());
    Unit& upgrade = field.place(tower({.aimsByRadar = true}), 1, 320, 520);
    EXPECT_TRUE(field.tickUntil<Fired>(60));
    upgrade.isActive = false;
    field.tick(60);
    field.forget();
    field.tick(60);
    EXPECT_TRUE(field.all<Fired>().empty());
}

/// Hides for 30 of energy a second, and 90 while it moves.
std::shared_ptr<UnitType> veiled() {
    auto type = scout(200);
    type->canMove = true;
    type->movement.maxSpeed = px(2);
    type->movement.acceleration = type->movement.brakeRate = px(1);
    type->movement.turnRate = 4'000;
    type->senses.canCloak = true;
    type->senses.cloakCost = Amount::fromInt(30);
    type->senses.movingCloakCost = Amount::fromInt(90);
    type->senses.uncloakDistance = px(100);
    return type;
}

struct Hiding {
    Battlefield field;
    Unit& unit;

    explicit Hiding(const std::shared_ptr<UnitType>& type = veiled())
        : unit(field.place(type, 1, 320, 320)) {
        energy().amount = energy().ownStorage = Amount::fromInt(1'000);
        field.give(unit, orderOf(OrderKind::cloak));
    }
    Stock& energy() { return field.world.state.players[0].energy; }
};

TEST(Cloak, CostsEnergyAndEndsWithoutIt) {
    Hiding hiding;
    Battlefield& field = hiding.field;
    field.tick();
    EXPECT_TRUE(hiding.unit.cloak.isOn);
    EXPECT_EQ(scriptValue(field.world, hiding.unit, 77, 0), 1);
    field.tick(30);
    EXPECT_EQ(hiding.energy().amount, Amount::fromInt(970));
    OrderRequest walk = orderOf(OrderKind::move);
    walk.place = at(900, 320);
    field.give(hiding.unit, walk);
    field.tick(10);
    const Amount before = hiding.energy().amount;
    field.tick(30);
    EXPECT_EQ(before - hiding.energy().amount, Amount::fromInt(90));

    hiding.energy().amount = Amount::fromInt(1);
    field.tick(3);
    EXPECT_FALSE(hiding.unit.cloak.isOn);
    // A second's price hides it again, and for that it takes some time.
    hiding.energy().amount = Amount::fromInt(500);
    field.tick(60);
    EXPECT_FALSE(hiding.unit.cloak.isOn);
    field.tick(40);
    EXPECT_TRUE(hiding.unit.cloak.isOn);
    field.give(hiding.unit, orderOf(OrderKind::decloak));
    EXPECT_FALSE(hiding.unit.cloak.isOn);
    field.tick(120);
    EXPECT_FALSE(hiding.unit.cloak.isOn);
}

TEST(Cloak, HidesFromEnemiesUntilTheyAreNear) {
    Hiding hiding;
    Battlefield& field = hiding.field;
    field.tick();
    Unit& turret = field.place(turretType(weaponType(Flight::straight, 400)), 2, 620, 320);
    OrderRequest attack = orderOf(OrderKind::attack);
    attack.target = hiding.unit.id;
    field.give(turret, attack);
    field.tick(60);
    EXPECT_TRUE(field.all<Fired>().empty());
    EXPECT_FALSE(sees(field.world, 2, hiding.unit));
    EXPECT_TRUE(sees(field.world, 1, hiding.unit));

    field.place(blind(), 2, 400, 320);
    EXPECT_TRUE(field.tickUntil<Fired>(60));
    EXPECT_FALSE(hiding.unit.cloak.isOn);
}

TEST(Cloak, FiringGivesAway) {
    auto type = veiled();
    type->weapons[0] = weaponType(Flight::straight, 300);
    type->sightDistance = 400;
    type->senses.uncloakDistance = {};
    Hiding hiding(type);
    hiding.field.tick();
    EXPECT_TRUE(hiding.unit.cloak.isOn);
    hiding.field.place(blind(), 2, 320, 520);
    ASSERT_TRUE(hiding.field.tickUntil<Fired>(60));
    EXPECT_FALSE(hiding.unit.cloak.isOn);
}

TEST(Cloak, OnlyWhoCan) {
    Battlefield field;
    const Unit& plain = field.place(dummyType(), 1, 320, 320);
    const std::int64_t id = plain.id;
    EXPECT_EQ(giveOrder(field.world, field.scratch, {&id, 1}, orderOf(OrderKind::cloak)),
              std::vector<OrderAnswer>{OrderRefusal::cannotCloak});
    auto born = veiled();
    born->senses.beginsCloaked = true;
    born->senses.cloakCost = {};
    const Unit& hidden = field.place(born, 1, 520, 520);
    field.tick();
    EXPECT_TRUE(hidden.cloak.isOn);
}

TEST(Stun, StopsMovingFiringBuildingAndProducing) {
    Battlefield field;
    auto type = turretType(weaponType(Flight::straight, 400));
    type->isBuilding = false;
    type->canMove = true;
    type->movement.maxSpeed = px(2);
    type->movement.acceleration = type->movement.brakeRate = px(0.01);
    type->movement.turnRate = 100;
    type->economy.metalMake = Amount::fromInt(30);
    type->economy.metalStorage = Amount::fromInt(500);
    Unit& unit = field.place(type, 1, 320, 320);
    OrderRequest walk = orderOf(OrderKind::move);
    walk.place = at(320, 900);
    field.give(unit, walk);
    field.tick(60);
    ASSERT_GT(unit.motion.speed, Fixed());
    auto net = weaponType(Flight::straight);
    net->isParalyzer = true;
    net->damage = Amount::fromInt(90);
    field.scratch.begin(field.world.state.units.slotCount());
    field.scratch.impacts.push_back({net, unit.position(), unit.ref(), 0, {}, {}});
    stepDamage(field.world, field.scratch);
    field.place(blind(), 2, 320, 620);
    const GroundPoint place = unit.place;
    const Angle heading = unit.heading;
    const Amount metal = field.world.state.players[0].metal.amount;
    field.forget();
    field.tick(85);
    EXPECT_EQ(unit.place, place);
    EXPECT_EQ(unit.heading, heading);
    EXPECT_TRUE(field.all<Fired>().empty());
    EXPECT_EQ(field.world.state.players[0].metal.amount, metal);
    EXPECT_GE(field.world.state.players[0].metal.storage, Amount::fromInt(500));
    field.tick(90);
    EXPECT_NE(unit.place, place);
    EXPECT_FALSE(field.all<Fired>().empty());
    EXPECT_GT(field.world.state.players[0].metal.amount, metal);
}

std::shared_ptr<WeaponType> roc() {
    auto weapon = weaponType(Flight::vertical, 2'000);
    weapon->name = "ROC";
    weapon->isStockpiled = weapon->isCommandFire = weapon->isTargetable = true;
    weapon->reload = 60;
    weapon->tolerance = weapon->pitchTolerance = 32'000;
    weapon->energyPerShot = Amount::fromInt(100);
    weapon->metalPerShot = Amount::fromInt(7);
    return weapon;
}

void setStocks(Battlefield& field, std::size_t player, std::int64_t metal, std::int64_t energy) {
    Player& stocks = field.world.state.players[player];
    stocks.metal.amount = stocks.metal.ownStorage = Amount::fromInt(metal);
    stocks.energy.amount = stocks.energy.ownStorage = Amount::fromInt(energy);
}

OrderRequest fireAt(double x, double z) {
    OrderRequest order = orderOf(OrderKind::fire);
    order.place = at(x, z);
    return order;
}

TEST(Stockpile, IsMadeAheadForItsExactPriceAndThenFired) {
    Battlefield field;
    setStocks(field, 0, 1'000, 10'000);
    Unit& silo = field.place(turretType(roc()), 1, 320, 320);
    const Stockpile& stockpile = silo.weapons[0].stockpile;
    field.give(silo, fireAt(900, 900));
    field.tick(59);
    EXPECT_EQ(stockpile.shots, 0);
    EXPECT_TRUE(field.all<Fired>().empty());
    field.tick();
    EXPECT_EQ(field.world.state.players[0].energy.spent, Amount::fromInt(100));
    EXPECT_EQ(field.world.state.players[0].metal.spent, Amount::fromInt(7));
    EXPECT_NEAR(field.world.state.players[0].energy.drain.toNumber(), 50, 0.01);
    EXPECT_TRUE(field.tickUntil<Fired>(30));
    EXPECT_EQ(stockpile.shots, 0);
    // No more than there is room for.
    field.tick(60 * (rules::kStockpile + 2));
    EXPECT_EQ(stockpile.shots, rules::kStockpile);
    EXPECT_EQ(field.world.state.players[0].energy.spent,
              Amount::fromInt(100 * (rules::kStockpile + 1)));
    EXPECT_EQ(field.all<Fired>().size(), 1U);
}

TEST(Stockpile, WaitsForWhatItCosts) {
    Battlefield field;
    setStocks(field, 0, 1'000, 50);
    Unit& silo = field.place(turretType(roc()), 1, 320, 320);
    field.tick(200);
    EXPECT_EQ(silo.weapons[0].stockpile.shots, 0);
    EXPECT_LT(field.world.state.players[0].energy.amount, Amount::fromInt(1));
    EXPECT_GE(field.world.state.players[0].energy.amount, Amount());
}

std::shared_ptr<WeaponType> shooer(double coverage) {
    auto weapon = weaponType(Flight::vertical, 2'000);
    weapon->name = "SHOOER";
    weapon->isInterceptor = weapon->isCommandFire = true;
    weapon->coverage = px(coverage);
    weapon->turnPerTick = 8'000;
    weapon->speed = weapon->startSpeed = px(20);
    weapon->tolerance = weapon->pitchTolerance = 32'000;
    weapon->damage = Amount::fromInt(1);
    return weapon;
}

/// A roc is thrown at a camp beside which an interceptor stands.
struct Raid {
    Battlefield field;
    Unit& silo;
    Unit& camp;

    explicit Raid(double coverage, std::int32_t player = 2, int guards = 1)
        : silo(field.place(turretType(roc()), 1, 200, 200)),
          camp(field.place(dummyType(10'000), 2, 1'000, 1'000)) {
        setStocks(field, 0, 1'000, 1'000);
        for (int i = 0; i < guards; ++i)
            field.place(turretType(shooer(coverage)), player, 1'100, 1'000 + 50 * i);
        silo.weapons[0].stockpile.shots = 1;
        field.give(silo, fireAt(1'000, 1'000));
        field.tick(400);
    }
    std::size_t fired(std::string_view weapon) const {
        const auto all = field.all<Fired>();
        return static_cast<std::size_t>(
            std::ranges::count(all, weapon, [](const Fired& fired) { return fired.weapon; }));
    }
};

TEST(Interceptor, MeetsWhatIsMeantForItsCoverage) {
    const Raid raid(300);
    EXPECT_EQ(raid.fired("SHOOER"), 1U);
    const auto hits = raid.field.all<Hit>();
    ASSERT_EQ(hits.size(), 2U);
    EXPECT_GT(hits[0].place.y, px(100));
    EXPECT_EQ(raid.camp.health, Amount::fromInt(10'000));
    EXPECT_TRUE(raid.field.world.state.projectiles.all.empty());
}

TEST(Interceptor, LeavesAloneWhatIsMeantForElsewhereOrIsItsOwn) {
    for (const Raid& raid : {Raid(60), Raid(300, 1)}) {
        EXPECT_EQ(raid.fired("SHOOER"), 0U);
        EXPECT_LT(raid.camp.health, Amount::fromInt(10'000));
    }
}

TEST(Interceptor, OneIsEnough) {
    EXPECT_EQ(Raid(400, 2, 4).fired("SHOOER"), 1U);
}

TEST(Sight, EndsInTimeWhateverFilesSay) {
    auto everything = turretType(shooer(kMaxRange));
    everything->weapons[1] = roc();
    everything->weapons[2] = weaponType(Flight::straight, kMaxRange);
    everything->sightDistance = 32'767;
    everything->senses = {.radar = 32'767,
                          .sonar = 32'767,
                          .radarJam = 32'767,
                          .sonarJam = 32'767,
                          .aimsByRadar = true,
                          .canCloak = true,
                          .beginsCloaked = true,
                          .cloakCost = Amount::fromInt(Amount::kMost),
                          .movingCloakCost = Amount::fromInt(Amount::kMost),
                          .uncloakDistance = Fixed::fromInt(32'767)};
    Battlefield field;
    for (int i = 0; i < 300; ++i)
        field.place(everything, 1 + i % 10, 100 + i % 20 * 50, 100 + i / 20 * 50);
    field.tick(40);
    dropDerived(field.world);
    field.tick();
    SUCCEED();
}

}  // namespace
}  // namespace orb::sim
