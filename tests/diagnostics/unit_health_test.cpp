#include "diagnostics/unit_health.h"

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "io/formats/gaf.h"
#include "io/formats/pcx.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// A unit without a single complaint in a mod of loose files; tests take something away from it.
class UnitHealthTest : public testing::Test {
protected:
    UnitHealthTest() {
        for (const char* path : {"objects3d/TOY.3do", "scripts/TOY.cob"}) write(path, "");
        const io::PcxImage picture{1, 1, {0}, {}};
        write("unitpics/TOY.pcx", io::asText(io::writePcx(picture)));
        unit_.name = "TOY";
        unit_.model.name = "base";
    }

    void write(const std::string& path, std::string_view text) {
        fs::create_directories((folder_ / "mod" / path).parent_path());
        std::ofstream(folder_ / "mod" / path, std::ios::binary) << text;
    }

    /// The report with these keys in the definition beside UnitName and ObjectName.
    UnitHealth check(const std::string& keys) {
        const std::string text = "[UNITINFO]{UnitName=TOY;ObjectName=TOY;" + keys + "}";
        write("units/TOY.fbi", text);
        unit_.definition = io::parseTdf(text);
        unit_.fbi = *io::parseFbiUnitInfo(unit_.definition);
        session_.setDataRoots({folder_ / "game", {folder_ / "mod"}, {}});
        return checkUnitHealth(session_.data(), unit_, {});
    }

    static std::vector<HealthRow> rowsOf(const UnitHealth& report, HealthCheck check) {
        std::vector<HealthRow> rows;
        std::ranges::copy_if(report.rows, std::back_inserter(rows),
                             [&](const HealthRow& row) { return row.check == check; });
        return rows;
    }

    TestFolder testFolder_;
    fs::path folder_ = testFolder_.path();
    QuietLog quiet_;
    UnitViewSession session_;
    LoadedUnit unit_;
};

TEST_F(UnitHealthTest, SumsUpInOneLine) {
    EXPECT_EQ(check("").verdict(), "ORB-ready — no issues");
    EXPECT_EQ(check("CanMove=1;").verdict(), "ORB-ready — 1 warning(s)");
    EXPECT_EQ(check("CanMove=1;BMcode=0;").verdict(), "ORB-ready — no issues");
    const UnitHealth blocked = check("MovementClass=GHOST;");
    EXPECT_EQ(blocked.verdict(), "1 blocking issue(s), 0 warning(s)");
    EXPECT_FALSE(blocked.isReady());
}

TEST_F(UnitHealthTest, PassesOverNamesThatMeanNothing) {
    const UnitHealth report = check(
        "Weapon1=-1;Weapon2=NoWeapon;Weapon3=null;Corpse=NONE;ExplodeAs=nullweapon;"
        "SelfDestructAs=;BuildOption1=-1;");
    EXPECT_EQ(report.verdict(), "ORB-ready — no issues");
    for (const HealthCheck check :
         {HealthCheck::weapons, HealthCheck::corpse, HealthCheck::explosions})
        EXPECT_TRUE(rowsOf(report, check).empty()) << static_cast<int>(check);
}

TEST_F(UnitHealthTest, TellsTheFileThatWasLoadedEvenIfAnotherBearsTheUnitsName) {
    write("units/OTHER.fbi", "[UNITINFO]{UnitName=TOY;ObjectName=TOY;}");
    const fs::path loaded = folder_ / "mod" / "units" / "OTHER.fbi";
    unit_.source = UnitSource{{io::FileLocation::Kind::loose, loaded, {}}, false};
    const UnitHealth report = check("");
    ASSERT_TRUE(report.source);
    EXPECT_EQ(report.source->location.path, loaded);
}

TEST_F(UnitHealthTest, FallsBackToThePictureOfTheUnitsName) {
    const auto pictures = rowsOf(check("BuildPic=GHOST;"), HealthCheck::buildPicture);
    ASSERT_EQ(pictures.size(), 1U);
    EXPECT_EQ(pictures[0].status, CheckStatus::warn);
    EXPECT_EQ(pictures[0].detail,
              "BuildPic 'GHOST' has no art; using the unit-name fallback (pcx unitpics/TOY.pcx)");
}

TEST_F(UnitHealthTest, TakesAModelThatIsNamedWithItsExtensionOnlyWhereNoFileBearsThatName) {
    const auto modelRow = [&] {
        const auto rows = rowsOf(check("ObjectName=TOY.3DO;"), HealthCheck::model);
        return rows.size() == 1 ? rows[0].detail : "no row";
    };
    EXPECT_EQ(modelRow(), "objects3d/TOY.3do");
    write("objects3d/toy.3do.3do", "");
    EXPECT_EQ(modelRow(), "objects3d/TOY.3DO.3do");
    fs::remove(folder_ / "mod/objects3d/toy.3do.3do");
    fs::remove(folder_ / "mod/objects3d/TOY.3do");
    EXPECT_EQ(modelRow(), "objects3d/TOY.3DO.3do not found");
}

TEST_F(UnitHealthTest, WarnsOfTexturesThatAreMoreThanAQuarterTeamColour) {
    io::GafFile gaf;
    for (const auto& [name, teamPixels] : {std::pair{"QUARTER", 25}, std::pair{"MORE", 26}}) {
        io::GafFrame frame{10, 10, 0, 0, 0, 0, io::Bytes(100, 1)};
        std::fill_n(frame.pixels.begin(), teamPixels, io::kTeamBands[1].first);
        gaf.entries.push_back({name, {frame}});
        unit_.model.primitives.push_back({{}, std::nullopt, name});
    }
    unit_.model.primitives.push_back({{}, std::nullopt, "ABSENT"});
    write("textures/toy.gaf", io::asText(io::writeGaf(gaf, io::GafEncoding::plain)));

    const auto rows = rowsOf(check(""), HealthCheck::palette);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].status, CheckStatus::info);
    EXPECT_FALSE(rows[0].action);
    EXPECT_TRUE(rows[0].detail.starts_with("10x10: 25/100 px (25%) in team band — top: 128:25px. "))
        << rows[0].detail;
    EXPECT_EQ(rows[1].status, CheckStatus::warn);
    ASSERT_TRUE(rows[1].action);
    EXPECT_EQ(rows[1].action->texture, "MORE");
}

TEST_F(UnitHealthTest, SurvivesAScriptThatCannotBeAnalysed) {
    io::CobFile cob;
    cob.scripts.push_back({"Create", 99});
    unit_.cob = std::make_shared<const io::CobFile>(cob);
    const UnitHealth report = check("");
    const auto rows = rowsOf(report, HealthCheck::lints);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].detail, "COB analysis skipped (parse/graph error)");
    EXPECT_EQ(report.verdict(), "ORB-ready — no issues");
}

}  // namespace
}  // namespace orb::unitview
