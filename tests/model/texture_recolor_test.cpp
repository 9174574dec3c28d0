#include "model/texture_recolor.h"

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "io/formats/gaf.h"
#include "io/formats/pcx.h"
#include "io/formats/png.h"
#include "model/build_picture_file.h"
#include "model/oklab.h"

namespace orb::unitview {
namespace {

using io::Rgba;

std::map<int, int> asMap(const std::vector<IndexChange>& changes) {
    std::map<int, int> map;
    for (const auto& [from, to] : changes) map[from] = to;
    return map;
}

/// Black but for the entries given.
io::Palette paletteOf(const std::map<int, Rgba>& colors) {
    io::Palette palette{};
    for (const auto& [index, color] : colors) palette.at(static_cast<std::size_t>(index)) = color;
    return palette;
}

io::GafColorUse useOf(const std::map<int, int>& pixels, std::initializer_list<int> seeThrough) {
    io::GafColorUse use;
    for (const auto& [index, count] : pixels) {
        use.pixels.at(static_cast<std::size_t>(index)) = static_cast<std::uint64_t>(count);
        use.totalPixels += static_cast<std::uint64_t>(count);
    }
    for (const int index : seeThrough) use.seeThrough.set(static_cast<std::size_t>(index));
    return use;
}

TEST(OkLab, GivesThePublishedValues) {
    const struct {
        Rgba color;
        OkLab expected;
    } cases[] = {{{255, 255, 255}, {1, 0, 0}},
                 {{255, 0, 0}, {0.62796, 0.22486, 0.12585}},
                 {{0, 255, 0}, {0.86644, -0.23389, 0.17950}},
                 {{0, 0, 255}, {0.45201, -0.03246, -0.31153}},
                 {{128, 128, 128}, {0.59987, 0, 0}},
                 {{5, 5, 5}, {0.114918, 0, 0}},  // on the straight part of the curve
                 {{0, 0, 0}, {0, 0, 0}}};
    for (const auto& [color, expected] : cases)
        EXPECT_LT(distance(okLab(color), expected), 2e-5) << int{color.r} << "," << int{color.g};
}

TEST(TextureRecolor, LeavesTheTeamBandsByLooks) {
    // 17 is nearest to 96 in bytes, 16 to the eye.
    const io::Palette palette = paletteOf({{96, {0, 0, 200}},
                                           {16, {70, 0, 200}},
                                           {17, {0, 0, 140}},
                                           {18, {0, 0, 201}},
                                           {19, {255, 255, 255}},
                                           {97, {0, 0, 199}},
                                           {224, {250, 250, 250}}});
    const auto use = useOf({{96, 3}, {224, 1}, {16, 5}, {18, 0}}, {18});
    EXPECT_EQ(teamPixels(use), 4U);
    EXPECT_EQ(asMap(suggestRecolor(use, palette, RecolorDirection::away)),
              (std::map<int, int>{{96, 16}, {224, 19}}));
    EXPECT_TRUE(suggestRecolor(useOf({{16, 5}}, {}), palette, RecolorDirection::away).empty());
    auto allBarred = use;
    allBarred.seeThrough.set();
    EXPECT_TRUE(suggestRecolor(allBarred, palette, RecolorDirection::away).empty());
}

TEST(TextureRecolor, SpreadsTheMainHueOverTheFirstBand) {
    const io::Palette palette = paletteOf({{10, {60, 0, 0}},     // dark red
                                           {11, {160, 0, 0}},    // red
                                           {12, {255, 90, 80}},  // light red
                                           {13, {200, 200, 200}},
                                           {14, {0, 120, 0}},     // another hue
                                           {130, {255, 0, 0}}});  // in a band already
    const auto use = useOf({{10, 1}, {11, 1}, {12, 1}, {13, 90}, {14, 9}, {130, 9}}, {0, 111});
    const auto changes = asMap(suggestRecolor(use, palette, RecolorDirection::toward));
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(changes.at(12), 96);
    EXPECT_GT(changes.at(11), 98);
    EXPECT_LT(changes.at(11), 109);
    EXPECT_EQ(changes.at(10), 110);  // 111 is see-through
    EXPECT_TRUE(suggestRecolor(useOf({{13, 9}}, {}), palette, RecolorDirection::toward).empty());
    EXPECT_EQ(asMap(suggestRecolor(useOf({{11, 9}}, {}), palette, RecolorDirection::toward)),
              (std::map<int, int>{{11, 96}}));

    // A band that grows lighter with its indices.
    io::Palette reversed = palette;
    for (std::uint8_t i = 96; i <= 111; ++i) reversed[i] = {0, 0, i, 255};
    const auto upwards = asMap(suggestRecolor(use, reversed, RecolorDirection::toward));
    EXPECT_EQ(upwards.at(12), 110);
    EXPECT_EQ(upwards.at(10), 96);
}

TEST(TextureRecolor, TakesTheNextNearestForWhatWouldBeSeeThrough) {
    const io::Palette palette = paletteOf({{1, {200, 0, 0}},
                                           {2, {190, 0, 0}},
                                           {3, {0, 200, 0}},
                                           {100, {199, 0, 0}},
                                           {101, {0, 0, 200}}});
    const io::GafFile gaf{
        {{"a", {{3, 1, 0, 0, 1, 0, {3, 1, 4}}}}, {"b", {{1, 1, 0, 0, 100, 0, {3}}}}}};
    const io::Bytes file = io::writeGaf(gaf, io::GafEncoding::plain);
    const auto pixels = [&](std::size_t entry, std::uint8_t to) {
        const IndexChange changes[] = {{3, to}, {1, 7}};
        return io::parseGaf(recolorTexture(file, entry, changes, palette).file)
            .entries[entry]
            .frames[0]
            .pixels;
    };
    EXPECT_EQ(pixels(0, 1), (io::Bytes{2, 1, 4}));  // not 100, of a team band
    EXPECT_EQ(pixels(1, 100).front(), 101);         // of a team band, as was asked for
    EXPECT_EQ(pixels(1, 1).front(), 1);
}

TEST(BuildPicture, IsScaledByLightAndMatchedByLooks) {
    io::Palette palette = io::greyscaleRamp();
    palette[7] = {250, 10, 10, 255};
    // Two rows of 192 pixels: fine stripes of black and white on the left, red on the right.
    io::RgbaImage image{192, 2, {}};
    for (std::size_t i = 0; i < 384; ++i) {
        const bool isLight = (i % 192 + i / 192) % 2 == 0;
        image.pixels.push_back(i % 192 >= 96 ? Rgba{255, 0, 0, 255}
                               : isLight     ? Rgba{255, 255, 255, 255}
                                             : Rgba{0, 0, 0, 255});
    }
    const io::PcxImage picture = io::parsePcx(buildPictureFromPng(io::encodePng(image), palette));
    EXPECT_EQ(picture.width, 96);
    EXPECT_EQ(picture.height, 96);
    EXPECT_EQ(picture.palette[7], (io::Rgb{250, 10, 10}));
    // Half of the light is byte 188, not 128.
    EXPECT_EQ(picture.pixels[0], 188);
    EXPECT_EQ(picture.pixels[95], 7);

    // Exact colours in the right size stay as they are, see-through ones are black.
    io::RgbaImage exact{96, 96, {}};
    for (std::size_t i = 0; i < 9216; ++i)
        exact.pixels.push_back(i == 5 ? Rgba{255, 255, 255, 0} : palette[i % 256]);
    const io::Bytes pixels =
        io::parsePcx(buildPictureFromPng(io::encodePng(exact), palette)).pixels;
    for (std::size_t i = 0; i < pixels.size(); ++i) ASSERT_EQ(pixels[i], i == 5 ? 0 : i % 256) << i;

    // A single pixel fills the picture, and sizes that share no divisor lose nothing.
    const io::RgbaImage dot{1, 1, {{9, 9, 9, 255}}};
    EXPECT_EQ(io::parsePcx(buildPictureFromPng(io::encodePng(dot), palette)).pixels,
              io::Bytes(9216, 9));
    const io::RgbaImage odd{97, 101, std::vector<Rgba>(97 * 101, {200, 200, 200, 255})};
    EXPECT_EQ(io::parsePcx(buildPictureFromPng(io::encodePng(odd), palette)).pixels,
              io::Bytes(9216, 200));
}

}  // namespace
}  // namespace orb::unitview
