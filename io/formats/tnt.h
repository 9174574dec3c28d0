#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "io/byte_cursor.h"

namespace orb::io {

/// Of a cell's feature word: no feature here.
inline constexpr std::uint16_t kTntNoFeature = 0xFFFF;
/// Of a cell's feature word: no ground here, nothing can stand on it.
inline constexpr std::uint16_t kTntVoid = 0xFFFC;
/// In the tile map, unless the file has that many tiles: no picture here.
inline constexpr std::uint16_t kTntNoTile = 0xFFFF;

/// A cell is 16 map pixels wide, a tile of the picture two cells.
inline constexpr std::uint32_t kTntCellSide = 16;
inline constexpr std::uint32_t kTntTileSide = 32;
inline constexpr std::size_t kTntTilePixels = std::size_t{kTntTileSide} * kTntTileSide;

/// The largest map has this many cells a side, so that a place on it fits 16 bits and a fraction.
inline constexpr std::uint32_t kMaxTntSide = 2'047;
inline constexpr std::uint32_t kMaxTntTiles = 65'536;
inline constexpr std::uint32_t kMaxTntFeatureNames = 65'532;
inline constexpr std::uint32_t kMaxTntMinimapSide = 1'024;

struct TntCell {
    /// Of the ground at the cell's north-west corner, in map pixels.
    std::uint8_t height = 0;
    /// Kept as it is.
    std::uint8_t unknown = 0;
    /// An index into the feature names, kTntNoFeature or kTntVoid; other words beyond the names
    /// occur and mean no feature.
    std::uint16_t feature = kTntNoFeature;
    bool operator==(const TntCell&) const = default;
};

/// Palette indices row by row from the north; 0 by 0 when the map has none.
struct TntMinimap {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Bytes pixels;
    bool operator==(const TntMinimap&) const = default;
};

/// In cells.
struct TntSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool operator==(const TntSize&) const = default;
};

/// The ground of a map. Everything runs row by row from the north-west.
struct TntFile {
    TntSize size;
    /// Ground lower than this is under water.
    std::uint8_t seaLevel = 0;
    std::vector<TntCell> cells;
    /// For each tile of the map the index of its picture; an odd last row or column of cells has no
    /// tiles.
    std::vector<std::uint16_t> tileMap;
    /// Palette indices, kTntTilePixels a tile.
    Bytes tiles;
    std::vector<std::string> featureNames;
    TntMinimap minimap;

    std::uint32_t tilesAcross() const { return size.width / 2; }
    std::uint32_t tilesDown() const { return size.height / 2; }
    std::size_t tileCount() const { return tiles.size() / kTntTilePixels; }
    bool operator==(const TntFile&) const = default;
};

/// The readers throw std::runtime_error "TNT data too small" (also for a map below 2 by 2 cells),
/// "TNT version not supported: 0x…", "map too large: W x H cells" or "TNT read out of bounds" (a
/// block outside the file, a number beyond the limits above, a tile that the file does not have).
TntFile parseTnt(ByteView bytes);

/// How much of a file's front `readTntSize` needs.
inline constexpr std::size_t kTntHeaderSize = 64;

/// The map's size alone.
TntSize readTntSize(ByteView bytes);

/// Throws std::runtime_error "writeTnt: …" for a map that no reader would take.
Bytes writeTnt(const TntFile& map);

}  // namespace orb::io
