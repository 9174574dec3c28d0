#include "sim/battlefield.h"
#include "sim/fight/damage.h"
#include "sim/fight/projectiles.h"
#include "sim/fight/remains.h"

namespace orb::sim {
namespace {

struct Duel {
    Battlefield field;
    Unit& turret;
    Unit& target;

    Duel(const std::shared_ptr<WeaponType>& weapon, double distance,
         const io::TntFile& map = flatMap(80, 80, 20, 0))
        : field(map),
          turret(field.place(turretType(weapon), 1, 320, 320)),
          target(field.place(dummyType(1'000), 2, 320 + distance, 320)) {}
};

TEST(Projectiles, EveryFlightMeetsItsTarget) {
    for (const Flight flight :
         {Flight::straight, Flight::ballistic, Flight::guided, Flight::vertical, Flight::cruise}) {
        Duel duel(weaponType(flight, 500), 380);
        duel.field.tick(400);
        const auto hits = duel.field.all<Hit>();
        ASSERT_FALSE(hits.empty()) << static_cast<int>(flight);
        ASSERT_EQ(hits[0].damaged.size(), 1U) << static_cast<int>(flight);
        EXPECT_EQ(hits[0].damaged[0].unitId, duel.target.id);
        EXPECT_EQ(hits[0].damaged[0].damage, Amount::fromInt(40));
        EXPECT_EQ(duel.field.world.state.projectiles.refused, 0U);
    }
}

TEST(Projectiles, ClimbersAndCruisersKeepTheirHeight) {
    for (const Flight flight : {Flight::vertical, Flight::cruise}) {
        Duel duel(weaponType(flight, 900), 800);
        Fixed highest;
        for (int i = 0; i < 200; ++i) {
            duel.field.tick();
            for (const Projectile& shot : duel.field.world.state.projectiles.all)
                highest = std::max(highest, shot.place.y);
        }
        EXPECT_GT(highest, px(20 + 200)) << static_cast<int>(flight);
        EXPECT_FALSE(duel.field.all<Hit>().empty());
    }
}

TEST(Projectiles, ClimbersComeDownOnWhatIsNear) {
    for (const double distance : {80.0, 140.0, 220.0, 300.0}) {
        const auto climber = weaponType(Flight::vertical, 500);
        climber->speed = climber->startSpeed = px(10);
        climber->turnPerTick = 666;
        Duel duel(climber, distance);
        ASSERT_TRUE(duel.field.tickUntil<Hit>(400)) << distance;
        EXPECT_EQ(duel.field.all<Hit>()[0].damaged.size(), 1U) << distance;
    }
}

TEST(Projectiles, BombsFallOntoWhatIsBelow) {
    const auto bomb = weaponType(Flight::dropped, 300);
    auto bomber = turretType(bomb, "");
    bomber->isBuilding = false;
    bomber->canFly = true;
    Battlefield field;
    Unit& plane = field.place(bomber, 1, 640, 640);
    plane.altitude = px(120);
    const Unit& target = field.place(dummyType(), 2, 640, 640);
    field.tick(60);
    ASSERT_FALSE(field.all<Hit>().empty());
    EXPECT_EQ(field.all<Hit>()[0].damaged.at(0).unitId, target.id);
}

TEST(Projectiles, TorpedoesStayInTheWater) {
    io::TntFile sea = flatMap(80, 80, 20, 80);
    for (std::size_t z = 0; z < 80; ++z)
        for (std::size_t x = 50; x < 80; ++x) cellOf(sea, x, z).height = 120;
    const auto torpedo = weaponType(Flight::guided, 900);
    torpedo->isWaterWeapon = true;
    auto ship = turretType(torpedo);
    ship->isBuilding = false;
    ship->floats = true;
    Battlefield field(sea);
    field.place(ship, 1, 320, 320);
    const auto hull = dummyType();
    hull->isBuilding = false;
    hull->floats = true;
    hull->waterline = 6;
    const Unit& target = field.place(hull, 2, 700, 320);
    const Unit& ashore = field.place(dummyType(), 2, 320 + 560, 360);
    for (int i = 0; i < 90; ++i) {
        field.tick();
        for (const Projectile& shot : field.world.state.projectiles.all) {
            const bool hasDived = field.world.state.tick - shot.bornAt > 20;
            EXPECT_TRUE(!hasDived || shot.place.y <= px(80));
        }
    }
    EXPECT_LT(target.health, Amount::fromInt(100));
    EXPECT_EQ(ashore.health, Amount::fromInt(100));
}

TEST(Projectiles, TorpedoesHitWhateverSwims) {
    const io::TntFile sea = flatMap(80, 80, 20, 80);
    const auto ship = [](double height, std::int32_t waterline) {
        const auto hull = dummyType();
        hull->isBuilding = false;
        hull->floats = true;
        hull->footprintX = hull->footprintZ = 1;
        hull->height = px(height);
        hull->waterline = waterline;
        return hull;
    };
    const auto hovercraft = ship(20, 0);
    hovercraft->limits.canHover = true;
    for (const Flight flight : {Flight::straight, Flight::guided})
        for (const auto& [hull, isHit] :
             {std::pair{ship(10, 6), true}, std::pair{ship(60, 6), true},
              std::pair{ship(20, 0), true}, std::pair{hovercraft, false}}) {
            const auto torpedo = weaponType(flight, 500);
            torpedo->isWaterWeapon = true;
            torpedo->needsFreeLine = false;
            const auto attacker = turretType(torpedo);
            attacker->isBuilding = false;
            attacker->floats = true;
            Battlefield field(sea);
            field.place(attacker, 1, 320, 320);
            const Unit& target = field.place(hull, 2, 620, 320);
            field.tick(150);
            EXPECT_EQ(target.health < Amount::fromInt(100), isHit) << hull->height.toNumber();
        }
}

TEST(Projectiles, EndAtTheirRangeAndAtTheEdge) {
    const auto gun = weaponType(Flight::straight, 100);
    Battlefield field;
    Unit& turret = field.place(turretType(gun), 1, 640, 640);
    const auto shootAt = [&](const std::shared_ptr<WeaponType>& type) {
        field.forget();
        launch(field.world, turret,
               {type, {px(640), px(60), px(640)}, Angle::fromDegrees(90), {}, {}, {}, 0});
        field.tick(300);
        EXPECT_TRUE(field.world.state.projectiles.all.empty());
        return field.all<Hit>();
    };
    EXPECT_TRUE(shootAt(gun).empty());
    gun->burstsAtEnd = true;
    ASSERT_EQ(shootAt(gun).size(), 1U);
    EXPECT_NEAR(field.all<Hit>()[0].place.x.toNumber(), 640 + 100 + 32, 12);
    gun->range = px(5'000);
    EXPECT_TRUE(shootAt(gun).empty());  // over the edge
}

TEST(Projectiles, SomeGoOnThroughWhatTheyHit) {
    const auto gun = weaponType(Flight::straight, 600);
    gun->goesOn = gun->slidesOverGround = true;
    Battlefield field;
    Unit& turret = field.place(turretType(nullptr, ""), 1, 320, 320);
    std::vector<const Unit*> row;
    for (int i = 1; i < 4; ++i) row.push_back(&field.place(dummyType(), 2, 320 + 100 * i, 320));
    launch(field.world, turret,
           {gun,
            {px(330), px(30), px(320)},
            Angle::fromDegrees(90),
            Angle::fromDegrees(-20),
            {},
            {},
            0});
    field.tick(60);
    for (const Unit* unit : row) EXPECT_EQ(unit->health, Amount::fromInt(60));
}

TEST(Damage, FallsTowardsTheEdgeAndOffArmour) {
    const auto shell = weaponType(Flight::ballistic);
    shell->damage = Amount::fromInt(100);
    shell->unitDamage = {{"DUMMY", Amount::fromInt(200)}};
    shell->damageRadius = px(50);
    shell->edgeShare = px(0.5);
    EXPECT_EQ(shell->damageTo("dummy"), Amount::fromInt(200));
    EXPECT_EQ(shell->damageTo("dumm"), Amount::fromInt(100));
    EXPECT_EQ(shell->damageAt(px(0), Amount::fromInt(100)), Amount::fromInt(100));
    EXPECT_EQ(shell->damageAt(px(25), Amount::fromInt(100)), Amount::fromInt(75));
    EXPECT_EQ(shell->damageAt(px(50), Amount::fromInt(100)), Amount::fromInt(50));
    EXPECT_EQ(shell->damageAt(px(50.1), Amount::fromInt(100)), Amount());
    auto exact = *shell;
    exact.damageRadius = px(3);
    exact.edgeShare = px(0);
    EXPECT_EQ(exact.damageAt(px(1), Amount::fromInt(kMaxDamage)).raw(), 43'690'666'666'667);

    Battlefield field;
    const Unit& middle = field.place(dummyType(1'000), 2, 320, 320);
    const Unit& beside = field.place(dummyType(1'000), 1, 320 + 48, 320);  // its edge 32 away
    Unit& armored = field.place(
        [] {
            const auto type = dummyType(1'000);
            type->damageModifier = px(0.25);
            return type;
        }(),
        2, 320, 320 - 48);
    armored.values.isArmored = true;
    const Unit& above = field.place(dummyType(1'000), 2, 320, 320 + 64);
    field.world.state.units.withId(above.id)->altitude = px(400);
    field.scratch.impacts.push_back({shell, {px(320), px(25), px(320)}, middle.ref(), 0, {}, {}});
    stepDamage(field.world, field.scratch);
    EXPECT_EQ(middle.health, Amount::fromInt(800));
    EXPECT_NEAR(beside.health.toNumber(), 1'000 - 200 * 0.68, 0.01);
    EXPECT_NEAR(armored.health.toNumber(), 1'000 - 200 * 0.68 * 0.25, 0.01);
    EXPECT_EQ(above.health, Amount::fromInt(1'000));
    ASSERT_EQ(field.all<Hit>().size(), 1U);
    EXPECT_EQ(field.all<Hit>()[0].damaged.size(), 3U);
}

TEST(Damage, ParalyzedUnitsDoNothingForAWhile) {
    const auto net = weaponType(Flight::straight);
    net->isParalyzer = true;
    net->damage = Amount::fromInt(50);
    Battlefield field;
    Unit& turret = field.place(turretType(weaponType(Flight::straight)), 1, 320, 320);
    field.place(dummyType(), 2, 420, 320);
    field.scratch.impacts.push_back({net, turret.position(), turret.ref(), 0, {}, {}});
    stepDamage(field.world, field.scratch);
    EXPECT_EQ(turret.health, Amount::fromInt(100));
    field.tick(49);
    EXPECT_TRUE(field.all<Aimed>().empty());
    field.tick(40);
    EXPECT_FALSE(field.all<Fired>().empty());
}

/// Three features that follow each other.
void addWrecks(Battlefield& field) {
    for (const auto& [name, follower] : {std::pair{"Heap", -1}, {"Wreck", 0}, {"Hulk", 1}}) {
        FeatureType type;
        type.name = name;
        type.isBlocking = true;
        type.footprintX = type.footprintZ = 2;
        type.health = Amount::fromInt(30);
        type.follower = follower;
        field.world.frame.featureTypes.push_back(type);
    }
}

TEST(Death, LeavesTheCorpseThatItsScriptNames) {
    for (const auto& [severity, number, name] :
         {std::tuple{10.0, 1, "Hulk"}, {40.0, 2, "Wreck"}, {90.0, 3, "Heap"}}) {
        Battlefield field;
        addWrecks(field);
        const auto type = turretType(nullptr);
        type->corpse = 2;
        const Unit& turret = field.place(type, 1, 320, 320, 90);
        const UnitRef ref = turret.ref();
        OrderRequest order;
        order.kind = OrderKind::kill;
        order.value = severity;
        field.give(turret, order);
        EXPECT_FALSE(field.world.state.units.find(ref));
        ASSERT_EQ(field.all<Killed>().size(), 1U);
        EXPECT_EQ(field.all<Killed>()[0].severity, severity);
        EXPECT_EQ(field.all<Killed>()[0].corpseType, number);
        EXPECT_EQ(field.all<Killed>()[0].corpse, name);
        EXPECT_EQ(field.all<Explode>().size(), 1U);
        ASSERT_EQ(field.all<CorpseLeft>().size(), 1U);
        EXPECT_EQ(field.all<CorpseLeft>()[0].name, name);
        const Feature* corpse = field.world.state.features.find(1);
        ASSERT_TRUE(corpse);
        EXPECT_EQ(corpse->place, at(320, 320));
        EXPECT_EQ(corpse->heading, Angle::fromDegrees(90));
    }
}

TEST(Death, WrecksGiveWayToWhatFollowsThem) {
    Battlefield field;
    addWrecks(field);
    placeFeature(field.world, 2, {10, 10});
    damageFeature(field.world, 1, Amount::fromInt(29));
    EXPECT_TRUE(field.all<FeatureGone>().empty());
    damageFeature(field.world, 1, Amount::fromInt(1));
    damageFeature(field.world, 2, Amount::fromInt(500));
    damageFeature(field.world, 3, Amount::fromInt(500));
    damageFeature(field.world, 3, Amount::fromInt(500));
    EXPECT_EQ(field.all<FeatureGone>().size(), 3U);
    EXPECT_TRUE(field.world.state.features.all().empty());
    EXPECT_TRUE(field.world.state.occupancy.isFree(Cell{10, 10}));
}

TEST(Death, ExplosionsSetOffOneAnotherAndEnd) {
    const auto blast = weaponType(Flight::straight);
    blast->damageRadius = px(40);
    blast->edgeShare = px(1);
    blast->damage = Amount::fromInt(1'000);
    const auto bomb = dummyType();
    bomb->explodeAs = blast;
    bomb->footprintX = bomb->footprintZ = 1;
    bomb->yard = "o";
    Battlefield field(flatMap(180, 180, 20, 0));
    for (int i = 0; i < 5'000; ++i)
        field.place(bomb, 1 + i % 3, 32 + 32 * (i % 75), 32 + 32 * (i / 75));
    OrderRequest order;
    order.kind = OrderKind::kill;
    field.give(*field.world.state.units.at(2'500), order);
    EXPECT_EQ(field.world.state.units.count(), 0U);
    EXPECT_EQ(field.all<Killed>().size() + field.world.events.dropped() > 5'000, true);
}

TEST(Death, TheHitCountsBeyondWhatWasLeft) {
    for (const auto& [hit, severity] : {std::pair{100, 0}, {135, 35}, {250, 150}, {99'999, 200}}) {
        Battlefield field;
        Unit& target = field.place(dummyType(), 2, 320, 320);
        field.scratch.damage.push_back({target.ref(), Amount::fromInt(hit), {}, {}});
        stepDamage(field.world, field.scratch);
        ASSERT_EQ(field.all<Killed>().size(), 1U);
        EXPECT_EQ(field.all<Killed>()[0].severity, severity);
    }
}

/// What no definition comes through the door with, but what reaches the limits.
TEST(Combat, ExtremeWeaponsEndInTheSameState) {
    std::uint64_t first = 0;
    for (int run = 0; run < 2; ++run) {
        Battlefield field;
        auto everything = weaponType(Flight::straight, kMaxRange);
        everything->speed = everything->startSpeed = Fixed::fromInt(kMaxShotSpeed);
        everything->reload = 1;
        everything->burst = kMaxBurst;
        everything->damageRadius = Fixed::fromInt(kMaxRange / 2);
        everything->damage = Amount::fromInt(kMaxDamage);
        everything->spray = 32'768;
        auto nothing = weaponType(Flight::ballistic, 0);
        nothing->speed = nothing->startSpeed = Fixed::fromRaw(1);
        auto slow = weaponType(Flight::vertical, kMaxRange);
        slow->speed = slow->startSpeed = px(1);
        slow->reload = 1;
        slow->burst = kMaxBurst;
        slow->damage = {};
        auto type = turretType(everything);
        type->weapons[1] = nothing;
        type->weapons[2] = slow;
        type->explodeAs = everything;
        for (int i = 0; i < 60; ++i)
            field.place(type, 1 + i % 3, 100 + 18.0 * (i % 50), 100 + 300.0 * (i / 20));
        field.tick(40);
        const std::uint64_t hash = hashState(field.world).whole();
        if (run == 0) first = hash;
        EXPECT_EQ(hash, first);
        EXPECT_LT(field.world.state.units.count(), 60U);
    }
}

TEST(Projectiles, BeyondTheLimitShotsAreCounted) {
    Battlefield field;
    Unit& turret = field.place(turretType(nullptr, ""), 1, 320, 320);
    const auto gun = weaponType(Flight::ballistic);
    for (std::size_t i = 0; i < kMaxProjectiles + 7; ++i)
        launch(field.world, turret, {gun, {px(600), px(30), px(600)}, {}, {}, {}, {}, 0});
    EXPECT_EQ(field.world.state.projectiles.all.size(), kMaxProjectiles);
    EXPECT_EQ(field.world.state.projectiles.refused, 7U);
}

}  // namespace
}  // namespace orb::sim
