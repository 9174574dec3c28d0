#include "io/formats/palette.h"

#include <gtest/gtest.h>

namespace orb::io {
namespace {

TEST(Palette, TakesWholeEntriesOnly) {
    Palette palette = greyscaleRamp();
    applyPaletteFile(palette, Bytes(7, 77));
    EXPECT_EQ(palette[0], (Rgba{77, 77, 77, 255}));
    EXPECT_EQ(palette[1], (Rgba{1, 1, 1, 255}));
    applyPaletteFile(palette, Bytes(1030, 78));
    EXPECT_EQ(palette[255], (Rgba{78, 78, 78, 255}));
}

}  // namespace
}  // namespace orb::io
