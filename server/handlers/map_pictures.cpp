#include "session/map_pictures.h"

#include <algorithm>

#include "server/handlers/decode_order.h"
#include "server/handlers/handlers.h"
#include "server/handlers/members.h"
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

/// Windows come from where somebody drags: fractions are dropped. 0 without the member.
std::int64_t decodePixels(const Members& members, std::string_view key) {
    constexpr double kMost = 1e9;  // beyond any map
    return static_cast<std::int64_t>(std::clamp(members.number(key).value_or(0), -kMost, kMost));
}

}  // namespace

Reply mapHeightmap(UnitViewSession& session, const Payload& payload) {
    const Members members(payload);
    const std::string plane = members.text("plane").value_or(std::string(kHeightPlane));
    const std::int32_t player = decodePlayer(members).value_or(1);
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
    const Members members(payload);
    TerrainRequest request;
    request.x = decodePixels(members, "x");
    request.z = decodePixels(members, "z");
    request.width = decodePixels(members, "width");
    request.height = decodePixels(members, "height");
    request.scale = members.whole("scale");
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
