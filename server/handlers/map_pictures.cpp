#include "session/map_pictures.h"

#include <algorithm>

#include "server/handlers/handlers.h"
#include "server/handlers/members.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

constexpr std::string_view kHeightPlane = "height";

/// Windows come from where somebody drags: fractions are dropped. 0 without the member.
std::int64_t decodePixels(const Members& members, std::string_view key) {
    constexpr double kMost = 1e9;  // beyond any map
    return static_cast<std::int64_t>(std::clamp(members.number(key).value_or(0), -kMost, kMost));
}

}  // namespace

Reply mapHeightmap(UnitViewSession& session, const Payload& payload) {
    const std::string plane = Members(payload).text("plane").value_or(std::string(kHeightPlane));
    const sim::Terrain& terrain = session.requireMap().world.terrain();
    if (plane != kHeightPlane) throw RequestError("unknown plane: " + plane);
    const auto heights = terrain.heights();
    return {{{"plane", plane},
             {"width", terrain.cellsX()},
             {"height", terrain.cellsZ()},
             {"cellSize", sim::kCellPixels},
             {"seaLevel", terrain.seaLevel()},
             {"byteSize", heights.size()}},
            {heights.begin(), heights.end()}};
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
