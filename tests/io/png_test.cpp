#include "io/formats/png.h"

#include <gtest/gtest.h>

#include "io/format_damage.h"
#include "io/plain_png.h"

namespace orb::io {
namespace {

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
