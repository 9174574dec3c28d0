#include "io/formats/tnt.h"

#include <gtest/gtest.h>

#include "io/format_damage.h"

namespace orb::io {
namespace {

constexpr const char* kTooSmall = "TNT data too small";
constexpr const char* kOutOfBounds = "TNT read out of bounds";

/// 3 by 5 cells, so 1 by 2 tiles and an odd row and column without any.
TntFile sampleTnt() {
    TntFile map;
    map.size = {3, 5};
    map.seaLevel = 40;
    for (std::uint8_t i = 0; i < 15; ++i)
        map.cells.push_back({static_cast<std::uint8_t>(i * 17), i, kTntNoFeature});
    map.cells[4].feature = 1;
    map.cells[5].feature = kTntVoid;
    map.cells[6].feature = 7'000;  // beyond the names: stays as it is
    map.tileMap = {1, 0};
    map.tiles.assign(2 * kTntTilePixels, 9);
    map.tiles[kTntTilePixels] = 200;
    map.featureNames = {"Pine", std::string(127, 'r')};
    map.minimap = {2, 3, {1, 2, 3, 4, 5, 6}};
    return map;
}

Bytes with(std::size_t offset, std::uint32_t word) {
    ByteWriter out;
    out.bytes(writeTnt(sampleTnt()));
    out.patchU32(offset, word);
    return out.take();
}

TEST(Tnt, ReadsWhatItWrites) {
    const Bytes file = writeTnt(sampleTnt());
    EXPECT_EQ(parseTnt(file), sampleTnt());
    EXPECT_EQ(readTntSize(ByteView(file).first(kTntHeaderSize)), (TntSize{3, 5}));
    expectSurvivesDamage(file, readTntSize);
    // one tile for all, no minimap, no names, no feature
    TntFile bare = sampleTnt();
    bare.tileMap = {kTntNoTile, kTntNoTile};
    bare.tiles.clear();
    bare.featureNames.clear();
    bare.minimap = {};
    EXPECT_EQ(parseTnt(writeTnt(bare)), bare);
    expectSurvivesDamage(writeTnt(bare), parseTnt);
}

TEST(Tnt, EveryCutIsRefused) {
    const Bytes file = writeTnt(sampleTnt());
    for (std::size_t size = 0; size < file.size(); ++size)
        EXPECT_EQ(refusal(Bytes(file.begin(), file.begin() + std::ptrdiff_t(size)), parseTnt),
                  size < kTntHeaderSize ? kTooSmall : kOutOfBounds)
            << size;
}

TEST(Tnt, RefusesEachWrongHeaderField) {
    const auto size = static_cast<std::uint32_t>(writeTnt(sampleTnt()).size());
    const std::vector<Refusal> cases = {
        {with(0, 0x4000), "TNT version not supported: 0x4000"},
        {with(4, 1), kTooSmall},
        {with(4, 2048), "map too large: 2048 x 5 cells"},
        {with(4, 2047), kOutOfBounds},
        {with(8, 0), kTooSmall},
        {with(8, 0xFFFFFFFF), "map too large: 3 x 4294967295 cells"},
        {with(12, size - 3), kOutOfBounds},   // tile map
        {with(12, size - 4), kOutOfBounds},   // fits, but what it says is no tile
        {with(16, size - 59), kOutOfBounds},  // cells
        {with(16, size - 60), ""},
        {with(20, size - 2047), kOutOfBounds},  // tiles
        {with(20, 0xFFFFFFFF), kOutOfBounds},
        {with(24, 1), kOutOfBounds},  // a tile less than the map uses
        {with(24, 65'537), kOutOfBounds},
        {with(24, 0x00400001), kOutOfBounds},  // times 1,024 wraps in 32 bits
        {with(28, 65'533), kOutOfBounds},      // names
        {with(28, 0), ""},
        {with(32, size), kOutOfBounds},
        {with(36, 70'000), ""},              // sea level
        {with(40, size - 7), kOutOfBounds},  // minimap
        {with(40, 0xFFFFFFF8), kOutOfBounds},
        {with(40, 0), ""},
        {with(size - 14, 1025), kOutOfBounds},  // its width
        {with(size - 14, 0), ""},
        {with(size - 10, 4), kOutOfBounds},  // its height
        {with(44, 0), ""},
        {with(64, 0xFFFF0002), kOutOfBounds},  // the first tile of the map
    };
    expectRefusals(parseTnt, cases);
    EXPECT_EQ(parseTnt(with(36, 70'000)).seaLevel, 255);
    EXPECT_EQ(parseTnt(with(40, 0)).minimap, TntMinimap{});
}

TEST(Tnt, WritesNothingThatItCannotRead) {
    const auto refused = [](auto damage) {
        TntFile map = sampleTnt();
        damage(map);
        return refusal({}, [&](const Bytes&) { writeTnt(map); });
    };
    EXPECT_EQ(refused([](TntFile& map) { map.cells.pop_back(); }), "writeTnt: cell count mismatch");
    EXPECT_EQ(refused([](TntFile& map) { map.tileMap[0] = 2; }), "writeTnt: tiles mismatch");
    EXPECT_EQ(refused([](TntFile& map) { map.tileMap.push_back(0); }),
              "writeTnt: tile map size mismatch");
    EXPECT_EQ(refused([](TntFile& map) { map.featureNames[0].resize(128, 'x'); }),
              "writeTnt: too many feature names, or too long");
    EXPECT_EQ(refused([](TntFile& map) { map.minimap.width = 3; }),
              "writeTnt: minimap size mismatch");
    EXPECT_EQ(refused([](TntFile& map) { map.size.width = 1; }), kTooSmall);
}

}  // namespace
}  // namespace orb::io
