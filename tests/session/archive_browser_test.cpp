#include "session/archive_browser.h"

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "io/archive/hpi_writer.h"
#include "session/request_error.h"
#include "tests/io/archive_fixture.h"
#include "tests/platform.h"

namespace orb::unitview {
namespace {

using io::BlockBuilder;
using io::HpiArchive;
using io::TestFolder;

constexpr bool kOnWindows = !ORB_TEST_HAS_POSIX;

/// "path: reason" of everything that extracting the whole archive skips.
std::vector<std::string> skippedBy(const HpiArchive& archive, const TestFolder& folder) {
    std::vector<std::string> result;
    const auto extracted = extractArchiveDirectory(archive, "", folder.path() / "out", true);
    for (const auto& [path, reason] : extracted.skipped)
        result.push_back(fmt::format("{}: {}", path, reason));
    return result;
}

// A directory's name of one megabyte, shared by a thousand files, would cost a gigabyte of paths.
TEST(ArchiveBrowserTest, BoundsThePathsOfAListing) {
    const TestFolder folder;
    BlockBuilder block;
    const std::uint32_t longName = block.name(std::string(1 << 20, 'd'));
    const std::uint32_t name = block.name("f");
    const std::uint32_t file = block.file();
    const std::uint32_t files =
        block.list(std::vector<BlockBuilder::Entry>(1000, {name, file, false}));
    block.root(1, block.list({{longName, block.directory(1000, files), true}}));
    const HpiArchive archive(folder.write("long.hpi", block.archive()));
    try {
        listArchiveFiles(archive, "");
        FAIL() << "the paths were listed";
    } catch (const RequestError& error) {
        EXPECT_STREQ(error.what(), "archive paths too long");
    }
}

TEST(ArchiveBrowserTest, ExtractsTheFirstOfANameAndNoMoreThanTheArchiveCanHold) {
    const TestFolder folder;
    BlockBuilder block;
    const std::uint32_t twin = block.name("twin");
    const std::uint32_t bulk = block.name("bulk");
    const std::uint32_t more = block.name("more");
    const std::uint32_t nothing = block.file();
    const std::uint32_t shared = block.file(0, 60 << 20);
    block.root(4, block.list({{twin, nothing, false},
                              {twin, shared, false},
                              {bulk, shared, false},
                              {more, shared, false}}));
    const HpiArchive archive(folder.write("shared.hpi", block.archive()));
    EXPECT_EQ(skippedBy(archive, folder),
              (std::vector<std::string>{"twin: another file of that name comes first",
                                        "bulk: HPI read error at offset 0",
                                        "more: more data than the archive can hold"}));
    EXPECT_EQ(std::filesystem::file_size(folder.path() / "out/twin"), 0u);
}

TEST(ArchiveBrowserTest, ExtractsWhatComesInManyBatches) {
    const TestFolder folder;
    std::vector<io::HpiInputFile> files;
    for (std::size_t i = 0; i < 60; ++i)
        files.push_back({fmt::format("f{}/{}", i % 7, i), io::Bytes(i * 3'000, std::uint8_t(i))});
    const HpiArchive archive(folder.write("many.hpi", io::writeHpi(files)));
    std::vector<std::size_t> steps;
    const auto result =
        extractArchiveDirectory(archive, "", folder.path() / "out", false,
                                io::Progress([&](std::string_view, std::size_t step, std::size_t) {
                                    steps.push_back(step);
                                }));
    EXPECT_EQ(result.fileCount, files.size());
    EXPECT_TRUE(result.skipped.empty());
    EXPECT_EQ(steps.size(), files.size());
    EXPECT_TRUE(std::ranges::is_sorted(steps));
    for (const io::HpiInputFile& file : files) {
        std::ifstream written(folder.path() / "out" / file.path, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(written), {}};
        EXPECT_EQ(text, io::asText(file.content)) << file.path;
    }
}

TEST(ArchiveBrowserTest, WritesNothingUnderANameThatLeavesTheFolder) {
    const TestFolder folder;
    BlockBuilder block;
    const std::uint32_t file = block.file();
    std::vector<BlockBuilder::Entry> files;
    std::vector<std::string> refused;
    const struct {
        const char* name;
        bool isRefused;
    } cases[] = {
        {"..", true},
        {"a:b", true},
        {"aux.fbi", kOnWindows},
        {"Com1 .x", kOnWindows},
        {"dot.", kOnWindows},
        {"blank ", kOnWindows},
        {"auxiliary", false},
        {"COM", false},
        {".nul", false},
    };
    for (const auto& [name, isRefused] : cases) {
        files.push_back({block.name(name), file, false});
        if (isRefused) refused.push_back(std::string(name) + ": unsafe file name");
    }
    const auto count = static_cast<std::uint32_t>(files.size());
    block.root(count, block.list(files));
    EXPECT_EQ(skippedBy(HpiArchive(folder.write("names.hpi", block.archive())), folder), refused);
}

}  // namespace
}  // namespace orb::unitview
