#include "session/map_pictures.h"

#include <algorithm>
#include <bit>

#include <fmt/format.h>

#include "io/formats/png.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

/// Far beyond any map; keeps sums of what requests say within 64 bits.
constexpr std::int64_t kFar = std::int64_t{1} << 40;

/// From where to where a window reaches along one side of the map.
struct Span {
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

Span cutAtEdges(std::int64_t first, std::int64_t length, std::int64_t side) {
    first = std::clamp(first, -kFar, kFar);
    const std::int64_t end = length == 0 ? side : first + std::clamp(length, -kFar, kFar);
    return {std::max<std::int64_t>(first, 0), std::min(end, side)};
}

TerrainArea areaOf(const io::TntSize& size, const TerrainRequest& request) {
    const Span x = cutAtEdges(request.x, request.width, size.width * io::kTntCellSide);
    const Span z = cutAtEdges(request.z, request.height, size.height * io::kTntCellSide);
    if (x.begin >= x.end || z.begin >= z.end) throw RequestError("area outside the map");
    const auto pixels = [](std::int64_t value) { return static_cast<std::uint32_t>(value); };
    return {pixels(x.begin), pixels(z.begin), pixels(x.end - x.begin), pixels(z.end - z.begin)};
}

std::uint32_t scaleOf(const TerrainArea& area, std::optional<std::int64_t> wished) {
    if (!wished) return fittingTerrainScale(area);
    if (*wished < 1 || *wished > kMaxTerrainScale ||
        !std::has_single_bit(static_cast<std::uint64_t>(*wished)))
        throw RequestError("scale must be 1, 2, 4, 8, 16 or 32");
    return static_cast<std::uint32_t>(*wished);
}

PngPicture encode(const IndexedPicture& picture, const io::Palette& palette) {
    return {picture.width, picture.height,
            io::encodePngIndexed(picture.width, picture.height, picture.pixels, palette)};
}

}  // namespace

TerrainTexture readTerrainTexture(const LoadedMap& map, const io::Palette& palette,
                                  const TerrainRequest& request) {
    const TerrainArea wished = areaOf(map.picture.size, request);
    const std::uint32_t scale = scaleOf(wished, request.scale);
    const TerrainArea area = alignedTo(wished, scale);
    const std::uint32_t width = area.width / scale, height = area.height / scale;
    if (std::uint64_t{width} * height > io::kMaxImagePixels)
        throw RequestError(fmt::format("picture too large: {} x {}", width, height));
    return {area.x, area.z, scale,
            encode(terrainPicture(map.picture, palette, area, scale), palette)};
}

PngPicture readMinimap(const LoadedMap& map, const io::Palette& palette) {
    return encode(minimapPicture(map.picture, palette), palette);
}

}  // namespace orb::unitview
