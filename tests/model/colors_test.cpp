#include <gtest/gtest.h>

#include "io/plain_png.h"
#include "model/png_picture.h"
#include "model/team_color.h"

namespace orb::unitview {
namespace {

TEST(TeamColor, ShadesTheBandsFromBrightToDark) {
    const io::Palette palette = io::greyscaleRamp();
    TeamColor team{{255, 51, 0}, true, {}};
    const auto plain = unitColors(palette, {});
    auto colors = unitColors(palette, team);
    for (const std::size_t first : {96, 128, 224}) EXPECT_FLOAT_EQ(colors[first][0], 1.0F);
    for (const std::size_t last : {111, 143, 229}) {
        EXPECT_FLOAT_EQ(colors[last][0], 0.35F);
        EXPECT_FLOAT_EQ(colors[last][1], 0.35F * 0.2F);
    }
    EXPECT_FLOAT_EQ(colors[225][0], 0.87F);
    for (const std::size_t outside : {95, 112, 127, 144, 223, 230})
        EXPECT_EQ(colors[outside], plain[outside]);
    EXPECT_FLOAT_EQ(plain[102][2], 102 / 255.0F);
    EXPECT_EQ(unitPalette(palette, team)[111], (io::Rgba{89, 18, 0, 255}));
    EXPECT_EQ(unitPalette(palette, {{255, 51, 0}, false, {}}), palette);

    // a mask takes over for all bands, but recolours nothing outside them
    team.mask[96] = 0.5F;
    team.mask[10] = 1;
    colors = unitColors(palette, team);
    EXPECT_FLOAT_EQ(colors[96][0], 0.5F);
    EXPECT_FLOAT_EQ(colors[97][0], 0.0F);
    EXPECT_EQ(colors[10], plain[10]);
    team.mask = {};
    team.mask[96] = -1;
    EXPECT_FLOAT_EQ(unitColors(palette, team)[96][0], 1.0F);
}

TEST(SpriteStrip, PutsOriginsOnOnePoint) {
    io::GafEntry entry{"spark", {{1, 1, 0, 0, 9, 1, {5}}, {2, 2, 1, 1, 9, 1, {6, 9, 9, 7}}}};
    const SpriteStrip strip = spriteStrip(entry, io::greyscaleRamp());
    EXPECT_EQ(strip.frameCount, 2U);
    EXPECT_EQ(strip.cellWidth, 2U);
    EXPECT_EQ(strip.cellHeight, 2U);
    std::vector<int> reds;  // -1 where one sees through
    for (const io::Rgba& pixel : io::pixelsOf(strip.png))
        reds.push_back(pixel.a == 0 ? -1 : pixel.r);
    EXPECT_EQ(reds, (std::vector<int>{-1, -1, 6, -1, -1, 5, -1, 7}));

    EXPECT_THROW(spriteStrip({}, io::greyscaleRamp()), std::runtime_error);
    entry.frames[0].originX = entry.frames[0].originY = 32'767;
    entry.frames[1].originX = entry.frames[1].originY = -32'768;
    EXPECT_THROW(spriteStrip(entry, io::greyscaleRamp()), std::runtime_error);
}

}  // namespace
}  // namespace orb::unitview
