#include <random>

#include <gtest/gtest.h>

#include "io/archive/hpi_archive.h"
#include "io/archive/hpi_writer.h"
#include "tests/io/archive_fixture.h"

namespace orb::io {
namespace {

Bytes noise(std::size_t size) {
    std::mt19937 random(static_cast<unsigned>(size));
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

std::string refusal(const std::string& path) {
    try {
        const HpiInputFile file{path, {}};
        writeHpi({&file, 1});
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(ArchiveWriteTest, ReadsBackEveryFile) {
    const TestFolder folder;
    std::vector<HpiInputFile> files{{"top.txt", bytesOf("top")}, {"a\\b/c/deep.bin", noise(3)}};
    for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 70000u, 700000u}) {
        files.push_back({fmt::format("/units//noise{}.bin", size), noise(size)});
        files.push_back({fmt::format("UNITS/zeros{}.bin", size), Bytes(size)});
    }
    const Bytes bytes = writeHpi(files);
    const HpiArchive archive(folder.write("a.hpi", bytes));
    EXPECT_EQ(archive.readKey(), 0);
    EXPECT_EQ(archive.findDirectory("")->size(), 3u) << "units and UNITS are one directory";
    HpiReader reader = archive.openReader();
    for (const HpiInputFile& file : files) {
        const HpiEntry* const entry = archive.findFile(file.path);
        ASSERT_TRUE(entry) << file.path;
        EXPECT_EQ(archive.readFile(*entry), file.content) << file.path;
        EXPECT_EQ(reader.readFile(*entry->file()), file.content) << file.path;
    }
    const std::string tail(bytes.end() - 93, bytes.end());
    EXPECT_TRUE(tail.starts_with("This archive was packed by ORB Unit Editor.")) << tail;
}

TEST(ArchiveWriteTest, LaysOutChunks) {
    const TestFolder folder;
    const HpiInputFile file{"f", noise(70000)};
    const HpiArchive archive(folder.write("a.hpi", writeHpi({&file, 1})));
    const Bytes blob = archive.openReader().readBlob(*archive.findFile("f")->file());
    ByteCursor cursor(blob, "blob too small");
    ASSERT_EQ(cursor.u32(), 65536u + 19u);
    ASSERT_EQ(cursor.u32(), 4464u + 19u);
    EXPECT_EQ(cursor.u32(), 0x48535153u);
    EXPECT_EQ(cursor.u8(), 2);
    EXPECT_EQ(cursor.u8(), 0) << "noise is stored";
    EXPECT_EQ(cursor.u8(), 1);
    EXPECT_EQ(cursor.u32(), 65536u);
    EXPECT_EQ(cursor.u32(), 65536u);
    cursor.skip(4);
    for (std::size_t i = 0; i < 300; ++i)
        ASSERT_EQ(cursor.u8(), ((file.content[i] ^ (i & 0xFF)) + (i & 0xFF)) & 0xFF) << i;
}

TEST(ArchiveWriteTest, CopiesStoredFormsByteForByte) {
    const TestFolder folder;
    const HpiInputFile file{"f", Bytes(100000, 3)};
    const HpiArchive archive(folder.write("a.hpi", writeHpi({&file, 1})));
    const HpiFileEntry entry = *archive.findFile("f")->file();
    const HpiInputFile copy{"f", archive.openReader().readBlob(entry), entry.fileSize};
    EXPECT_EQ(writeHpi({&copy, 1}), writeHpi({&file, 1}));
}

TEST(ArchiveWriteTest, RefusesPathsThatNoReaderFinds) {
    std::string deepest;
    for (int i = 0; i < 128; ++i) deepest += "d/";
    EXPECT_EQ(refusal(deepest + "f"), "");
    for (const std::string& path : {std::string(), std::string("//"), std::string("a/../b"),
                                    std::string("./a"), std::string("a\0b", 3), deepest + "d/f"})
        EXPECT_TRUE(refusal(path).starts_with("HPI path not writable: ")) << path;
}

}  // namespace
}  // namespace orb::io
