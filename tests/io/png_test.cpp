#include "io/formats/png.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "io/format_damage.h"
#include "io/plain_png.h"

namespace orb::io {
namespace {

void appendU32(Bytes& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void appendChunk(Bytes& out, std::string_view type, const Bytes& data) {
    appendU32(out, static_cast<std::uint32_t>(data.size()));
    const std::size_t start = out.size();
    out.insert(out.end(), type.begin(), type.end());
    out.insert(out.end(), data.begin(), data.end());
    appendU32(out, static_cast<std::uint32_t>(
                       crc32(0, out.data() + start, static_cast<uInt>(out.size() - start))));
}

struct Source {
    std::uint32_t width, height;
    std::uint8_t bitDepth, colorType;
    /// Rows with their filter bytes, not yet compressed.
    Bytes rows;
    Bytes palette = {};
    Bytes transparency = {};
    std::uint8_t interlace = 0;
};

/// A PNG file with its pixel data in two IDAT chunks and a chunk that nobody knows.
Bytes pngFile(const Source& source) {
    Bytes header;
    appendU32(header, source.width);
    appendU32(header, source.height);
    for (const std::uint8_t field :
         Bytes{source.bitDepth, source.colorType, 0, 0, source.interlace})
        header.push_back(field);
    const auto plainSize = static_cast<uLong>(source.rows.size());
    uLongf size = compressBound(plainSize);
    Bytes deflated(size);
    compress(deflated.data(), &size, source.rows.data(), plainSize);
    Bytes out = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    appendChunk(out, "IHDR", header);
    appendChunk(out, "teXt", {1, 2, 3});
    if (!source.palette.empty()) appendChunk(out, "PLTE", source.palette);
    if (!source.transparency.empty()) appendChunk(out, "tRNS", source.transparency);
    appendChunk(out, "IDAT", Bytes(deflated.begin(), deflated.begin() + 3));
    appendChunk(out, "IDAT",
                Bytes(deflated.begin() + 3, deflated.begin() + static_cast<std::ptrdiff_t>(size)));
    appendChunk(out, "IEND", {});
    return out;
}

TEST(Png, DecodesEveryColorType) {
    const Rgba black{0, 0, 0, 255};
    const Rgba white{255, 255, 255, 255};
    const Rgba red{200, 0, 0, 255};
    const struct {
        Source source;
        std::vector<Rgba> pixels;
    } cases[] = {
        {{3, 1, 1, 0, {0, 0xA0}}, {white, black, white}},
        {{3, 1, 2, 0, {0, 0x6C}, {}, {0, 3}},
         {{85, 85, 85, 255}, {170, 170, 170, 255}, {255, 255, 255, 0}}},
        {{3, 1, 4, 0, {0, 0x1F, 0}}, {{17, 17, 17, 255}, white, black}},
        {{2, 1, 8, 0, {0, 5, 6}, {}, {0, 5}}, {{5, 5, 5, 0}, {6, 6, 6, 255}}},
        {{2, 1, 16, 0, {0, 5, 99, 5, 98}, {}, {5, 98}}, {{5, 5, 5, 255}, {5, 5, 5, 0}}},
        {{2, 1, 8, 2, {0, 1, 2, 3, 4, 5, 6}, {}, {0, 4, 0, 5, 0, 6}},
         {{1, 2, 3, 255}, {4, 5, 6, 0}}},
        {{1, 1, 16, 2, {0, 1, 0, 2, 0, 3, 0}}, {{1, 2, 3, 255}}},
        {{3, 1, 1, 3, {0, 0x40}, {0, 0, 0, 200, 0, 0}}, {black, red, black}},
        {{2, 1, 4, 3, {0, 0x1F}, {0, 0, 0, 200, 0, 0}, {9, 8}}, {{200, 0, 0, 8}, black}},
        {{2, 1, 8, 3, {0, 1, 0}, {0, 0, 0, 200, 0, 0}}, {red, black}},
        {{1, 1, 8, 4, {0, 7, 8}}, {{7, 7, 7, 8}}},
        {{1, 2, 8, 6, {0, 1, 2, 3, 4, 0, 5, 6, 7, 8}}, {{1, 2, 3, 4}, {5, 6, 7, 8}}},
        {{1, 1, 16, 6, {0, 1, 0, 2, 0, 3, 0, 4, 0}}, {{1, 2, 3, 4}}},
    };
    for (const auto& [source, pixels] : cases)
        EXPECT_EQ(decodePng(pngFile(source)).pixels, pixels)
            << int{source.colorType} << "/" << int{source.bitDepth};
}

TEST(Png, UndoesEveryFilter) {
    // two grey rows of three, each behind its filter byte
    const Bytes filtered[] = {{0, 10, 20, 250, 0, 30, 5, 90},
                              {1, 10, 10, 230, 1, 30, 231, 85},
                              {2, 10, 20, 250, 2, 20, 241, 96},
                              {3, 10, 15, 240, 3, 25, 236, 219},
                              {4, 10, 10, 230, 4, 20, 231, 96}};
    for (const Bytes& rows : filtered) {
        Bytes grey;
        for (const Rgba& color : decodePng(pngFile({3, 2, 8, 0, rows})).pixels)
            grey.push_back(color.r);
        EXPECT_EQ(grey, (Bytes{10, 20, 250, 30, 5, 90})) << int{rows[0]};
    }
}

const RgbaImage kImage{2, 2, {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}}};

TEST(Png, HoldsEveryPixel) {
    EXPECT_EQ(pixelsOf(encodePng(kImage)), kImage.pixels);
    Palette palette = greyscaleRamp();
    const Bytes opaque = encodePngIndexed(2, 1, Bytes{0, 255}, palette);
    palette[255].a = 0;
    const Bytes holed = encodePngIndexed(2, 1, Bytes{0, 255}, palette);
    EXPECT_EQ(pixelsOf(opaque)[1], (Rgba{255, 255, 255, 255}));
    EXPECT_EQ(pixelsOf(holed)[1], (Rgba{255, 255, 255, 0}));
    EXPECT_EQ(holed.size() - opaque.size(), 12U + 256U);  // transparency only where there is some
    EXPECT_THROW(encodePngIndexed(1, 1, Bytes(4), palette), std::runtime_error);
    EXPECT_THROW(encodePng({}), std::runtime_error);
}

TEST(Png, PutsInterlacedRowsInTheirPlaces) {
    // Each pass of a picture of 3 x 3 as the rows of a picture of its own; two passes are empty.
    const Bytes rows = {0, 1, 0, 3, 0, 7, 9, 0, 2, 2, 6, 0, 4, 5, 6};
    const RgbaImage image = decodePng(pngFile({3, 3, 8, 0, rows, {}, {}, 1}));
    Bytes grey;
    for (const Rgba& color : image.pixels) grey.push_back(color.r);
    EXPECT_EQ(grey, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(Png, RefusesWhatItCannotDecode) {
    const Bytes rows(4096);
    expectRefusals(decodePng, {{pngFile({1, 1, 3, 0, rows}), "Invalid PNG header"},
                               {pngFile({1, 1, 16, 3, rows}), "Invalid PNG header"},
                               {pngFile({1, 1, 8, 5, rows}), "Invalid PNG header"},
                               {pngFile({1, 1, 8, 0, {0, 1}, {}, {}, 2}), "Invalid PNG header"},
                               {pngFile({0, 1, 8, 0, rows}), "Invalid PNG dimensions"},
                               {pngFile({4096, 4097, 8, 0, rows}), "Invalid PNG dimensions"},
                               {pngFile({4096, 4096, 16, 6, rows}),
                                "PNG data too small"},  // no stream expands that far
                               {pngFile({1, 1, 8, 3, {0, 1}}), "PNG palette missing"},
                               {pngFile({1, 1, 8, 0, {5, 1}}), "PNG pixel data damaged"},
                               {pngFile({1, 1, 8, 0, {0}}), "PNG pixel data damaged"},
                               {pngFile({1, 1, 8, 0, {0, 1, 2}}), "PNG pixel data damaged"}});
    EXPECT_EQ(decodePng(pngFile({4096, 4096, 1, 0, Bytes(std::size_t{4096} * 513)})).pixels.size(),
              kMaxImagePixels);
    expectSurvivesDamage(pngFile({3, 3, 8, 0, Bytes(15), {}, {}, 1}), decodePng);
    expectSurvivesDamage(pngFile({2, 1, 4, 3, {0, 0x1F}, {0, 0, 0, 200, 0, 0}, {9, 8}}), decodePng);
}

TEST(Png, TellsItsSizeOrWhatIsWrongWithTheHeader) {
    const Bytes png = encodePng(kImage);
    EXPECT_EQ(readPngSize(png).height, 2U);
    expectSurvivesDamage(png, readPngSize);
    Bytes badSum = png;
    badSum.at(29) ^= 1;  // the header's checksum
    Bytes wrongChunk = png;
    wrongChunk.at(12) = 'X';
    expectRefusals(readPngSize, {{{}, "PNG data too small"},
                                 {Bytes(60), "Invalid PNG signature"},
                                 {badSum, "PNG checksum mismatch"},
                                 {wrongChunk, "PNG checksum mismatch"}});
}

}  // namespace
}  // namespace orb::io
