#include "fuzzing.h"
#include "io/formats/tnt.h"
#include "model/terrain_picture.h"
#include "sim/world.h"

// The ground of a map: read, written again, drawn, and made into a world.

namespace orb::fuzz {
namespace {

/// More would only repeat the same work.
constexpr std::size_t kMostCells = 10'000;

void checkPictures(const io::TntFile& map) {
    const io::Palette palette = io::greyscaleRamp();
    const unitview::IndexedPicture minimap = unitview::minimapPicture(map, palette);
    require(minimap.pixels.size() == std::size_t{minimap.width} * minimap.height,
            "a minimap has all its pixels");
    require(!minimap.pixels.empty(), "every map has a minimap");
    const unitview::TerrainArea all{0, 0, map.size.width * io::kTntCellSide,
                                    map.size.height * io::kTntCellSide};
    for (const std::uint32_t scale : {4U, 32U}) {
        const unitview::TerrainArea area = unitview::alignedTo(all, scale);
        const auto picture = unitview::terrainPicture(map, palette, area, scale);
        require(picture.pixels.size() == std::size_t{area.width / scale} * (area.height / scale),
                "a picture has all its pixels");
    }
}

void checkWorld(const io::TntFile& map) {
    sim::World world{sim::Terrain(map)};
    const auto type = world.addFeatureType({.footprintX = 3, .footprintZ = 2, .isBlocking = true});
    for (std::int32_t z = 0; z < world.terrain().cellsZ(); ++z)
        for (std::int32_t x = 0; x < world.terrain().cellsX(); ++x) {
            const sim::Feature* const feature = world.placeFeature(type, {x, z});
            require(feature != nullptr, "a feature on the map is placed");
            require(feature->altitude >= sim::Fixed::fromInt(world.terrain().heightRange().lowest),
                    "a feature stands on the ground");
        }
}

}  // namespace

void run(io::ByteView input) {
    accepts([&] { io::readTntSize(input); });
    io::TntFile map;
    if (!accepts([&] { map = io::parseTnt(input); })) return;
    require(io::readTntSize(input) == map.size, "both readers see one size");
    require(io::parseTnt(io::writeTnt(map)) == map, "a map reads as it was written");
    if (map.cells.size() > kMostCells) return;
    checkPictures(map);
    checkWorld(map);
}

}  // namespace orb::fuzz
