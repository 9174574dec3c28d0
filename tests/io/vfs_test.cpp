#include <algorithm>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "io/archive/hpi_format.h"
#include "io/archive/hpi_writer.h"
#include "io/path_text.h"
#include "io/vfs/data_roots.h"
#include "io/vfs/directory_file_system.h"
#include "io/vfs/file_beginning.h"
#include "io/vfs/hpi_file_system.h"
#include "tests/io/archive_fixture.h"
#include "tests/log_capture.h"
#include "tests/platform.h"

namespace orb::io {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

Bytes archiveOf(std::initializer_list<std::pair<const char*, const char*>> files) {
    std::vector<HpiInputFile> inputs;
    for (const auto& [path, text] : files) inputs.push_back({path, bytesOf(text)});
    return writeHpi(inputs);
}

Names sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}

/// "name=content" or "name!error" of every visited file.
Names visited(const AbstractVirtualFileSystem& files, std::string_view suffix,
              const FileFilter& wanted = {}) {
    Names result;
    files.forEachFile(
        "units", suffix,
        [&](std::string_view name, std::optional<Bytes> content, std::string_view error) {
            const std::string text = content ? std::string(content->begin(), content->end()) : "";
            result.push_back(fmt::format("{}{}{}{}", name, content ? '=' : '!', text, error));
        },
        wanted);
    return sorted(result);
}

TEST(LooseFilesTest, FindsFilesInAnyCaseAndOnlyInsideTheRoot) {
    const TestFolder folder;
    folder.write("root/Units/ArmCom.FBI", "commander");
    folder.write("root/Units/both.fbi", "lower");
    constexpr bool hasTwins = ORB_TEST_HAS_POSIX;
    if (hasTwins) folder.write("root/Units/BOTH.fbi", "upper");
    folder.write(pathFromText("root/Units/Gr\xC3\xBCn.fbi"), "green");
    folder.write("secret", "outside");
    fs::create_directory(folder.path() / "root/Units/folder.fbi");
    makeLoopingLink(folder.path() / "root/Units/loop.fbi");
    makePipe(folder.path() / "root/Units/pipe.fbi");
    const DirectoryFileSystem files(folder.path() / "root");

    const struct {
        std::string path;
        const char* content;
    } cases[] = {
        {"Units/ArmCom.FBI", "commander"},
        {"\\UNITS//armcom.fbi", "commander"},
        {"units/both.fbi", "lower"},
        {"units/BOTH.fbi", hasTwins ? "upper" : "lower"},
        {"units/Both.fbi", hasTwins ? "upper" : "lower"},
        {"units/GR\xC3\xBCN.FBI", "green"},
        {"units/gr\xFCn.fbi", ORB_TEST_HAS_POSIX ? nullptr : "green"},
        {"units/none.fbi", nullptr},
        {"../secret", nullptr},
        {"units/../../secret", nullptr},
        {"./Units/both.fbi", nullptr},
        {"units/folder.fbi", nullptr},
        {"units/pipe.fbi", nullptr},
        {"units/loop.fbi", nullptr},
        {"", nullptr},
        {"units/both.fbi/x", nullptr},
        {std::string("units/both.fbi\0x", 16), nullptr},
        {std::string(5000, 'x'), nullptr},
    };
    for (const auto& each : cases) {
        const std::optional<Bytes> content = files.readFile(each.path);
        EXPECT_EQ(content.has_value(), each.content != nullptr) << each.path;
        EXPECT_EQ(files.locate(each.path).has_value(), each.content != nullptr) << each.path;
        EXPECT_EQ(content.value_or(Bytes{}), bytesOf(each.content ? each.content : ""));
    }
    if (ORB_TEST_HAS_POSIX) {
        fs::resize_file(folder.write("root/huge.fbi", ""), std::uintmax_t{1} << 40);
        EXPECT_THROW(files.readFile("huge.fbi"), std::runtime_error);
    }
    EXPECT_EQ(files.locate("uNITS/aRMCOM.fbi")->path, folder.path() / "root/Units/ArmCom.FBI");
    Names listed{"ArmCom.FBI", "Gr\xC3\xBCn.fbi", "both.fbi"};
    if (hasTwins) listed.insert(listed.begin() + 1, "BOTH.fbi");
    EXPECT_EQ(files.listFiles("UNITS", ".Fbi"), listed);
    EXPECT_EQ(files.listDirectories("units"), Names{"folder.fbi"});
    EXPECT_EQ(files.listFiles("units/both.fbi", ""), Names{});
    EXPECT_EQ(files.listFiles("..", ""), Names{});
    EXPECT_EQ(visited(files, "m.fbi"), Names{"ArmCom.FBI=commander"});
}

std::string textOf(const AbstractVirtualFileSystem& files, std::string_view path) {
    const std::optional<Bytes> content = files.readFile(path);
    return content ? std::string(content->begin(), content->end()) : "none";
}

/// Waits until a folder that nobody changes any more may be remembered.
void letSettle() {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
}

// Each round changes the folder within the tick of the clock in which it was listed.
TEST(FolderIndexTest, SeesChangesOfTheSameInstant) {
    const TestFolder folder;
    folder.write("units/first.fbi", "first");
    const DirectoryFileSystem files(folder.path());
    for (int round = 0; round < 300; ++round) {
        const std::string name = fmt::format("u{}.fbi", round);
        const std::string asked = fmt::format("UNITS/U{}.FBI", round);
        ASSERT_FALSE(files.locate(asked)) << round;
        folder.write("units/" + name, "new");
        ASSERT_EQ(textOf(files, asked), "new") << round;
        fs::rename(folder.path() / "units" / name, folder.path() / "units/u.fbi");
        ASSERT_FALSE(files.locate(asked)) << round;
        fs::remove(folder.path() / "units/u.fbi");
        ASSERT_EQ(textOf(files, "UNITS/U.FBI"), "none") << round;
    }
}

TEST(FolderIndexTest, SeesWhatBecomesOfARememberedFolder) {
    const TestFolder folder;
    for (int i = 0; i < 3000; ++i) folder.write(fmt::format("units/unit{:04}.fbi", i), "old");
    folder.write("other/UNIT0007.fbi", "other");
    letSettle();
    const auto unpacked = fs::last_write_time(folder.path() / "units");
    const DirectoryFileSystem files(folder.path());
    for (const char* asked : {"units/UNIT0007.FBI", "Units/Unit2999.fbi"})
        EXPECT_EQ(textOf(files, asked), "old");
    EXPECT_EQ(textOf(files, "units/UNIT3000.FBI"), "none");

    // A mirroring program sets the folder's time back when it is done.
    folder.write("units/unit3000.fbi", "new");
    fs::last_write_time(folder.path() / "units", unpacked);
    EXPECT_EQ(textOf(files, "units/UNIT3000.FBI"), "new");
    letSettle();
    EXPECT_EQ(textOf(files, "units/UNIT3000.FBI"), "new");
    fs::remove(folder.path() / "units/unit3000.fbi");
    EXPECT_EQ(textOf(files, "units/UNIT3000.FBI"), "none");

    // Another folder of the same time takes its place.
    letSettle();
    EXPECT_EQ(textOf(files, "units/UNIT0008.FBI"), "old");
    fs::last_write_time(folder.path() / "other", unpacked);
    fs::rename(folder.path() / "units", folder.path() / "away");
    EXPECT_EQ(textOf(files, "units/UNIT0008.FBI"), "none");
    EXPECT_EQ(files.listFiles("units", ""), Names{});
    fs::rename(folder.path() / "other", folder.path() / "Units");
    EXPECT_EQ(textOf(files, "units/unit0007.fbi"), "other");
    EXPECT_EQ(textOf(files, "units/UNIT0008.FBI"), "none");
#if ORB_TEST_HAS_POSIX
    // A link that leads elsewhere from now on, then nowhere.
    fs::remove_all(folder.path() / "Units");
    fs::create_directory_symlink(folder.path() / "away", folder.path() / "Units");
    letSettle();
    EXPECT_EQ(textOf(files, "UNITS/UNIT0007.FBI"), "old");
    folder.write("third/unit0007.FBI", "third");
    fs::remove(folder.path() / "Units");
    fs::create_directory_symlink(folder.path() / "third", folder.path() / "Units");
    EXPECT_EQ(textOf(files, "UNITS/UNIT0007.FBI"), "third");
    fs::remove_all(folder.path() / "third");
    EXPECT_EQ(textOf(files, "UNITS/UNIT0007.FBI"), "none");
    EXPECT_EQ(files.listFiles("UNITS", ""), Names{});
#endif
}

TEST(FolderIndexTest, TrustsOnlyTimesThatAreOverForTheirClock) {
    using namespace std::chrono_literals;
    const FolderStamp fine{.changed = 1'000'000s + 500ms};
    EXPECT_FALSE(fine.isSettled(fine.changed));
    EXPECT_FALSE(fine.isSettled(fine.changed + 10ms)) << "a tick";
    EXPECT_FALSE(fine.isSettled(fine.changed - 1h)) << "a clock put back";
    EXPECT_TRUE(fine.isSettled(fine.changed + 200ms));
    const FolderStamp coarse{.changed = 1'000'000s};
    EXPECT_FALSE(coarse.isSettled(coarse.changed + 2s)) << "a tick of FAT";
    EXPECT_TRUE(coarse.isSettled(coarse.changed + 4s));
}

TEST(DataRootsTest, StacksArchivesByRankAndName) {
    const TestFolder folder;
    const Bytes archive = archiveOf({});
    for (const char* name : {"z.ufo", "a.hpi", "B.HPI", "b.gp3", "c.ccx", "g.Gpf"})
        folder.write(name, archive);
    folder.write("bad.ufo", "no archive");
    folder.write("sub/inner.hpi", archive);
    folder.write("other.zip", archive);
    fs::create_directory(folder.path() / "x.hpi");
    makePipe(folder.path() / "pipe.hpi");

    const LogCapture log;
    CompositeVirtualFileSystem stack;
    Names progress;
    const MountedRoot root =
        mountRoot(stack, {DataRootKind::mod, folder.path()},
                  [&](std::size_t index, std::size_t total, const std::string& name) {
                      progress.push_back(fmt::format("{}/{} {}", index, total, name));
                  });

    EXPECT_EQ(root.archives, 6u);
    ASSERT_EQ(root.unreadable.size(), 1u);
    EXPECT_EQ(root.unreadable[0].path, folder.path() / "bad.ufo");
    EXPECT_EQ(progress, (Names{"0/7 b.gp3", "1/7 g.Gpf", "2/7 bad.ufo", "3/7 z.ufo", "4/7 c.ccx",
                               "5/7 B.HPI", "6/7 a.hpi"}));
    Names layers;
    for (const VfsLayer& layer : stack.layers()) {
        layers.push_back(textFromPath(layer.path.filename()));
        EXPECT_EQ(layer.rootKind, DataRootKind::mod);
    }
    EXPECT_EQ(layers, (Names{"b.gp3", "g.Gpf", "z.ufo", "c.ccx", "B.HPI", "a.hpi",
                             textFromPath(folder.path().filename())}));
    EXPECT_TRUE(std::ranges::any_of(log.lines(), [](const std::string& line) {
        return line.starts_with(
            "[WARN] Failed to mount bad.ufo: Not a valid HPI file (bad magic): ");
    }));
    EXPECT_EQ(archiveRank("x.other"), 5);
}

TEST(DataRootsTest, LayersMapsOnlyWhenTheyAreElsewhere) {
    const TestFolder folder;
    fs::create_directories(folder.path() / "game");
    fs::create_directories(folder.path() / "maps");
    const fs::path game = folder.path() / "game";
    const struct {
        fs::path maps;
        bool layered;
    } cases[] = {{"", false},
                 {game, false},
                 {textFromPath(game) + "/", false},
                 {folder.path() / "maps/../game/.", false},
                 {fs::relative(game), false},
                 {folder.path() / "none", false},
                 {folder.path() / "maps", true}};
    for (const auto& each : cases) {
        CompositeVirtualFileSystem stack;
        EXPECT_EQ(buildLayers(stack, {}, game, each.maps).mapsLayered, each.layered) << each.maps;
        EXPECT_EQ(stack.layers().size(), each.layered ? 2u : 1u) << each.maps;
    }
    folder.write("file", "");
    CompositeVirtualFileSystem stack;
    EXPECT_THROW(buildLayers(stack, {}, folder.path() / "file", ""), fs::filesystem_error);
}

/// Two mods, the game and a maps folder; each file's content tells where it lies.
class LayersTest : public testing::Test {
protected:
    void SetUp() override {
        folder_.write("m1/a.ufo", archiveOf({{"Units/A.fbi", "m1 archive"}}));
        folder_.write("m1/units/a.fbi", "m1 loose");
        folder_.write("m1/units/b.fbi", "m1 loose");
        folder_.write("m2/b.hpi", archiveOf({{"units/B.FBI", "m2 archive"}}));
        Bytes damaged = archiveOf({{"units/c.fbi", "game archive"}, {"units/d.fbi", "d"}});
        damaged[damaged.size() - 93 - 1] ^= 1;  // in the last payload
        folder_.write("game/g.hpi", damaged);
        folder_.write("game/units/c.fbi", "game loose");
        folder_.write("maps/units/d.fbi", "maps loose");
        folder_.write("maps/units/e.tdf", "maps loose");
        const fs::path mods[] = {folder_.path() / "m1", folder_.path() / "m2"};
        result_ = buildLayers(stack_, mods, folder_.path() / "game", folder_.path() / "maps");
    }

    TestFolder folder_;
    CompositeVirtualFileSystem stack_;
    MountResult result_;
};

TEST_F(LayersTest, FirstLayerWins) {
    EXPECT_EQ(result_.modArchives, 2u);
    EXPECT_EQ(result_.baseArchives, 1u);
    EXPECT_EQ(stack_.readFile("units/a.fbi"), bytesOf("m1 archive"));
    EXPECT_EQ(stack_.readFile("units/b.fbi"), bytesOf("m1 loose"));
    EXPECT_EQ(stack_.readFile("units/c.fbi"), bytesOf("game archive"));
    EXPECT_EQ(stack_.readFile("units/e.tdf"), bytesOf("maps loose"));
    EXPECT_EQ(stack_.readFile("units/f.fbi"), std::nullopt);
    EXPECT_THROW(stack_.readFile("units/d.fbi"), std::runtime_error) << "damage is not absence";
    EXPECT_EQ(stack_.listDirectories(""), (Names{"Units", "units"}));
    EXPECT_EQ(
        stack_.listFiles("units", ".FBI"),
        (Names{"A.fbi", stack_.layers()[1].files->listFiles("units", "")[0],
               stack_.layers()[1].files->listFiles("units", "")[1], "B.FBI", "c.fbi", "d.fbi"}));
}

TEST_F(LayersTest, ReadsTheBeginningsOfFiles) {
    EXPECT_EQ(readBeginning(stack_, "units/a.fbi", 4), bytesOf("m1 a"));
    EXPECT_EQ(readBeginning(stack_, "units/b.fbi", 4), bytesOf("m1 l"));
    EXPECT_EQ(readBeginning(stack_, "units/c.fbi", 100), bytesOf("game archive"));
    EXPECT_EQ(readBeginning(stack_, "units/f.fbi", 4), std::nullopt);
    EXPECT_THROW(readBeginning(stack_, "units/d.fbi", 1), std::runtime_error);

    const HpiInputFile large[] = {{"maps/large.tnt", Bytes(3 * kHpiChunkSize, 'x')}};
    Bytes damaged = writeHpi(large);
    damaged[damaged.size() - 1 - 93] ^= 1;  // in the last payload
    folder_.write("m3/c.hpi", damaged);
    CompositeVirtualFileSystem stack;
    const fs::path mods[] = {folder_.path() / "m3"};
    buildLayers(stack, mods, folder_.path() / "game", {});
    EXPECT_THROW(stack.readFile("maps/large.tnt"), std::runtime_error);
    EXPECT_EQ(readBeginning(stack, "maps/large.tnt", 70'000), Bytes(70'000, 'x'));
}

TEST_F(LayersTest, TellsWhereFilesLie) {
    const std::vector<LayeredLocation> all = stack_.locateAll("UNITS\\B.fbi");
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].location.path, folder_.path() / "m1/units/b.fbi");
    EXPECT_EQ(all[0].location.kind, FileLocation::Kind::loose);
    EXPECT_EQ(all[1].location.path, folder_.path() / "m2/b.hpi");
    EXPECT_EQ(all[1].location.internalPath, "units/B.FBI");
    EXPECT_EQ(all[1].layer->path, folder_.path() / "m2/b.hpi");
    EXPECT_EQ(stack_.locate("units/a.fbi")->internalPath, "Units/A.fbi");
    EXPECT_EQ(stack_.locateInLayers("units/e.tdf")->layer->rootKind, DataRootKind::maps);
    EXPECT_FALSE(stack_.locate("units"));
}

TEST_F(LayersTest, VisitsTheWinnersAndReportsDamage) {
    EXPECT_EQ(visited(stack_, ".fbi"),
              (Names{"A.fbi=m1 archive", "b.fbi=m1 loose", "c.fbi=game archive",
                     "d.fbi!HPI chunk checksum mismatch"}));
    EXPECT_EQ(visited(stack_, "", [](std::string_view name) { return name == "e.tdf"; }),
              Names{"e.tdf=maps loose"});
    EXPECT_EQ(visited(*stack_.layers()[2].files, ".fbi"), Names{"B.FBI=m2 archive"});
    fs::remove(folder_.path() / "m2/b.hpi");
    EXPECT_EQ(visited(*stack_.layers()[2].files, ".fbi"),
              Names{"B.FBI!Cannot open HPI file: " + textFromPath(folder_.path() / "m2/b.hpi")});
}

// A thousand entries may share the data of one large file; reading each would take minutes.
TEST(ArchiveLayerTest, BoundsWhatOneWalkDecodes) {
    const TestFolder folder;
    BlockBuilder block;
    const std::uint32_t large = block.file(0, 300 << 20);
    const std::uint32_t empty = block.file();
    const std::uint32_t a = block.name("a"), b = block.name("b"), c = block.name("c");
    const std::uint32_t units = block.name("units");
    const std::uint32_t files =
        block.list({{a, large, false}, {b, large, false}, {c, empty, false}});
    block.root(1, block.list({{units, block.directory(3, files), true}}));
    const HpiFileSystem layer(folder.write("shared.hpi", block.archive()));
    EXPECT_EQ(visited(layer, ""),
              (Names{"a!HPI read error at offset 0", "b!HPI directory holds too much data", "c="}));
}

}  // namespace
}  // namespace orb::io
