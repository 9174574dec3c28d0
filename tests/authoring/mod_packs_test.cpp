#include <fmt/format.h>
#include <gtest/gtest.h>

#include "authoring/min_mod_pack.h"
#include "authoring/mod_pack.h"
#include "io/formats/cob_file.h"
#include "io/formats/model3do.h"
#include "io/vfs/hpi_file_system.h"
#include "tests/authoring/faulty_file_ops.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A game with one weapon, and a mod with two factories that build each other.
class ModPacksTest : public testing::Test {
protected:
    ModPacksTest() {
        folder.write("game/weapons/all.tdf", "[GUN]{ID=1;range=5;}[BASE]{ID=2;}");
        folder.write("game/objects3d/shared.3do", io::write3do({}));
        folder.write("mod/objects3d/shared.3do", io::write3do({}));
        for (const char* name : {"ONE", "TWO"}) {
            const std::string other = name == std::string("ONE") ? "TWO" : "ONE";
            folder.write(fmt::format("mod/units/{}.fbi", name),
                         fmt::format("[UNITINFO]{{UnitName={};ObjectName=shared;Builder=1;"
                                     "buildoption1={};Weapon1=GUN;Weapon2=BASE;}}",
                                     name, other));
        }
        std::string guns = "[GUN]{ID=1;range=9;[DAMAGE]{default=3;}}";
        for (int i = 0; i < 10'000; ++i) guns += fmt::format("[GUN{}]{{ID=3;}}", i);
        folder.write("mod/weapons/guns.tdf", guns);
        session.setDataRoots({folder.path() / "game", {folder.path() / "mod"}, {}});
    }

    fs::path pack() const { return folder.path() / "all.ufo"; }
    MinPackRequest minimal(bool recursive) const {
        return {{"ONE"}, recursive, {pack(), true, io::HpiMethod::zlib}};
    }

    const QuietLog quiet;
    const TestFolder folder;
    UnitViewSession session;
};

TEST_F(ModPacksTest, TheSmallestPackHoldsTheSectionsThatTheBaseGameLacksAndHidesNoneOfIts) {
    const MinPackResult result = exportMinModPack(session, minimal(true));
    std::vector<std::string> paths;
    for (const MinPackFile& file : result.files) paths.push_back(file.path);
    EXPECT_EQ(paths,
              (std::vector<std::string>{"units/ONE.fbi", "units/TWO.fbi", "weapons/all_.tdf"}));
    const auto text = io::HpiFileSystem(pack()).readFile("weapons/all_.tdf");
    ASSERT_TRUE(text);
    const io::TdfSection read = io::parseTdf(io::asText(*text));
    EXPECT_EQ(read.order.size(), 1U);
    EXPECT_EQ(read.child("GUN")->getInt("range"), 9);
    EXPECT_EQ(read.child("GUN")->child("DAMAGE")->getInt("default"), 3);

    exportMinModPack(session, minimal(false));
    EXPECT_FALSE(io::HpiFileSystem(pack()).locate("units/TWO.fbi"));
}

TEST_F(ModPacksTest, FeaturesMayTurnIntoEachOtherInCirclesButNotWithoutEnd) {
    const auto write = [&](int count) {
        std::string features;
        for (int i = 0; i < count; ++i)
            features += fmt::format("[F{}]{{featuredead=F{};}}", i, (i + 1) % count);
        folder.write("mod/features/f.tdf", features);
        folder.write("mod/units/ONE.fbi", "[UNITINFO]{UnitName=ONE;ObjectName=shared;Corpse=F0;}");
        session.setDataRoots({folder.path() / "game", {folder.path() / "mod"}, {}});
    };
    write(200);
    exportMinModPack(session, minimal(false));
    const auto text = io::HpiFileSystem(pack()).readFile("features/corpses/all.tdf");
    EXPECT_EQ(io::parseTdf(io::asText(text.value())).order.size(), 200U);
    write(10'000);
    EXPECT_THROW(exportMinModPack(session, minimal(false)), RequestError);
}

TEST_F(ModPacksTest, EveryCompressionReadsBackAndGivesTheSameBytesTwice) {
    for (const char* name : {"zlib", "lz77", "none"}) {
        const PackRequest request{pack(), true, compressionNamed(name)};
        exportModPack(session, {}, request);
        const std::string first = contentOf(pack());
        const io::HpiFileSystem files(pack());
        for (const char* path : {"units/ONE.fbi", "objects3d/shared.3do", "weapons/guns.tdf"})
            EXPECT_EQ(io::asText(*files.readFile(path)), contentOf(folder.path() / "mod" / path))
                << name;
        exportModPack(session, {}, request);
        EXPECT_EQ(contentOf(pack()), first) << name;
    }
}

TEST_F(ModPacksTest, WhateverFailsTheDestinationIsTheOldOrTheNewPack) {
    exportMinModPack(session, minimal(true));
    const std::string wanted = contentOf(pack());
    const std::string old = "an older pack";
    for (int step = 0;; ++step) {
        folder.write("all.ufo", old);
        FaultyFileOps ops(step, FaultyFileOps::Fault::fail);
        bool isWritten = true;
        try {
            exportMinModPack(session, minimal(true), {}, ops);
        } catch (const RequestError&) {
            isWritten = false;
        }
        EXPECT_EQ(contentOf(pack()), isWritten ? wanted : old) << ops.struck() << " " << step;
        if (ops.struck().empty()) break;
    }
}

TEST_F(ModPacksTest, WhatLiesLooseBehindAnArchiveOfTheModIsLeftOut) {
    std::vector<io::HpiInputFile> files(1);
    files[0] = {"units/ONE.fbi", io::Bytes{'1'}};
    folder.write("mod/first.ufo", io::writeHpi(files));
    folder.write("mod/.git/config", "x");
    folder.write("mod/units/ONE.fbi.orbbackup", "x");
    session.setDataRoots({folder.path() / "game", {folder.path() / "mod"}, {}});
    const ModPackResult result = exportModPack(session, {}, {pack(), false, {}});
    EXPECT_EQ(io::asText(*io::HpiFileSystem(pack()).readFile("units/ONE.fbi")), "1");
    std::vector<std::string> paths;
    for (const LeftOutFile& file : result.leftOut) paths.push_back(file.path);
    EXPECT_EQ(paths, (std::vector<std::string>{".git", "first.ufo", "units/ONE.fbi",
                                               "units/ONE.fbi.orbbackup"}));
}

}  // namespace
}  // namespace orb::unitview
