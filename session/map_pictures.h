#pragma once

#include <cstdint>
#include <optional>

#include "model/png_picture.h"
#include "model/terrain_picture.h"
#include "session/loaded_map.h"

namespace orb::unitview {

/// A part of a map's ground as a picture.
struct TerrainRequest {
    /// In map pixels; what lies beyond the map is left out.
    std::int64_t x = 0, z = 0;
    /// 0 reaches to the map's edge.
    std::int64_t width = 0, height = 0;
    /// None: the smallest at which the picture is not too large.
    std::optional<std::int64_t> scale;
};

struct TerrainTexture {
    /// Where the picture begins, in map pixels: a multiple of the scale.
    std::uint32_t x = 0, z = 0;
    std::uint32_t scale = 1;
    PngPicture picture;
};

/// Throws RequestError "scale must be 1, 2, 4, 8, 16 or 32", "area outside the map" or "picture too
/// large: W x H".
TerrainTexture readTerrainTexture(const LoadedMap& map, const io::Palette& palette,
                                  const TerrainRequest& request);

/// The map's small picture.
PngPicture readMinimap(const LoadedMap& map, const io::Palette& palette);

}  // namespace orb::unitview
