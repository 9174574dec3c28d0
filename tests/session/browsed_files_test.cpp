#include "session/browsed_files.h"

#include <fstream>

#include <gtest/gtest.h>

#include "io/path_text.h"
#include "session/request_error.h"
#include "session/unit_view_session.h"
#include "tests/platform.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

#if ORB_TEST_HAS_POSIX
#include <sys/stat.h>
#endif

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

class BrowsedFilesTest : public testing::Test {
protected:
    BrowsedFilesTest() {
        write("mod/units/TOY.fbi", "mod");
        write("game/UNITS/toy.FBI", "game");
        write("game/units.txt", "");
        write("outside/secret.txt", "secret");
    }

    void write(const std::string& path, std::string_view text) {
        fs::create_directories((folder_ / path).parent_path());
        std::ofstream(folder_ / path, std::ios::binary) << text;
    }

    const MountedData& mount() {
        return session_.setDataRoots({folder_ / "game", {folder_ / "mod"}, {}});
    }

    static std::vector<std::string> pathsIn(const BrowsedFiles& files,
                                            const std::string& directory = "") {
        std::vector<std::string> paths;
        for (const BrowsedFile& file : files.list(directory).files) paths.push_back(file.path);
        return paths;
    }

    std::string errorOf(const fs::path& folder) {
        try {
            BrowsedFiles(mount(), folder);
            return "";
        } catch (const RequestError& error) {
            return error.what();
        }
    }

    TestFolder testFolder_;
    fs::path folder_ = testFolder_.path();
    QuietLog quiet_;
    UnitViewSession session_;
};

using Paths = std::vector<std::string>;

TEST_F(BrowsedFilesTest, ShowsTheFilesThatWin) {
    const BrowsedFiles stack(mount());
    EXPECT_EQ(pathsIn(stack), (Paths{"units/TOY.fbi", "units.txt"}));
    EXPECT_EQ(pathsIn(stack, "Units"), Paths{"units/TOY.fbi"});
    EXPECT_EQ(io::asText(stack.read(stack.find("UNITS\\toy.fbi"))), "mod");
    EXPECT_FALSE(stack.find("units/toy.fbi").source.inBaseTa);
    EXPECT_EQ(pathsIn(BrowsedFiles(mount(), "UNITS")), Paths{"toy.FBI"});
}

TEST_F(BrowsedFilesTest, TellsWhatItDoesNotShow) {
    std::string deep;
    for (std::size_t i = 0; i <= kMaxFolderNesting; ++i) deep += "d/";
    write("game/" + deep + "file", "");
    const BrowsedFiles stack(mount());
    const BrowsedListing listing = stack.list("");
    EXPECT_FALSE(listing.isWhole());
    EXPECT_EQ(listing.unseenFolders, Paths{deep.substr(0, deep.size() - 1)});
    EXPECT_TRUE(stack.list("units").isWhole());
    const auto result = extractDirectory(stack, "", folder_ / "to", false, {});
    ASSERT_EQ(result.skipped.size(), 1U);
    EXPECT_EQ(result.skipped[0].reason, "folders nest too deep");
}

TEST_F(BrowsedFilesTest, ReadsTheBeginningOfALargeFileAndTellsThatOneIsTooLarge) {
    const auto size = (std::uint64_t{1} << 30) + 1;
    write("game/long.txt", "begins");
    fs::resize_file(folder_ / "game" / "long.txt", size);  // takes no room on most disks
    const BrowsedFiles stack(mount());
    const BrowsedFile file = stack.find("long.txt");
    const BrowsedContent content = stack.readBeginning(file, 6);
    EXPECT_EQ(io::asText(content.bytes), "begins");
    EXPECT_EQ(content.size, size);
    try {
        stack.read(file);
        ADD_FAILURE() << "was read";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()),
                  "file too large: " + io::textFromPath(folder_ / "game" / "long.txt"));
    }
}

TEST_F(BrowsedFilesTest, StaysInTheDataRoots) {
    EXPECT_EQ(errorOf(folder_ / "game" / "UNITS"), "");
    for (const fs::path& outside : {folder_, folder_ / "outside", fs::path("../outside"),
                                    folder_ / "game" / ".." / "outside", folder_ / "gamer"})
        EXPECT_EQ(errorOf(outside), "not in a data root: " + outside.string());
    const BrowsedFiles files(mount(), folder_ / "game");
    for (const char* path : {"../outside/secret.txt", "UNITS/../units.txt", "UNITS"})
        EXPECT_THROW(files.find(path), RequestError) << path;
    EXPECT_THROW(files.list(".."), RequestError);
}

#if ORB_TEST_HAS_POSIX
TEST_F(BrowsedFilesTest, ShowsOfSeveralSpellingsTheOneThatCounts) {
    write("game/UNITS/toy.fbi", "counts");
    write("game/UNITS/BEE.FBI", "counts");
    write("game/UNITS/bee.FBI", "does not");
    write("game/units/other.fbi", "in the folder that counts");
    write("mod/units/TOY.FBI", "does not");
    EXPECT_EQ(pathsIn(BrowsedFiles(mount())),
              (Paths{"units/other.fbi", "units/TOY.fbi", "units.txt"}));
    fs::remove_all(folder_ / "game" / "units");
    const BrowsedFiles units(mount(), folder_ / "game" / "UNITS");
    EXPECT_EQ(pathsIn(units), (Paths{"BEE.FBI", "toy.fbi"}));
    EXPECT_EQ(io::asText(units.read(units.find("TOY.fbi"))), "counts");
    EXPECT_EQ(io::asText(units.read(units.find("toy.FBI"))), "game");  // in its own spelling
}

TEST_F(BrowsedFilesTest, FollowsNoLinkOutAndNoLoop) {
    fs::create_directory_symlink(folder_ / "outside", folder_ / "game" / "out");
    fs::create_symlink(folder_ / "outside" / "secret.txt", folder_ / "game" / "secret.txt");
    fs::create_directory_symlink(folder_ / "game", folder_ / "game" / "UNITS" / "loop");
    ASSERT_EQ(mkfifo((folder_ / "game" / "pipe").c_str(), 0600), 0);
    const BrowsedFiles files(mount(), folder_ / "game");
    EXPECT_EQ(pathsIn(files), (Paths{"UNITS/toy.FBI", "units.txt"}));
    EXPECT_THROW(files.find("secret.txt"), RequestError);
    EXPECT_THROW(files.find("out/secret.txt"), RequestError);
    EXPECT_THROW(files.find("pipe"), RequestError);
    EXPECT_THROW(BrowsedFiles(mount()).find("out/secret.txt"), RequestError);
    EXPECT_EQ(pathsIn(BrowsedFiles(mount())), (Paths{"units/TOY.fbi", "units.txt"}));
    EXPECT_EQ(errorOf(folder_ / "game" / "out"),
              "not in a data root: " + (folder_ / "game" / "out").string());
}
#endif

TEST_F(BrowsedFilesTest, ExtractsBelowTheDestination) {
    const BrowsedFiles stack(mount());
    const auto result = extractDirectory(stack, "", folder_ / "to", false, {});
    EXPECT_EQ(result.fileCount, 2U);
    EXPECT_EQ(result.byteSize, 3U);
    EXPECT_TRUE(fs::exists(folder_ / "to" / "units" / "TOY.fbi"));
    EXPECT_EQ(extractDirectory(stack, "units", folder_ / "to", false, {}).skipped.size(), 1U);
}

}  // namespace
}  // namespace orb::unitview
