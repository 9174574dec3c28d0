#include "io/formats/tnt.h"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

// Little-endian; offsets count from the start of the file.
//
//   header, 64 bytes                            tile map     u16 tile of each 32-pixel square,
//    0 u32  version 0x2000                                   (width / 2) x (height / 2)
//    4 u32  width, in 16-pixel cells            cells        4 bytes, width x height:
//    8 u32  height                                            u8 height, u16 feature, u8 unknown
//   12 u32  offset of the tile map              tiles        32 x 32 palette indices each
//   16 u32  offset of the cells                 names        132 bytes each:
//   20 u32  offset of the tiles                               u32 index (the record's own number),
//   24 u32  tile count                                        name, NUL-padded to 128 bytes
//   28 u32  name count                          minimap      u32 width, u32 height,
//   32 u32  offset of the names                               width x height palette indices
//   36 u32  sea level, 0 to 255
//   40 u32  offset of the minimap, 0 for none
//   44 u32  1
//   48 16 bytes of 0

namespace orb::io {
namespace {

constexpr std::uint32_t kVersion = 0x2000;
constexpr std::size_t kCellSize = 4;
constexpr std::size_t kTileIndexSize = 2;
constexpr std::size_t kNameSize = 128;
constexpr std::size_t kNameRecordSize = 4 + kNameSize;
constexpr std::size_t kMinimapHeadSize = 8;
constexpr std::uint32_t kHighestSeaLevel = 255;
constexpr const char* kTooSmall = "TNT data too small";
constexpr const char* kOutOfBounds = "TNT read out of bounds";

struct Header {
    TntSize size;
    std::uint32_t tileMapAt = 0;
    std::uint32_t cellsAt = 0;
    std::uint32_t tilesAt = 0;
    std::uint32_t tileCount = 0;
    std::uint32_t nameCount = 0;
    std::uint32_t namesAt = 0;
    std::uint32_t seaLevel = 0;
    std::uint32_t minimapAt = 0;
};

void checkSize(TntSize size) {
    if (size.width > kMaxTntSide || size.height > kMaxTntSide)
        throw std::runtime_error(
            fmt::format("map too large: {} x {} cells", size.width, size.height));
    if (size.width < 2 || size.height < 2) throw std::runtime_error(kTooSmall);
}

Header readHeader(ByteView bytes) {
    if (bytes.size() < kTntHeaderSize) throw std::runtime_error(kTooSmall);
    ByteCursor cursor(bytes, kTooSmall);
    if (const std::uint32_t version = cursor.u32(); version != kVersion)
        throw std::runtime_error(fmt::format("TNT version not supported: {:#x}", version));
    Header header;
    for (std::uint32_t* field :
         {&header.size.width, &header.size.height, &header.tileMapAt, &header.cellsAt,
          &header.tilesAt, &header.tileCount, &header.nameCount, &header.namesAt, &header.seaLevel,
          &header.minimapAt})
        *field = cursor.u32();
    checkSize(header.size);
    return header;
}

/// A cursor over `count` records of `recordSize` bytes at `offset`, all of them in the file.
ByteCursor records(ByteView bytes, std::uint32_t offset, std::size_t count,
                   std::size_t recordSize) {
    const ByteCursor file(bytes, kOutOfBounds);
    file.requireArray(offset, count, recordSize);
    return {file.view(offset, count * recordSize), kOutOfBounds};
}

void requireAtMost(std::uint32_t count, std::uint32_t most) {
    if (count > most) throw std::runtime_error(kOutOfBounds);
}

std::vector<TntCell> readCells(ByteCursor cursor) {
    std::vector<TntCell> cells(cursor.size() / kCellSize);
    for (TntCell& cell : cells) {
        const std::uint32_t word = cursor.u32();
        cell.height = static_cast<std::uint8_t>(word);
        cell.feature = static_cast<std::uint16_t>(word >> 8);
        cell.unknown = static_cast<std::uint8_t>(word >> 24);
    }
    return cells;
}

std::vector<std::uint16_t> readTileMap(ByteCursor cursor, std::uint32_t tileCount) {
    std::vector<std::uint16_t> tileMap(cursor.size() / kTileIndexSize);
    for (std::uint16_t& tile : tileMap) {
        tile = cursor.u16();
        if (tile >= tileCount && tile != kTntNoTile) throw std::runtime_error(kOutOfBounds);
    }
    return tileMap;
}

std::vector<std::string> readNames(ByteCursor cursor) {
    std::vector<std::string> names(cursor.size() / kNameRecordSize);
    for (std::string& name : names) {
        cursor.skip(4);
        name = ByteCursor(cursor.take(kNameSize), kOutOfBounds).cString(0);
    }
    return names;
}

TntMinimap readMinimap(ByteView bytes, std::uint32_t offset) {
    if (offset == 0) return {};
    ByteCursor head = records(bytes, offset, 1, kMinimapHeadSize);
    const std::uint32_t width = head.u32(), height = head.u32();
    if (width == 0 || height == 0) return {};
    requireAtMost(width, kMaxTntMinimapSide);
    requireAtMost(height, kMaxTntMinimapSide);
    const std::size_t pixelCount = std::size_t{width} * height;
    const ByteView pixels =
        ByteCursor(bytes, kOutOfBounds).view(offset + kMinimapHeadSize, pixelCount);
    return {width, height, Bytes(pixels.begin(), pixels.end())};
}

void requireWritable(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(fmt::format("writeTnt: {}", what));
}

void checkWritable(const TntFile& map) {
    checkSize(map.size);
    requireWritable(map.cells.size() == std::size_t{map.size.width} * map.size.height,
                    "cell count mismatch");
    requireWritable(map.tileMap.size() == std::size_t{map.tilesAcross()} * map.tilesDown(),
                    "tile map size mismatch");
    requireWritable(map.tiles.size() % kTntTilePixels == 0 && map.tileCount() <= kMaxTntTiles &&
                        std::ranges::all_of(map.tileMap,
                                            [&](std::uint16_t tile) {
                                                return tile < map.tileCount() || tile == kTntNoTile;
                                            }),
                    "tiles mismatch");
    requireWritable(
        map.featureNames.size() <= kMaxTntFeatureNames &&
            std::ranges::all_of(map.featureNames,
                                [](const std::string& name) { return name.size() < kNameSize; }),
        "too many feature names, or too long");
    const auto& [width, height, pixels] = map.minimap;
    requireWritable(width <= kMaxTntMinimapSide && height <= kMaxTntMinimapSide &&
                        pixels.size() == std::size_t{width} * height,
                    "minimap size mismatch");
}

}  // namespace

TntSize readTntSize(ByteView bytes) {
    return readHeader(bytes).size;
}

TntFile parseTnt(ByteView bytes) {
    const Header header = readHeader(bytes);
    requireAtMost(header.tileCount, kMaxTntTiles);
    requireAtMost(header.nameCount, kMaxTntFeatureNames);

    TntFile map;
    map.size = header.size;
    map.seaLevel = static_cast<std::uint8_t>(std::min(header.seaLevel, kHighestSeaLevel));
    const std::size_t cellCount = std::size_t{map.size.width} * map.size.height;
    const std::size_t squareCount = std::size_t{map.tilesAcross()} * map.tilesDown();
    map.cells = readCells(records(bytes, header.cellsAt, cellCount, kCellSize));
    map.tileMap = readTileMap(records(bytes, header.tileMapAt, squareCount, kTileIndexSize),
                              header.tileCount);
    ByteCursor tiles = records(bytes, header.tilesAt, header.tileCount, kTntTilePixels);
    const ByteView pixels = tiles.take(tiles.size());
    map.tiles.assign(pixels.begin(), pixels.end());
    map.featureNames = readNames(records(bytes, header.namesAt, header.nameCount, kNameRecordSize));
    map.minimap = readMinimap(bytes, header.minimapAt);
    return map;
}

Bytes writeTnt(const TntFile& map) {
    checkWritable(map);
    const auto size = [](std::size_t bytes) { return static_cast<std::uint32_t>(bytes); };
    const std::uint32_t tileMapAt = kTntHeaderSize;
    const std::uint32_t cellsAt = tileMapAt + size(map.tileMap.size() * kTileIndexSize);
    const std::uint32_t tilesAt = cellsAt + size(map.cells.size() * kCellSize);
    const std::uint32_t namesAt = tilesAt + size(map.tiles.size());
    const std::uint32_t minimapAt = namesAt + size(map.featureNames.size() * kNameRecordSize);

    ByteWriter out;
    out.reserve(minimapAt + kMinimapHeadSize + map.minimap.pixels.size());
    for (const std::uint32_t field :
         {kVersion, map.size.width, map.size.height, tileMapAt, cellsAt, tilesAt,
          size(map.tileCount()), size(map.featureNames.size()), namesAt,
          std::uint32_t{map.seaLevel}, map.minimap.pixels.empty() ? 0 : minimapAt, 1U})
        out.u32(field);
    out.zeros(kTntHeaderSize - out.position());
    for (const std::uint16_t tile : map.tileMap) out.u16(tile);
    for (const TntCell& cell : map.cells) {
        out.u8(cell.height);
        out.u16(cell.feature);
        out.u8(cell.unknown);
    }
    out.bytes(map.tiles);
    for (std::size_t i = 0; i < map.featureNames.size(); ++i) {
        out.u32(size(i));
        out.text(map.featureNames[i]);
        out.zeros(kNameSize - map.featureNames[i].size());
    }
    if (map.minimap.pixels.empty()) return out.take();
    out.u32(map.minimap.width);
    out.u32(map.minimap.height);
    out.bytes(map.minimap.pixels);
    return out.take();
}

}  // namespace orb::io
