#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"
#include "session/unit_textures.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

json encodeTexture(const UnitTexture& entry) {
    if (!entry.texture) return {{"name", entry.name}, {"found", false}};
    const Texture& texture = *entry.texture;
    json result = {{"name", entry.name},
                   {"found", true},
                   {"width", texture.picture.width},
                   {"height", texture.picture.height},
                   {"frames", texture.frameCount},
                   {"teamPixels", texture.teamPixels()},
                   {"totalPixels", texture.totalPixels()}};
    if (entry.source) result["source"] = encodeSource(*entry.source);
    return result;
}

}  // namespace

Reply unitTextures(UnitViewSession& session, const Payload& payload) {
    const auto name = textOption(payload, "name");
    json textures = json::array();
    for (const UnitTexture& entry :
         name ? findTextures(session.data(), session.readUnit(*name).model)
              : findUnitTextures(session))
        textures.push_back(encodeTexture(entry));
    return {{{"textures", std::move(textures)}}};
}

}  // namespace orb::unitview::ipc::handlers
