#include "session/loaded_map.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "session/request_error.h"
#include "session/unit_view_session.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

io::TntFile flatGround(std::uint32_t side) {
    io::TntFile map;
    map.size = {side, side};
    map.cells.assign(std::size_t{side} * side, {10, 0, io::kTntNoFeature});
    map.tileMap.assign(std::size_t{side / 2} * (side / 2), io::kTntNoTile);
    return map;
}

class LoadedMapTest : public testing::Test {
protected:
    const LoadedMap& load(const std::string& name, std::int64_t schema = 0) {
        return session_.loadMap({.name = name, .schema = schema});
    }
    std::string failure(const std::string& name, std::int64_t schema = 0) {
        try {
            load(name, schema);
            return "";
        } catch (const RequestError& error) {
            return error.what();
        }
    }
    void mount() { session_.setDataRoots({folder_.path(), {}, {}}); }

    QuietLog quiet_;
    TestFolder folder_;
    UnitViewSession session_;
};

TEST_F(LoadedMapTest, CutsWhatHostileDescriptionsPile) {
    std::string text = "[GlobalHeader]{[Schema 0]{[specials]{";
    for (int i = 0; i < 1'000; ++i) text += fmt::format("[s]{{specialwhat=StartPos{};}}", i);
    text += "}[units]{";
    for (int i = 0; i < 10'000; ++i)
        text += fmt::format("[u]{{Unitname=CART;XPos={};ZPos=8;}}", i % 1'000);
    text += "}[features]{";
    for (int i = 0; i < 70'000; ++i) text += "[f]{Featurename=Rock;XPos=1;ZPos=1;}";
    text += "}}}";
    folder_.write("maps/big.ota", text);
    folder_.write("maps/BIG.tnt", io::writeTnt(flatGround(64)));
    folder_.write("units/cart.fbi", "[UNITINFO]{unitname=CART;objectname=cart;bmcode=1;}");
    folder_.write("objects3d/cart.3do", io::write3do({}));
    mount();
    const LoadedMap& map = load("Big");
    EXPECT_EQ(map.name, "BIG");
    EXPECT_EQ(map.startPositions.size(), 64U);
    EXPECT_EQ(map.world.units().count(), 5'000U);
    EXPECT_EQ(map.world.features().all().size(), 65'536U);
    EXPECT_EQ(map.missingFeatures, std::vector<std::string>{"Rock"});
    const std::vector<CutList> cut = {{MapList::startPositions, 1'000, 64},
                                      {MapList::features, 70'000, 65'536},
                                      {MapList::units, 10'000, 5'000}};
    EXPECT_EQ(map.cut, cut);
    try {
        spawnUnits(session_.requireMap(), session_.data(),
                   {.unit = "cart", .x = 8, .z = 8, .isActive = {}});
        FAIL();
    } catch (const RequestError& error) {
        EXPECT_STREQ(error.what(), "unit limit reached");
    }
}

TEST_F(LoadedMapTest, LimitsFeaturesOfTheGround) {
    io::TntFile ground = flatGround(600);
    ground.featureNames = {"Rock"};
    for (io::TntCell& cell : ground.cells) cell.feature = 0;
    folder_.write("maps/full.tnt", io::writeTnt(ground));
    mount();
    const LoadedMap& map = load("full");
    EXPECT_EQ(map.world.features().all().size(), sim::kMaxFeatures);
    ASSERT_EQ(map.cut.size(), 1U);
    EXPECT_EQ(map.cut[0].given, 360'000U);
    try {
        spawnFeature(session_.requireMap(), session_.data(), {.feature = "Rock"});
        FAIL();
    } catch (const RequestError& error) {
        EXPECT_STREQ(error.what(), "feature not found: Rock");
    }
}

TEST_F(LoadedMapTest, AFailureLeavesTheMapThatWasThere) {
    folder_.write("maps/one.tnt", io::writeTnt(flatGround(8)));
    const fs::path other = folder_.write("maps/two.tnt", io::writeTnt(flatGround(16)));
    folder_.write("maps/cut.tnt", "\x00\x20");
    mount();
    load("one");
    ASSERT_EQ(listMaps(session_.data().files).size(), 3U);
    fs::remove(other);
    EXPECT_EQ(failure("two"), "map not found: two");
    EXPECT_EQ(failure("cut"), "TNT data too small");
    EXPECT_EQ(failure("one", 1), "schema not found: 1");
    EXPECT_EQ(failure("../maps/one"), "map not found: ../maps/one");
    EXPECT_EQ(failure("\\one"), "map not found: \\one");
    EXPECT_EQ(failure(""), "map name is required");
    EXPECT_EQ(session_.requireMap().name, "one");
    fs::create_directories(folder_.path() / "maps/three.tnt");  // a folder is no map
    EXPECT_EQ(failure("three"), "map not found: three");
    EXPECT_EQ(listMaps(session_.data().files).size(), 2U);

    EXPECT_THROW(session_.setDataRoots({}), std::invalid_argument);
    EXPECT_EQ(session_.requireMap().name, "one");
    mount();
    EXPECT_THROW(session_.requireMap(), RequestError);
}

TEST_F(LoadedMapTest, NewUnitsAreMadeFromTheFilesAsTheyAre) {
    folder_.write("maps/one.tnt", io::writeTnt(flatGround(32)));
    const auto writeUnit = [&](int maxDamage) {
        return folder_.write(
            "units/cart.fbi",
            fmt::format("[UNITINFO]{{unitname=CART;objectname=cart;maxdamage={};}}", maxDamage));
    };
    const fs::path definition = writeUnit(100);
    folder_.write("objects3d/cart.3do", io::write3do({}));
    mount();
    load("one");
    LoadedMap& map = session_.requireMap();
    const auto spawnAt = [&](double x) {
        const SpawnedUnits spawned =
            spawnUnits(map, session_.data(), {.unit = "CART", .x = x, .z = 8, .isActive = {}});
        return map.world.units().withId(spawned.ids.at(0))->type->maxHealth;
    };
    EXPECT_EQ(spawnAt(8), 100);
    writeUnit(250);
    EXPECT_EQ(spawnAt(40), 100);
    session_.refreshAfterWrite({io::FileLocation::Kind::loose, definition, {}});
    EXPECT_EQ(spawnAt(72), 250);
    EXPECT_EQ(map.world.units().withId(1)->type->maxHealth, 100);
}

}  // namespace
}  // namespace orb::unitview
