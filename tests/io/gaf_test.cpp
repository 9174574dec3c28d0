#include "io/formats/gaf.h"

#include <gtest/gtest.h>

#include "io/format_damage.h"

namespace orb::io {
namespace {

constexpr const char* kTooSmall = "GAF data too small";

GafFrame frame(std::uint16_t width, std::uint16_t height, Bytes pixels) {
    GafFrame result;
    result.width = width;
    result.height = height;
    result.pixels = std::move(pixels);
    return result;
}

GafFile sampleGaf() {
    GafFrame second = frame(3, 2, {9, 9, 9, 1, 2, 3});
    second.originX = -5;
    second.originY = 300;
    second.transparencyIndex = 9;
    second.duration = 70000;
    return {{{"Empty", {}},
             {"Wall", {frame(2, 1, {7, 8}), second}},
             {std::string(32, 'n'), {frame(0, 4, {})}}}};
}

/// A frame record; `compressed` is 0 or 1.
void writeRecord(ByteWriter& out, std::uint16_t width, std::uint16_t height, std::uint16_t originX,
                 std::uint8_t transparency, std::uint8_t compressed, std::uint16_t subframes,
                 std::uint32_t data) {
    for (const std::uint16_t field : {width, height, originX, std::uint16_t{0}}) out.u16(field);
    out.u8(transparency);
    out.u8(compressed);
    out.u16(subframes);
    out.u32(0);
    out.u32(data);
    out.u32(0);
}

constexpr std::uint32_t kRecordAt = 64;

/// A file with one entry of one frame, whose record stands at `kRecordAt` with `rest` behind it.
Bytes oneFrame(std::uint16_t width, std::uint16_t height, std::uint8_t compressed,
               std::uint16_t subframes, const Bytes& rest) {
    ByteWriter out;
    for (const std::uint32_t word : {0x00010100U, 1U, 0U, 16U, 0x00010001U, 0U}) out.u32(word);
    out.zeros(32);
    out.u32(kRecordAt);
    out.u32(0);
    writeRecord(out, width, height, 1, 9, compressed, subframes, kRecordAt + 24);
    out.bytes(rest);
    return out.take();
}

TEST(Gaf, ReadsWhatItWrites) {
    for (const GafEncoding encoding : {GafEncoding::plain, GafEncoding::compressed}) {
        const Bytes file = writeGaf(sampleGaf(), encoding);
        const GafFile read = parseGaf(file);
        EXPECT_EQ(writeGaf(read, encoding), file);
        const GafFrame& second = read.entries.at(1).frames.at(1);
        EXPECT_EQ(second.pixels, (Bytes{9, 9, 9, 1, 2, 3}));
        EXPECT_EQ(second.originX, -5);
        EXPECT_EQ(second.originY, 300);
        EXPECT_EQ(second.duration, 70000U);
        EXPECT_EQ(readGafEntryNames(file),
                  (std::vector<std::string>{"Empty", "Wall", std::string(32, 'n')}));
        EXPECT_EQ(readGafEntry(file, 1).frames.at(0).pixels, (Bytes{7, 8}));
        EXPECT_THROW(readGafEntry(file, 3), std::runtime_error);
        EXPECT_THROW(writeGaf({{{"a", {frame(2, 2, Bytes(3))}}}}, encoding), std::runtime_error);
        EXPECT_THROW(writeGaf({{{std::string(33, 'n'), {}}}}, encoding), std::runtime_error);
        expectSurvivesDamage(file, parseGaf);
        expectSurvivesDamage(file, readGafEntryNames);
    }
}

TEST(Gaf, CompressionRestoresEveryKindOfRow) {
    Bytes noise;
    Bytes mixed;
    for (std::size_t i = 0; i < 65535; ++i) {
        noise.push_back(static_cast<std::uint8_t>(1 + i % 199));
        mixed.push_back(static_cast<std::uint8_t>(i % 300 < 140 ? 0 : i % 300 < 210 ? 5 : i / 2));
    }
    for (const Bytes& row :
         {Bytes(400, 0), Bytes(400, 3), Bytes{1, 1, 2, 2, 2, 0, 3}, mixed, noise}) {
        const GafFile gaf{{{"row", {frame(static_cast<std::uint16_t>(row.size()), 1, row)}}}};
        const Bytes file = writeGaf(gaf, GafEncoding::compressed);
        EXPECT_EQ(parseGaf(file).entries[0].frames[0].pixels, row);
        // codes of pure noise outgrow their 16-bit length, so that row is stored plain
        EXPECT_EQ(file.at(kRecordAt + 9), row == noise ? 0 : 1);
    }
}

TEST(Gaf, DecodesRowsThatMisfit) {
    const struct {
        const char* name;
        Bytes codes, pixels;
        const char* text;
    } cases[] = {
        {"skip, repeat, copy", {6, 0, 3, 2, 7, 4, 1, 2}, {9, 7, 1, 2}, ""},
        {"row ends early", {2, 0, 0, 5}, {5, 9, 9, 9}, ""},
        {"codes past the row's end", {4, 0, 30, 7, 30, 8}, {7, 7, 7, 7}, ""},
        {"skip past the row's end", {3, 0, 255, 2, 8}, {9, 9, 9, 9}, ""},
        {"copy of more bytes than are left", {3, 0, 12, 1, 2}, {1, 2, 9, 9}, ""},
        {"repeat without a value", {1, 0, 2}, {9, 9, 9, 9}, ""},
        {"row past the file's end", {3, 0, 0, 5}, {}, kTooSmall},
    };
    for (const auto& [name, codes, pixels, text] : cases) {
        const Bytes file = oneFrame(4, 1, 1, 0, codes);
        ASSERT_EQ(refusal(file, parseGaf), text) << name;
        if (!pixels.empty()) {
            EXPECT_EQ(parseGaf(file).entries[0].frames[0].pixels, pixels) << name;
        }
    }
}

TEST(Gaf, DrawsSubframesByTheirOrigins) {
    ByteWriter rest;
    constexpr std::uint32_t kList = kRecordAt + 24;
    for (const std::uint32_t record : {0U, 1U, 2U}) rest.u32(kList + 12 + record * 24);
    const std::uint32_t data = kList + 12 + 3 * 24;
    writeRecord(rest, 2, 1, 1, 0, 0, 0, data);           // in place
    writeRecord(rest, 3, 1, 0xFFFF, 0, 0, 0, data + 2);  // two to the right, clipped
    writeRecord(rest, 3, 2, 2, 6, 0, 0, data + 5);       // one to the left, clipped
    rest.bytes(Bytes{1, 2, 3, 0, 5, 4, 6, 7, 8, 8, 8});
    const GafFile gaf = parseGaf(oneFrame(4, 1, 0, 3, rest.take()));
    EXPECT_EQ(gaf.entries[0].frames[0].pixels, (Bytes{1, 7, 3, 9}));
}

TEST(Gaf, BoundsNestingAndWork) {
    const auto nested = [](int depth) {
        ByteWriter rest;
        for (int level = 0; level < depth; ++level) {
            const auto list = static_cast<std::uint32_t>(kRecordAt + 24 + rest.position());
            rest.u32(list + 4);
            const bool last = level + 1 == depth;
            writeRecord(rest, 1, 1, 1, 9, 0, last ? 0 : 1, list + 28);
        }
        rest.u8(5);
        return oneFrame(1, 1, 0, 1, rest.take());
    };
    EXPECT_EQ(parseGaf(nested(kMaxGafNesting)).entries[0].frames[0].pixels, Bytes{5});
    EXPECT_EQ(refusal(nested(kMaxGafNesting + 1), parseGaf), kTooSmall);

    // more entries than have room, all of them in one place
    ByteWriter shared;
    for (const std::uint32_t word : {0x00010100U, 3U, 0U, 24U, 24U, 24U}) shared.u32(word);
    shared.zeros(40);
    EXPECT_EQ(refusal(shared.take(), readGafEntryNames), kTooSmall);

    ByteWriter itself;
    for (int i = 0; i < 100; ++i) itself.u32(kRecordAt);
    expectRefusals(parseGaf, {{oneFrame(1, 1, 0, 100, itself.take()), kTooSmall},
                              {oneFrame(1, 1, 0, 2, Bytes(7)), kTooSmall},
                              {oneFrame(1024, 1024, 1, 0, Bytes(2048)), ""},
                              {oneFrame(1024, 1200, 1, 0, Bytes(2400)), kTooSmall},
                              {oneFrame(4096, 4097, 1, 0, Bytes(300000)), kTooSmall},
                              {Bytes{0, 1, 1}, kTooSmall},
                              {Bytes(12), "Invalid GAF version"}});
}

}  // namespace
}  // namespace orb::io
