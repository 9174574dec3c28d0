#include "model/terrain_picture.h"

#include <algorithm>
#include <vector>

#include "io/formats/color.h"
#include "model/linear_light.h"

namespace orb::unitview {
namespace {

/// The longer side of a map's small picture; what the game's own have.
constexpr std::uint32_t kMinimapSide = 252;
/// What the rest of a small picture is filled with, in files of 1997 and in newer ones.
constexpr std::uint8_t kMinimapFillings[] = {0xDD, 0x64};

constexpr std::uint32_t ceilDivide(std::uint32_t value, std::uint32_t divisor) {
    return (value + divisor - 1) / divisor;
}

LinearColor meanColor(const LinearPalette& colors, io::ByteView tile, std::uint32_t x,
                      std::uint32_t z, std::uint32_t side) {
    LinearColor sum;
    for (std::uint32_t row = z; row < z + side; ++row)
        for (std::uint32_t column = x; column < x + side; ++column)
            sum += colors[tile[row * io::kTntTileSide + column]];
    return sum * (1.0F / static_cast<float>(side * side));
}

/// Which tile of the file stands at a place of the map, or none beyond its tiles.
std::optional<std::uint16_t> tileAt(const io::TntFile& map, std::uint32_t column,
                                    std::uint32_t row) {
    if (column >= map.tilesAcross() || row >= map.tilesDown()) return std::nullopt;
    const std::uint16_t tile = map.tileMap[std::size_t{row} * map.tilesAcross() + column];
    if (tile >= map.tileCount()) return std::nullopt;
    return tile;
}

/// The tiles in a scale, each made when it is first asked for.
template <typename Pixel, typename Reduce>
class ReducedTiles {
public:
    ReducedTiles(const io::TntFile& map, std::uint32_t scale, Reduce reduce)
        : map_(map),
          scale_(scale),
          side_(io::kTntTileSide / scale),
          nothing_(std::size_t{side_} * side_),
          placeOf_(map.tileCount(), kNotMade),
          reduce_(reduce) {}

    std::uint32_t side() const { return side_; }

    /// `side()` rows of `side()` pixels, there until the next tile is asked for.
    const Pixel* at(std::uint32_t column, std::uint32_t row) {
        const auto tile = tileAt(map_, column, row);
        if (!tile) return nothing_.data();
        std::size_t& place = placeOf_[*tile];
        if (place == kNotMade) {
            place = pixels_.size();
            append(
                io::ByteView(map_.tiles).subspan(*tile * io::kTntTilePixels, io::kTntTilePixels));
        }
        return pixels_.data() + place;
    }

private:
    static constexpr std::size_t kNotMade = ~std::size_t{0};

    void append(io::ByteView tile) {
        for (std::uint32_t z = 0; z < side_; ++z)
            for (std::uint32_t x = 0; x < side_; ++x)
                pixels_.push_back(reduce_(tile, x * scale_, z * scale_));
    }

    const io::TntFile& map_;
    std::uint32_t scale_;
    std::uint32_t side_;
    std::vector<Pixel> nothing_;
    /// Where each tile of the file begins in `pixels_`, which holds those that were asked for.
    std::vector<std::size_t> placeOf_;
    std::vector<Pixel> pixels_;
    Reduce reduce_;
};

/// Puts a picture together from tiles that `side` pixels make up; x and z in those pixels.
template <typename Pixel, typename Tiles>
void assemble(Tiles& tiles, std::uint32_t x, std::uint32_t z, std::uint32_t width,
              std::uint32_t height, Pixel* out) {
    const std::uint32_t side = tiles.side();
    for (std::uint32_t row = z; row < z + height; ++row) {
        for (std::uint32_t column = x; column < x + width;) {
            const std::uint32_t within = column % side;
            const std::uint32_t count = std::min(side - within, x + width - column);
            const Pixel* const from =
                tiles.at(column / side, row / side) + std::size_t{row % side} * side + within;
            out = std::copy_n(from, count, out);
            column += count;
        }
    }
}

/// The map's picture in linear light, at the smallest scale that keeps its longer side within the
/// minimap's; larger maps stay larger.
struct LinearPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<LinearColor> pixels;
};

LinearPicture reducedMap(const io::TntFile& map, const LinearPalette& colors) {
    const std::uint32_t width = map.tilesAcross() * io::kTntTileSide;
    const std::uint32_t height = map.tilesDown() * io::kTntTileSide;
    std::uint32_t scale = 1;
    while (scale < kMaxTerrainScale && std::max(width, height) / scale > kMinimapSide) scale *= 2;
    const auto reduce = [&](io::ByteView tile, std::uint32_t x, std::uint32_t z) {
        return meanColor(colors, tile, x, z, scale);
    };
    ReducedTiles<LinearColor, decltype(reduce)> tiles(map, scale, reduce);
    LinearPicture picture{width / scale, height / scale, {}};
    picture.pixels.resize(std::size_t{picture.width} * picture.height);
    assemble(tiles, 0, 0, picture.width, picture.height, picture.pixels.data());
    return picture;
}

/// The mean of up to `step` by `step` pixels from a corner on.
LinearColor meanOfBlock(const LinearPicture& picture, std::uint32_t x, std::uint32_t z,
                        std::uint32_t step) {
    LinearColor sum;
    const std::uint32_t right = std::min(x + step, picture.width);
    const std::uint32_t bottom = std::min(z + step, picture.height);
    for (std::uint32_t row = z; row < bottom; ++row)
        for (std::uint32_t column = x; column < right; ++column)
            sum += picture.pixels[std::size_t{row} * picture.width + column];
    return sum * (1.0F / static_cast<float>((right - x) * (bottom - z)));
}

IndexedPicture minimapOfTiles(const io::TntFile& map, const LinearPalette& colors) {
    const LinearPicture reduced = reducedMap(map, colors);
    const std::uint32_t step = ceilDivide(std::max(reduced.width, reduced.height), kMinimapSide);
    IndexedPicture picture{ceilDivide(reduced.width, step), ceilDivide(reduced.height, step), {}};
    for (std::uint32_t z = 0; z < reduced.height; z += step)
        for (std::uint32_t x = 0; x < reduced.width; x += step)
            picture.pixels.push_back(colors.nearest(meanOfBlock(reduced, x, z, step)));
    return picture;
}

bool isFilling(std::uint8_t index) {
    return std::ranges::find(kMinimapFillings, index) != std::end(kMinimapFillings);
}

/// The part of a small picture that is more than filling.
IndexedPicture cropped(const io::TntMinimap& minimap) {
    const auto at = [&](std::uint32_t x, std::uint32_t z) {
        return minimap.pixels[std::size_t{z} * minimap.width + x];
    };
    const std::uint8_t filling = minimap.pixels.back();
    std::uint32_t width = minimap.width, height = minimap.height;
    if (isFilling(filling)) {
        const auto isRowFilled = [&](std::uint32_t z) {
            const auto row = minimap.pixels.begin() + std::ptrdiff_t(z) * minimap.width;
            return std::all_of(row, row + minimap.width,
                               [&](std::uint8_t index) { return index == filling; });
        };
        while (height > 0 && isRowFilled(height - 1)) --height;
        const auto isColumnFilled = [&](std::uint32_t x) {
            for (std::uint32_t z = 0; z < height; ++z)
                if (at(x, z) != filling) return false;
            return true;
        };
        while (width > 0 && isColumnFilled(width - 1)) --width;
    }
    IndexedPicture picture{width, height, {}};
    for (std::uint32_t z = 0; z < height; ++z)
        for (std::uint32_t x = 0; x < width; ++x) picture.pixels.push_back(at(x, z));
    return picture;
}

}  // namespace

std::uint32_t fittingTerrainScale(const TerrainArea& area) {
    std::uint32_t scale = 1;
    const auto fits = [&] {
        const TerrainArea aligned = alignedTo(area, scale);
        return std::uint64_t{aligned.width / scale} * (aligned.height / scale) <=
               io::kMaxImagePixels;
    };
    while (scale < kMaxTerrainScale && !fits()) scale *= 2;
    return scale;
}

TerrainArea alignedTo(const TerrainArea& area, std::uint32_t scale) {
    const std::uint32_t x = area.x / scale * scale, z = area.z / scale * scale;
    return {x, z, ceilDivide(area.x + area.width - x, scale) * scale,
            ceilDivide(area.z + area.height - z, scale) * scale};
}

IndexedPicture terrainPicture(const io::TntFile& map, const io::Palette& palette,
                              const TerrainArea& area, std::uint32_t scale) {
    const LinearPalette colors(palette);
    const auto reduce = [&](io::ByteView tile, std::uint32_t x, std::uint32_t z) {
        if (scale == 1) return tile[z * io::kTntTileSide + x];
        return colors.nearest(meanColor(colors, tile, x, z, scale));
    };
    ReducedTiles<std::uint8_t, decltype(reduce)> tiles(map, scale, reduce);
    IndexedPicture picture{area.width / scale, area.height / scale, {}};
    picture.pixels.resize(std::size_t{picture.width} * picture.height);
    assemble(tiles, area.x / scale, area.z / scale, picture.width, picture.height,
             picture.pixels.data());
    return picture;
}

IndexedPicture minimapPicture(const io::TntFile& map, const io::Palette& palette) {
    if (!map.minimap.pixels.empty()) {
        IndexedPicture picture = cropped(map.minimap);
        if (!picture.pixels.empty()) return picture;
    }
    return minimapOfTiles(map, LinearPalette(palette));
}

}  // namespace orb::unitview
