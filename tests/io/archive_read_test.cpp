#include <gtest/gtest.h>
#include <zlib.h>

#include "io/archive/hpi_archive.h"
#include "io/archive/hpi_format.h"
#include "io/archive/hpi_writer.h"
#include "io/path_text.h"
#include "tests/io/archive_fixture.h"

namespace orb::io {
namespace {

/// One chunk with a matching checksum, not scrambled.
Bytes chunk(int method, const Bytes& payload, std::uint32_t decodedSize) {
    std::uint32_t sum = 0;
    for (const std::uint8_t byte : payload) sum += byte;
    ByteWriter out;
    out.text("SQSH");
    out.u8(2);
    out.u8(static_cast<std::uint8_t>(method));
    out.u8(0);
    out.u32(static_cast<std::uint32_t>(payload.size()));
    out.u32(decodedSize);
    out.u32(sum);
    out.bytes(payload);
    return out.take();
}

Bytes chunked(const std::vector<Bytes>& chunks) {
    ByteWriter out;
    for (const Bytes& each : chunks) out.u32(static_cast<std::uint32_t>(each.size()));
    for (const Bytes& each : chunks) out.bytes(each);
    return out.take();
}

Bytes deflated(const Bytes& content) {
    const auto plainSize = static_cast<uLong>(content.size());
    uLongf size = compressBound(plainSize);
    Bytes result(size);
    compress2(result.data(), &size, content.data(), plainSize, 9);
    result.resize(size);
    return result;
}

Bytes flippedLast(Bytes bytes) {
    bytes.back() ^= 1;
    return bytes;
}

TEST(ArchiveReadTest, RefusesWhatIsNoArchive) {
    const TestFolder folder;
    const Bytes sound = oneFileArchive(0, {});
    const std::string path = textFromPath(folder.path() / "a.hpi");
    const struct {
        Bytes file;
        std::string text;
    } cases[] = {
        {{}, "Not a valid HPI file (bad magic): " + path},
        {bytesOf("HAPI"), "Not a valid HPI file (bad magic): " + path},
        {patched(sound, 0, 0x49504149), "Not a valid HPI file (bad magic): " + path},
        {patched(sound, 4, 0x20000), "Unsupported HPI version: " + path},
        {Bytes(sound.begin(), sound.begin() + 19), "HPI header read error: " + path},
        {patched(sound, 8, kOneFileData + 1), "HPI read error at offset 20"},
        {patched(sound, 8, 19), "HPI read error at offset 20"},
        {patched(sound, 16, 0xFFFFFFFF), "HPI read error at offset 4294967295"},
        {patched(sound, 8, 20), ""},
        {patched(sound, 12, 0x7FFFFF00), ""},
    };
    for (const auto& each : cases)
        EXPECT_EQ(archiveRefusal(folder.write("a.hpi", each.file)), each.text);
    EXPECT_EQ(archiveRefusal(folder.path() / "none"),
              "Cannot open HPI file: " + textFromPath(folder.path() / "none"));
    EXPECT_EQ(archiveRefusal(folder.path()),
              "Cannot open HPI file: " + textFromPath(folder.path()));
}

TEST(ArchiveReadTest, ReadsScrambledArchivesAndBanks) {
    const TestFolder folder;
    const Bytes data = chunked({chunk(0, bytesOf("secret"), 6)});
    Bytes bytes = patched(oneFileArchive(6, data), 12, 0xABCDEF7D);
    for (std::size_t i = 20; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ (i & 0xFF) ^ 0xF5);
    const HpiArchive archive(folder.write("a.hpi", patched(bytes, 4, 0x4B4E4142)));
    EXPECT_TRUE(archive.isBank());
    EXPECT_EQ(archive.readKey(), 0xF5);
    EXPECT_EQ(archive.readFile(*archive.findFile("F")), bytesOf("secret"));

    Bytes zero{0};
    scrambleByPosition(zero, 0x1234, 0xF5);
    EXPECT_EQ(zero[0], 0xC1);
}

TEST(ArchiveReadTest, DecodesChunks) {
    const TestFolder folder;
    const Bytes zeros(70000);
    const struct {
        const char* what;
        std::uint32_t size;
        Bytes chunk;
        Bytes expected;
    } cases[] = {
        {"stored beyond its decoded size", 4, chunk(0, bytesOf("abcdef"), 2), bytesOf("abcd")},
        {"short, padded", 4, chunk(0, bytesOf("ab"), 2), {'a', 'b', 0, 0}},
        {"zlib", 3, chunk(2, deflated(bytesOf("xyz")), 3), bytesOf("xyz")},
        {"zlib, shorter than announced",
         3,
         chunk(2, deflated(bytesOf("xy")), 99999),
         {'x', 'y', 0}},
        {"zlib of nothing", 1, chunk(2, deflated({}), 0), {0}},
        {"LZ77 literals, second tag", 9,
         chunk(1, bytesOf(std::string_view("\0abcdefgh\0i", 11)), 9), bytesOf("abcdefghi")},
        {"LZ77 end marker", 2, chunk(1, {0x01, 0, 0}, 2), {0, 0}},
        {"LZ77 end marker whatever its length", 2, chunk(1, {0x01, 0x0F, 0, 'x'}, 2), {0, 0}},
        {"LZ77 reference before any output", 3, chunk(1, {0x01, 0x01, 0x10}, 3), {0, 0, 0}},
        {"LZ77 overlapping reference", 6, chunk(1, {0x02, 'a', 0x13, 0x00}, 6), bytesOf("aaaaaa")},
        {"LZ77 reference around the window's end",
         3,
         chunk(1, {0x02, 'z', 0xF1, 0xFF}, 4),
         {'z', 0, 0}},
        {"LZ77 limit inside a reference",
         4,
         chunk(1, {0x02, 'a', 0x1F, 0x00}, 2),
         {'a', 'a', 0, 0}},
        {"LZ77 cut inside a reference", 2, chunk(1, {0x02, 'a', 0x1F}, 9), {'a', 0}},
        {"LZ77 of nothing", 1, chunk(1, {}, 1), {0}},
    };
    for (const auto& each : cases) {
        const HpiArchive archive(
            folder.write("a.hpi", oneFileArchive(each.size, chunked({each.chunk}))));
        EXPECT_EQ(archive.readFile(*archive.findFile("f")), each.expected) << each.what;
    }
}

TEST(ArchiveReadTest, RefusesDamagedChunks) {
    const TestFolder folder;
    const Bytes good = chunk(0, bytesOf("abc"), 3);
    const Bytes manyEmpty = chunked(std::vector<Bytes>(1600, chunk(0, {}, 0)));
    const struct {
        std::uint32_t size;
        Bytes data;
        const char* text;
    } cases[] = {
        {0, {}, ""},
        {3, chunked({Bytes(18)}), "HPI chunk too small"},
        {3, chunked({patched(good, 0, 1)}), "Bad HPI chunk magic"},
        {3, chunked({patched(good, 7, 4)}), "HPI chunk too small"},
        {3, chunked({patched(good, 7, 0xFFFFFFFF)}), "HPI chunk too small"},
        {3, chunked({patched(good, 15, 0)}), "HPI chunk checksum mismatch"},
        {3, chunked({chunk(3, {}, 0)}), "Unknown HPI compression type: 3"},
        {3, chunked({chunk(2, bytesOf("junk"), 3)}), "ZLib decompression failed: -3"},
        {3, chunked({chunk(2, {}, 3)}), "ZLib decompression failed: -3"},
        {3, chunked({chunk(2, deflated(bytesOf("wxyz")), 3)}), "ZLib decompression failed: -5"},
        {3, chunked({chunk(2, flippedLast(deflated(bytesOf("xyz"))), 3)}),
         "ZLib decompression failed: -3"},
        {70000, chunked({chunk(2, deflated(Bytes(70000)), 70000), good}),
         "ZLib decompression failed: -5"},
        // the size table, then the second chunk, outside the file
        {3, {}, "HPI read error at offset 48"},
        {0xFFFFFFFF, chunked({good}), "HPI read error at offset 48"},
        {65537, patched(chunked({good, good}), 4, 23), "HPI read error at offset 78"},
        {65537, patched(chunked({patched(good, 0, 1), good}), 4, 23), "Bad HPI chunk magic"},
        // 100 MiB out of 30 KiB
        {1600 << 16, manyEmpty, "HPI read error at offset 48"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(
            archiveRefusal(folder.write("a.hpi", oneFileArchive(cases[i].size, cases[i].data))),
            cases[i].text)
            << "case " << i;
}

TEST(ArchiveReadTest, SurvivesTruncationAndFlippedBytes) {
    const TestFolder folder;
    const HpiInputFile files[] = {{"units/a.fbi", bytesOf("[UNITINFO] { unitname=a; }")},
                                  {"units/scripts/a.cob", Bytes(300, 7)},
                                  {"readme", bytesOf("hello")}};
    const Bytes sound = writeHpi(files);
    for (std::size_t size = 0; size < sound.size(); ++size)
        EXPECT_NO_THROW(archiveRefusal(folder.write(
            "a.hpi", Bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size)))));
    for (std::size_t i = 0; i < sound.size(); ++i)
        for (const int mask : {0x01, 0x80, 0xFF}) {
            Bytes damaged = sound;
            damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ mask);
            EXPECT_NO_THROW(archiveRefusal(folder.write("a.hpi", damaged))) << "byte " << i;
        }
}

/// Entries of the whole tree, the bytes of their names, and how deep directories nest.
struct TreeSize {
    std::size_t entries = 0;
    std::size_t nameBytes = 0;
    int depth = 0;
};

TreeSize sizeOf(const HpiEntries& entries) {
    TreeSize size;
    for (const HpiEntry& entry : entries) {
        ++size.entries;
        size.nameBytes += entry.name.size();
        if (!entry.directory()) continue;
        const TreeSize below = sizeOf(*entry.directory());
        size.entries += below.entries;
        size.nameBytes += below.nameBytes;
        size.depth = std::max(size.depth, below.depth + 1);
    }
    return size;
}

TEST(ArchiveDirectoryTest, BoundsCyclesSharedDirectoriesAndNesting) {
    BlockBuilder cycle;
    const std::uint32_t loop = cycle.name("loop");
    const std::uint32_t file = cycle.file();
    cycle.root(2, cycle.list({{loop, BlockBuilder::kStart, true}, {loop, file, false}}));
    const HpiDirectory cyclic = parseHpiDirectory(cycle.block(), BlockBuilder::kStart);
    const HpiEntryIndex index(cyclic);
    EXPECT_TRUE(index.findFile(cyclic.entries, "LOOP")) << "what follows the loop must not be lost";
    EXPECT_LE(sizeOf(cyclic.entries).entries, cycle.block().size() / 9);

    BlockBuilder exploding;
    std::uint32_t child = exploding.directory(0, 0);
    std::uint32_t list = 0;
    for (int level = 0; level < 100; ++level) {
        list = exploding.list({{loop, child, true}, {loop, child, true}, {loop, child, true}});
        child = exploding.directory(3, list);
    }
    exploding.root(3, list);
    const HpiDirectory exploded = parseHpiDirectory(exploding.block(), BlockBuilder::kStart);
    EXPECT_EQ(sizeOf(exploded.entries).entries, exploding.block().size() / 9);

    BlockBuilder deep;
    child = deep.directory(0, 0);
    for (int level = 0; level < 200; ++level)
        child = deep.directory(1, list = deep.list({{loop, child, true}}));
    deep.root(1, list);
    const HpiDirectory nested = parseHpiDirectory(deep.block(), BlockBuilder::kStart);
    EXPECT_EQ(sizeOf(nested.entries).depth, kMaxHpiNesting + 1);

    BlockBuilder longNames;
    const std::uint32_t name = longNames.name(std::string(1 << 20, 'n'));
    const std::uint32_t record = longNames.file();
    longNames.root(1000,
                   longNames.list(std::vector<BlockBuilder::Entry>(1000, {name, record, false})));
    const TreeSize named =
        sizeOf(parseHpiDirectory(longNames.block(), BlockBuilder::kStart).entries);
    EXPECT_EQ(named.entries, 1000u);
    EXPECT_EQ(named.nameBytes, kMaxHpiNameBytes);
}

TEST(ArchiveDirectoryTest, KeepsWhatFitsInTheBlock) {
    BlockBuilder block;
    const std::uint32_t name = block.name("kept");
    const std::uint32_t file = block.file(5, 6);
    block.directory(0x7FFFFFFF, block.next() + 8);  // its list reaches past the end
    block.list({{name, file, false},
                {name, 0xFFFFFFFF, false},  // a record outside: dropped
                {0xFFFFFFFF, file, false},  // a name outside: empty
                {name, 0xFFFFFFFF, true},   // a directory outside: empty
                {name, BlockBuilder::kStart - 1, true}});
    block.root(0x7FFFFFFF, block.next() - 5 * 9);
    const HpiDirectory root = parseHpiDirectory(block.block(), BlockBuilder::kStart);
    ASSERT_EQ(root.entries.size(), 4u);
    EXPECT_EQ(root.entries[0].file()->dataOffset, 5u);
    EXPECT_EQ(root.entries[1].name, "");
    EXPECT_TRUE(root.entries[2].directory()->empty());
}

TEST(ArchiveDirectoryTest, FindsTheFirstOfEachName) {
    const TestFolder folder;
    BlockBuilder block;
    const std::uint32_t name = block.name("Same");
    const std::uint32_t other = block.name("other");
    const std::uint32_t up = block.name("..");
    const std::uint32_t slashed = block.name("Same/only");
    const std::uint32_t first = block.file(1);
    const std::uint32_t second = block.file(2);
    const std::uint32_t inner = block.directory(1, block.list({{name, second, false}}));
    const std::uint32_t hidden = block.directory(1, block.list({{other, second, false}}));
    const std::vector<BlockBuilder::Entry> entries{
        {name, inner, true}, {name, hidden, true}, {name, first, false},   {name, second, false},
        {up, first, false},  {up, hidden, true},   {slashed, first, false}};
    block.root(static_cast<std::uint32_t>(entries.size()), block.list(entries));
    const HpiArchive archive(folder.write("a.hpi", block.archive()));

    const auto offsetOf = [&](std::string_view path) {
        const HpiEntry* const entry = archive.findFile(path);
        return entry ? static_cast<int>(entry->file()->dataOffset) : -1;
    };
    const struct {
        std::string_view path;
        int dataOffset;
    } cases[] = {{"same", 1},        {"\\SAME//", 1}, {"same/same", 2},      {"/Same\\\\sAME", 2},
                 {"same/other", -1}, {"..", -1},      {"../other", -1},      {"./same", -1},
                 {"same/only", -1},  {"", -1},        {"same/same/same", -1}};
    for (const auto& each : cases) EXPECT_EQ(offsetOf(each.path), each.dataOffset) << each.path;
    EXPECT_EQ(archive.storedPath("SAME\\same"), "Same/Same");
    EXPECT_EQ(archive.findDirectory("//"), &archive.root().entries);
    EXPECT_EQ(archive.findDirectory("sAme"), archive.root().entries[0].directory());
    EXPECT_EQ(archive.findDirectory("other"), nullptr);
}

}  // namespace
}  // namespace orb::io
