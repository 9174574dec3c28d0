#include "session/weapon_types.h"

#include <gtest/gtest.h>

#include "session/loaded_map.h"
#include "session/unit_view_session.h"
#include "sim/rules.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb::unitview {
namespace {

class WeaponTypesTest : public testing::Test {
protected:
    void mount() { session_.setDataRoots({folder_.path(), {}, {}}); }
    std::shared_ptr<const sim::WeaponType> weapon(const std::string& values) {
        folder_.write("weapons/w.tdf", "[GUN]{" + values + "}");
        mount();
        return makeWeaponType(session_.data().tables, "gun");
    }

    QuietLog quiet_;
    TestFolder folder_;
    UnitViewSession session_;
};

TEST_F(WeaponTypesTest, ReadsTimesAndLengthsInTicksAndPixels) {
    const auto gun = weapon(
        "ballistic=1;turret=1;range=480;reloadtime=2.6;weaponvelocity=300;burst=4;burstrate=0.2;"
        "turnrate=3000;tolerance=500;areaofeffect=48;edgeeffectiveness=0.4;minbarrelangle=-10;"
        "weapontimer=4;[DAMAGE]{default=95;Cart=7;apple=3;}");
    ASSERT_TRUE(gun);
    EXPECT_EQ(gun->name, "GUN");
    EXPECT_EQ(gun->flight, sim::Flight::ballistic);
    EXPECT_EQ(gun->range, sim::Fixed::fromInt(480));
    EXPECT_EQ(gun->reload, 78);
    EXPECT_EQ(gun->speed, sim::Fixed::fromInt(10));
    EXPECT_EQ(gun->startSpeed, gun->speed);
    EXPECT_EQ(gun->burst, 4);
    EXPECT_EQ(gun->burstGap, 6);
    EXPECT_EQ(gun->turnPerTick, 100);
    EXPECT_EQ(gun->pitchTolerance, 500);
    EXPECT_EQ(gun->damageRadius, sim::Fixed::fromInt(24));
    EXPECT_EQ(gun->leastPitch, -1'820);
    EXPECT_EQ(gun->life, 120);
    EXPECT_EQ(gun->damageTo("CART"), sim::Amount::fromInt(7));
    EXPECT_EQ(gun->damageTo("Apple"), sim::Amount::fromInt(3));
    EXPECT_EQ(gun->damageTo("none"), sim::Amount::fromInt(95));
    EXPECT_FALSE(makeWeaponType(session_.data().tables, "NONE"));
}

TEST_F(WeaponTypesTest, KeepsEveryNumberWithinItsLimits) {
    for (const std::string number :
         {"1e30", "-1e30", "nan", "1e999", "99999999999999999999", "x"}) {
        std::string values;
        for (const char* key :
             {"range", "reloadtime", "weaponvelocity", "startvelocity", "weaponacceleration",
              "turnrate", "burst", "burstrate", "sprayangle", "accuracy", "tolerance",
              "pitchtolerance", "areaofeffect", "edgeeffectiveness", "minbarrelangle",
              "weapontimer", "flighttime", "randomdecay", "energypershot"})
            values += std::string(key) + "=" + number + ";";
        const auto gun = weapon(values + "[DAMAGE]{default=" + number + ";CART=" + number + ";}");
        ASSERT_TRUE(gun) << number;
        const auto within = [&](auto value, auto least, auto most) {
            EXPECT_GE(value, least) << number;
            EXPECT_LE(value, most) << number;
        };
        const sim::Fixed none;
        within(gun->range, none, sim::Fixed::fromInt(sim::kMaxRange));
        within(gun->speed, sim::Fixed::fromInt(sim::rules::kLeastShotSpeed),
               sim::Fixed::fromInt(sim::kMaxShotSpeed));
        within(gun->startSpeed, none, gun->speed);
        within(gun->acceleration, none, sim::Fixed::fromInt(sim::kMaxShotSpeed));
        within(gun->turnPerTick, 0, 65'536);
        within(gun->reload, 1, sim::kMaxWeaponTicks);
        within(gun->burst, 1, sim::kMaxBurst);
        within(gun->burstGap, 1, sim::kMaxWeaponTicks);
        within(gun->spray, 0, 32'768);
        within(gun->tolerance, 0, 32'768);
        within(gun->leastPitch, -16'384, 16'384);
        within(gun->life, 0, sim::kMaxWeaponTicks);
        within(gun->damageRadius, none, sim::Fixed::fromInt(sim::kMaxRange));
        within(gun->edgeShare, none, sim::Fixed::fromInt(1));
        within(gun->damage, sim::Amount(), sim::Amount::fromInt(sim::kMaxDamage));
        within(gun->damageTo("cart"), sim::Amount(), sim::Amount::fromInt(sim::kMaxDamage));
    }
}

TEST_F(WeaponTypesTest, FollowersOfFeaturesEndWhereTheyComeRound) {
    folder_.write("features/a.tdf",
                  "[Self]{featuredead=SELF;damage=5;}[One]{featuredead=two;}[Two]{featuredead=One;}"
                  "[Lost]{featuredead=nowhere;}"
                  "[A]{featuredead=b;}[B]{featuredead=c;}[C]{featuredead=d;}[D]{featuredead=e;}"
                  "[E]{featuredead=f;}[F]{featuredead=g;}[G]{featuredead=h;}[H]{featuredead=i;}"
                  "[I]{featuredead=j;}[J]{}");
    io::TntFile ground;
    ground.size = {16, 16};
    ground.cells.assign(256, {10, 0, io::kTntNoFeature});
    ground.tileMap.assign(64, io::kTntNoTile);
    folder_.write("maps/m.tnt", io::writeTnt(ground));
    mount();
    session_.loadMap({.name = "m"});
    LoadedMap& map = session_.requireMap();
    /// The names of what follows a feature, one after the other.
    const auto chain = [&](const std::string& name) {
        spawnFeature(map, session_.data(), {.feature = name, .isForced = true});
        std::string names;
        const auto types = map.world.featureTypes();
        for (std::int32_t type = static_cast<std::int32_t>(map.featureTypes.at(name)); type >= 0;
             type = types[static_cast<std::size_t>(type)].follower)
            names += types[static_cast<std::size_t>(type)].name + " ";
        return names;
    };
    EXPECT_EQ(chain("SELF"), "Self ");
    EXPECT_EQ(chain("ONE"), "One Two ");
    EXPECT_EQ(chain("LOST"), "Lost ");
    EXPECT_EQ(chain("A"), "A B C D E F G H I ");
}

}  // namespace
}  // namespace orb::unitview
