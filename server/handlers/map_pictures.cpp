#include "session/map_pictures.h"

#include <algorithm>

#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

constexpr std::string_view kHeightPlane = "height";
constexpr std::string_view kSightPlane = "sight";

/// A byte a cell: what a player knows of it.
std::vector<std::uint8_t> sightPlane(const sim::World& world, std::int32_t player) {
    constexpr std::int32_t kTileCells = sim::kTilePixels / sim::kCellPixels;
    const std::vector<sim::Knowledge> tiles = world.knowledgeOf(player);
    const sim::Terrain& terrain = world.terrain();
    const std::int32_t tilesX = (terrain.cellsX() + kTileCells - 1) / kTileCells;
    std::vector<std::uint8_t> plane;
    plane.reserve(terrain.heights().size());
    for (std::int32_t z = 0; z < terrain.cellsZ(); ++z)
        for (std::int32_t x = 0; x < terrain.cellsX(); ++x)
            plane.push_back(static_cast<std::uint8_t>(
                tiles[static_cast<std::size_t>(z / kTileCells * tilesX + x / kTileCells)]));
    return plane;
}

}  // namespace

Reply mapHeightmap(UnitViewSession& session, const Payload& payload) {
    const std::string plane = payload.text("plane").value_or(std::string(kHeightPlane));
    const auto player = static_cast<std::int32_t>(
        std::clamp<std::int64_t>(payload.integer("player").value_or(1), 1, sim::kPlayerCount));
    const sim::World& world = session.requireMap().world;
    const sim::Terrain& terrain = world.terrain();
    if (plane != kHeightPlane && plane != kSightPlane)
        throw RequestError("unknown plane: " + plane);
    const auto heights = terrain.heights();
    return {{{"plane", plane},
             {"width", terrain.cellsX()},
             {"height", terrain.cellsZ()},
             {"cellSize", sim::kCellPixels},
             {"seaLevel", terrain.seaLevel()},
             {"byteSize", heights.size()}},
            plane == kSightPlane ? sightPlane(world, player)
                                 : std::vector<std::uint8_t>{heights.begin(), heights.end()}};
}

Reply mapMinimap(UnitViewSession& session, const Payload&) {
    PngPicture picture = readMinimap(session.requireMap(), session.palette());
    return {
        {{"width", picture.width}, {"height", picture.height}, {"byteSize", picture.png.size()}},
        std::move(picture.png)};
}

Reply mapTerrainTexture(UnitViewSession& session, const Payload& payload) {
    TerrainRequest request;
    request.x = payload.integer("x").value_or(0);
    request.z = payload.integer("z").value_or(0);
    request.width = payload.integer("width").value_or(0);
    request.height = payload.integer("height").value_or(0);
    request.scale = payload.integer("scale");
    auto [x, z, scale, picture] =
        readTerrainTexture(session.requireMap(), session.palette(), request);
    return {{{"x", x},
             {"z", z},
             {"width", picture.width},
             {"height", picture.height},
             {"scale", scale},
             {"byteSize", picture.png.size()}},
            std::move(picture.png)};
}

}  // namespace orb::unitview::ipc::handlers
