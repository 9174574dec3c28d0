#include "session/game_assets.h"

#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {

using nlohmann::json;

Reply getMasterPalette(UnitViewSession& session, const Payload&) {
    json colors = json::array();
    for (const auto& [r, g, b, a] : session.data().palette) colors.push_back({r, g, b, a});
    return {{{"colors", std::move(colors)}}};
}

Reply getProjectileSprite(UnitViewSession& session, const Payload& payload) {
    auto [weapon, name, strip] = readProjectileSprite(session, payload.text("weapon").value_or(""));
    return {{{"weapon", weapon},
             {"name", name},
             {"frames", strip.frameCount},
             {"width", strip.cellWidth},
             {"height", strip.cellHeight},
             {"byteSize", strip.png.size()}},
            std::move(strip.png)};
}

Reply getSound(UnitViewSession& session, const Payload& payload) {
    auto [name, path, wave] = readSound(session, payload.text("name").value_or(""));
    return {{{"name", name}, {"path", path}, {"byteSize", wave.size()}}, std::move(wave)};
}

}  // namespace orb::unitview::ipc::handlers
