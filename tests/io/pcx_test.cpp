#include "io/formats/pcx.h"

#include <gtest/gtest.h>

#include "io/format_damage.h"

namespace orb::io {
namespace {

/// A file with the given inclusive corners, line length and data, marker and palette behind it.
Bytes pcxFile(std::uint16_t xMax, std::uint16_t yMax, std::uint16_t bytesPerLine,
              const Bytes& data) {
    ByteWriter out;
    out.bytes(Bytes{10, 0, 0, 8});
    out.u16(1);  // x and y begin at 1
    out.u16(1);
    out.u16(xMax);
    out.u16(yMax);
    out.zeros(65 - out.position());
    out.u8(1);
    out.u16(bytesPerLine);
    out.zeros(128 - out.position());
    out.bytes(data);
    out.u8(12);
    for (int i = 0; i < 768; ++i) out.u8(static_cast<std::uint8_t>(i));
    return out.take();
}

TEST(Pcx, DecodesRuns) {
    const struct {
        const char* name;
        std::uint16_t width, height, bytesPerLine;
        Bytes data, pixels;
    } cases[] = {
        {"one run of one", 1, 1, 1, {0xC1, 7}, {7}},
        {"run past the line is dropped", 4, 2, 4, {0xC5, 3, 1, 2, 4, 5}, {3, 3, 3, 3, 1, 2, 4, 5}},
        {"padding is discarded", 3, 2, 4, {1, 2, 3, 99, 4, 0xC3, 5}, {1, 2, 3, 4, 5, 5}},
        {"a line shorter than the picture", 3, 2, 2, {1, 2, 3, 4}, {1, 2, 0, 3, 4, 0}},
        {"an empty run", 2, 1, 2, {0xC0, 9, 1, 2}, {1, 2}},
        {"high values need a run", 2, 1, 2, {0xC1, 0xC0, 0xBF}, {0xC0, 0xBF}},
        {"the palette is read when data ends", 4, 1, 4, {}, {12, 0, 1, 2}},
    };
    for (const auto& [name, width, height, bytesPerLine, data, pixels] : cases) {
        const PcxImage image = parsePcx(pcxFile(width, height, bytesPerLine, data));
        EXPECT_EQ(image.pixels, pixels) << name;
        EXPECT_EQ(image.palette[1], (Rgb{3, 4, 5})) << name;
    }
}

TEST(Pcx, LeavesMissingPixelsZero) {
    Bytes file = pcxFile(9000, 1, 9000, {});
    EXPECT_EQ(parsePcx(file).pixels.at(8999), 0);
    file.back() = 0xFF;  // opens a run that has no value
    EXPECT_EQ(parsePcx(file).pixels.at(8999), 0);
}

TEST(Pcx, RefusesOtherFiles) {
    const Bytes sound = pcxFile(1, 1, 1, {});
    ASSERT_EQ(sound.size(), 897U);
    const auto with = [&](std::size_t offset, std::uint8_t value) {
        Bytes file = sound;
        file.at(offset) = value;
        return file;
    };
    expectRefusals(parsePcx, {{Bytes(896, 10), "PCX data too small"},
                              {with(0, 11), "Invalid PCX manufacturer byte"},
                              {with(3, 1), "Only 256-color (8-bit, 1 plane) PCX supported"},
                              {with(65, 3), "Only 256-color (8-bit, 1 plane) PCX supported"},
                              {with(128, 13), "PCX palette marker not found"},
                              {pcxFile(4096, 4096, 1, {}), ""},
                              {pcxFile(4096, 4097, 1, {}), "PCX data too small"}});
    EXPECT_TRUE(parsePcx(pcxFile(0, 500, 8, {1, 2, 3})).pixels.empty());  // 1 .. 0 wraps
}

TEST(Pcx, ReadsWhatItWrites) {
    const std::pair<std::uint16_t, std::uint16_t> sizes[] = {{0, 3},  {1, 1},   {5, 3},
                                                             {64, 2}, {300, 2}, {65535, 1}};
    for (const auto& [width, height] : sizes) {
        PcxImage image{width, height, Bytes(std::size_t{width} * height), {}};
        for (std::size_t i = 0; i < image.pixels.size(); ++i)
            image.pixels[i] = static_cast<std::uint8_t>(i % 7 < 4 ? 0xC5 : i);
        image.palette[255] = {1, 2, 3};
        const PcxImage read = parsePcx(writePcx(image));
        EXPECT_EQ(std::pair(read.width, read.height), std::pair(width, height));
        EXPECT_EQ(read.pixels, image.pixels) << width;
        EXPECT_EQ(read.palette, image.palette);
    }
    EXPECT_THROW(writePcx({2, 2, Bytes(3), {}}), std::runtime_error);
    expectSurvivesDamage(writePcx({3, 2, {1, 1, 1, 2, 3, 200}, {}}), parsePcx);
}

}  // namespace
}  // namespace orb::io
