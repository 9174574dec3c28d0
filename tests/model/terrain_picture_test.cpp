#include "model/terrain_picture.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "io/formats/color.h"
#include "model/linear_light.h"

namespace orb::unitview {
namespace {

/// 3 by 2 tiles and an odd column: tile 0 is all 10, tile 1 all 250, tile 2 columns of both by
/// turns, and one square has none.
io::TntFile sampleMap() {
    io::TntFile map;
    map.size = {7, 4};
    map.tileMap = {0, 1, 2, 2, io::kTntNoTile, 0};
    map.tiles.assign(3 * io::kTntTilePixels, 10);
    for (std::size_t i = 0; i < io::kTntTilePixels; ++i) {
        map.tiles[io::kTntTilePixels + i] = 250;
        map.tiles[2 * io::kTntTilePixels + i] = i % 2 == 0 ? 10 : 250;
    }
    return map;
}

TEST(TerrainPicture, ShowsAWindowOfTheTiles) {
    const IndexedPicture picture =
        terrainPicture(sampleMap(), io::greyscaleRamp(), {31, 31, 82, 2}, 1);
    ASSERT_EQ(picture.pixels.size(), 82U * 2);
    const auto at = [&](std::size_t x, std::size_t z) { return picture.pixels[z * 82 + x]; };
    EXPECT_EQ(at(0, 0), 10);
    EXPECT_EQ(at(1, 0), 250);
    EXPECT_EQ(at(33, 0), 10);
    EXPECT_EQ(at(34, 0), 250);
    EXPECT_EQ(at(65, 0), 0);  // the column without tiles
    EXPECT_EQ(at(0, 1), 250);
    EXPECT_EQ(at(1, 1), 0);  // the square without one
    EXPECT_EQ(at(33, 1), 10);
}

TEST(TerrainPicture, MixesInLinearLight) {
    const io::Palette palette = io::greyscaleRamp();
    for (const std::uint32_t scale : {2U, 8U, 32U}) {
        const IndexedPicture picture = terrainPicture(sampleMap(), palette, {0, 0, 96, 64}, scale);
        ASSERT_EQ(picture.width, 96 / scale);
        ASSERT_EQ(picture.height, 64 / scale);
        EXPECT_EQ(picture.pixels.front(), 10);
        // half the light of 250, not half its code
        EXPECT_EQ(picture.pixels[64 / scale], 184) << scale;
    }
    // among equals the lowest index wins; a colour of the palette stays itself
    io::Palette doubled = palette;
    doubled[3] = doubled[200];
    const LinearPalette colors(doubled);
    EXPECT_EQ(colors.nearest(colors[200]), 3);
    for (int i = 10; i < 200; ++i)
        EXPECT_EQ(colors.nearest(colors[static_cast<std::uint8_t>(i)]), i);
}

TEST(TerrainPicture, FindsTheNearestColourAsAPlainSearchDoes) {
    io::Palette palette;
    std::uint32_t random = 7;
    const auto next = [&] {
        random = random * 1664525 + 1013904223;
        return static_cast<std::uint8_t>(random >> 24);
    };
    for (io::Rgba& color : palette) color = {next(), next(), next(), 255};
    const LinearPalette colors(palette);
    const LinearPalette codes(io::greyscaleRamp());
    for (int round = 0; round < 2'000; ++round) {
        const int r = next(), g = next(), b = next();
        const auto distance = [&](const io::Rgba& c) {
            return (c.r - r) * (c.r - r) + (c.g - g) * (c.g - g) + (c.b - b) * (c.b - b);
        };
        const auto plain = std::ranges::min_element(palette, {}, distance);
        const LinearColor wanted{codes[static_cast<std::uint8_t>(r)].r,
                                 codes[static_cast<std::uint8_t>(g)].g,
                                 codes[static_cast<std::uint8_t>(b)].b};
        EXPECT_EQ(colors.nearest(wanted), plain - palette.begin());
    }
}

TEST(TerrainPicture, FitsAreasIntoPictures) {
    EXPECT_EQ(fittingTerrainScale({0, 0, 4'096, 4'096}), 1U);
    EXPECT_EQ(fittingTerrainScale({0, 0, 4'097, 4'096}), 2U);
    EXPECT_EQ(fittingTerrainScale({0, 0, 32'752, 32'752}), 8U);
    const TerrainArea area = alignedTo({33, 64, 31, 1}, 32);
    EXPECT_EQ(area.x, 32U);
    EXPECT_EQ(area.width, 32U);
    EXPECT_EQ(area.z, 64U);
    EXPECT_EQ(area.height, 32U);
    EXPECT_EQ(alignedTo({31, 0, 2, 1}, 32).width, 64U);
}

TEST(MinimapPicture, CropsTheFillingOnly) {
    io::TntFile map = sampleMap();
    map.minimap = {4, 3, {1, 2, 0x64, 0x64, 3, 0x64, 0x64, 0x64, 0x64, 0x64, 0x64, 0x64}};
    const IndexedPicture cropped = minimapPicture(map, io::greyscaleRamp());
    EXPECT_EQ(cropped.width, 2U);
    EXPECT_EQ(cropped.pixels, (io::Bytes{1, 2, 3, 0x64}));
    map.minimap.pixels.back() = 5;
    EXPECT_EQ(minimapPicture(map, io::greyscaleRamp()).pixels, map.minimap.pixels);
}

TEST(MinimapPicture, IsMadeOfTheTilesWhenThereIsNone) {
    const IndexedPicture small = minimapPicture(sampleMap(), io::greyscaleRamp());
    EXPECT_EQ(small.width, 96U);
    EXPECT_EQ(small.height, 64U);
    io::TntFile map = sampleMap();
    map.minimap = {2, 2, io::Bytes(4, 0xDD)};  // nothing but filling
    EXPECT_EQ(minimapPicture(map, io::greyscaleRamp()).width, 96U);

    map.size = {1'280, 960};
    map.tileMap.assign(640 * 480, 1);
    const IndexedPicture large = minimapPicture(map, io::greyscaleRamp());
    EXPECT_EQ(large.width, 214U);  // three tiles a pixel, the last of one
    EXPECT_EQ(large.height, 160U);
    EXPECT_EQ(large.pixels, io::Bytes(std::size_t{214} * 160, 250));
}

}  // namespace
}  // namespace orb::unitview
