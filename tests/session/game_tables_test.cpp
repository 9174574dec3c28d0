#include "session/game_tables.h"

#include <fstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "server/logger.h"
#include "session/mounted_data.h"
#include "tests/platform.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// A game and a mod of loose files.
class GameTablesTest : public testing::Test {
protected:
    GameTablesTest() {
        logger_.setEcho(false);
        setCurrentLogger(&logger_);
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "game");
    }
    ~GameTablesTest() override {
        setCurrentLogger(nullptr);
        fs::remove_all(folder_);
    }

    void write(const std::string& path, std::string_view text) {
        fs::create_directories((folder_ / path).parent_path());
        std::ofstream(folder_ / path, std::ios::binary) << text;
    }

    const GameTables& mount() {
        data_ = mountDataRoots({folder_ / "game", {folder_ / "mod"}, {}}, io::greyscaleRamp());
        return data_->tables;
    }

    /// "UNIT", with "@MENU.BUTTON" where these are told, one behind the other.
    static std::string describe(std::span<const BuildMenuEntry> menu) {
        std::string text;
        for (const BuildMenuEntry& entry : menu) {
            text += fmt::format("{}{}", text.empty() ? "" : " ", entry.unit);
            if (entry.menu || entry.button)
                text += fmt::format("@{}.{}", entry.menu.value_or(-1), entry.button.value_or(-1));
        }
        return text;
    }

    fs::path folder_ =
        fs::temp_directory_path() / (std::string("orb_tables_") +
                                     testing::UnitTest::GetInstance()->current_test_info()->name());
    Logger logger_;
    std::unique_ptr<MountedData> data_;
};

TEST_F(GameTablesTest, FeaturesLieInFoldersOfAnyDepth) {
    std::string deep = "game/features";
    for (int i = 0; i < 60; ++i) deep += "/d";
    write(deep + "/deep.tdf", "[Deep]{}");
    write("game/features/TOP.TDF", "[Top]{}");
    write("game/features/corpses/shore/wrecks.tdf", "[Wreck]{metal=1;}[Hidden]{}");
    write("mod/FEATURES/Corpses/Shore/Wrecks.TDF", "[WRECK]{metal=2;}");
    write("mod/features2/other.tdf", "[Other]{}");
    const NamedTable& features = mount().features;
    for (const char* name : {"deep", "TOP"}) EXPECT_TRUE(features.find(name)) << name;
    for (const char* name : {"hidden", "other"}) EXPECT_FALSE(features.find(name)) << name;
    ASSERT_TRUE(features.find("wreck"));
    EXPECT_EQ(features.find("wreck")->section.getInt("metal"), 2);
    EXPECT_EQ(features.declarations("wreck").size(), 2U);
}

#if ORB_TEST_HAS_POSIX
TEST_F(GameTablesTest, FoldersThatContainThemselvesEnd) {
    write("game/features/wrecks.tdf", "[Wreck]{}");
    for (const char* link : {"one", "two"})
        fs::create_directory_symlink(".", folder_ / "game/features" / link);
    EXPECT_TRUE(mount().features.find("Wreck"));
}
#endif

TEST_F(GameTablesTest, WhatATableCannotHoldIsLeftOut) {
    std::string large(9 << 20, ' ');
    large += "[Large]{}";
    write("game/features/b.tdf", large);
    write("game/features/a.tdf", "[Small]{}");
    const NamedTable& features = mount().features;
    EXPECT_FALSE(features.find("Large"));
    EXPECT_TRUE(features.find("Small"));
}

TEST_F(GameTablesTest, MenusTellWhatABuilderBuilds) {
    write("game/gamedata/sidedata.tdf", "[CANBUILD]{[YARD]{canbuild1=LOST;}}");
    write("mod/gamedata/sidedata.tdf",
          "[SIDE0]{name=X;}[canbuild]{[Yard]{CANBUILD10=C;canbuild2=B;canbuild=Z;canbuildx=Z;"
          "canbuild99999999999=Z;canbuild3=;canbuild1=A;}[]{canbuild1=Z;}canbuild1=Z;}");
    write("game/download/a.tdf", "[M]{UNITMENU=yard;UNITNAME=LOST;}");
    write("mod/download/A.TDF",
          "[M]{UNITMENU=yard;MENU=2;BUTTON=3;UNITNAME=D;}[N]{UNITMENU=YARD;}[O]{UNITNAME=Z;}");
    write("mod/download/b.tdf", "[M]{unitmenu=Yard;unitname=a;}");
    const BuildMenus& menus = mount().buildMenus;
    const auto menu = menus.of("yard");
    EXPECT_EQ(describe(menu), "A B C D@2.3 a");
    EXPECT_EQ(menus.builders().size(), 1U);
    EXPECT_EQ(menu[3].file->location().path.filename(), "A.TDF");

    io::FbiUnitInfo definition;
    definition.buildOptions = {"d", "own"};
    EXPECT_EQ(buildableUnits(definition, menu),
              (std::vector<std::string>{"d", "own", "A", "B", "C"}));
}

}  // namespace
}  // namespace orb::unitview
