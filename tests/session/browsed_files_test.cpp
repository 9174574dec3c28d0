#include "session/browsed_files.h"

#include <fstream>

#include <gtest/gtest.h>

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
        for (const BrowsedFile& file : files.list(directory)) paths.push_back(file.path);
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
