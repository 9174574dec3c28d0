#include "session/map_pictures.h"

#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

constexpr std::string_view kHeightPlane = "height";

}  // namespace

Reply mapHeightmap(UnitViewSession& session, const Payload& payload) {
    const std::string plane = payload.text("plane").value_or(std::string(kHeightPlane));
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
