#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>

#include "io/formats/palette.h"
#include "io/formats/tnt.h"

namespace orb::unitview {

/// Palette indices row by row from the north.
struct IndexedPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    io::Bytes pixels;
};

/// A part of a map in its pixels, 16 to a cell.
struct TerrainArea {
    std::uint32_t x = 0;
    std::uint32_t z = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// One pixel of a picture stands for this many map pixels a side: a power of two.
inline constexpr std::uint32_t kMaxTerrainScale = io::kTntTileSide;

/// The smallest scale at which the area's picture has no more than `kMaxImagePixels`.
std::uint32_t fittingTerrainScale(const TerrainArea& area);

/// The area moved out to the next corners that the scale has pixels for.
TerrainArea alignedTo(const TerrainArea& area, std::uint32_t scale);

/// The ground as its tiles show it. `area` is aligned to `scale`; what lies beyond the tiles is
/// index 0. A pixel that stands for several is their mean in linear light and then the palette's
/// nearest colour, of two as near the one of the lower index.
IndexedPicture terrainPicture(const io::TntFile& map, const io::Palette& palette,
                              const TerrainArea& area, std::uint32_t scale);

/// The map's own small picture without the filling at its right and lower edge; one made of the
/// tiles, of at most 252 pixels a side, when it has none.
IndexedPicture minimapPicture(const io::TntFile& map, const io::Palette& palette);

}  // namespace orb::unitview
