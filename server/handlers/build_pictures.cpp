#include "server/base64.h"
#include "server/handlers/handlers.h"
#include "session/unit_pictures.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

/// The unit that is asked for; empty for the loaded one.
std::string decodeName(const Payload& payload) {
    return payload.text("name").value_or("");
}

}  // namespace

Reply getUnitBuildpic(UnitViewSession& session, const Payload& payload) {
    const std::string format = payload.text("format").value_or("");
    const auto [unitName, source, picture] = readUnitPicture(session, decodeName(payload), format);
    return {{{"name", unitName},
             {"format", formatName(source.format)},
             {"path", source.path},
             {"width", picture.width},
             {"height", picture.height},
             {"png_b64", encodeBase64(picture.png)}}};
}

Reply listUnitBuildpicSources(UnitViewSession& session, const Payload& payload) {
    const UnitPictures pictures = findUnitPictures(session, decodeName(payload));
    json sources = json::array();
    for (const BuildPictureSource& source : pictures.sources)
        sources.push_back({{"format", formatName(source.format)}, {"path", source.path}});
    return {{{"name", pictures.unitName}, {"sources", std::move(sources)}}};
}

Reply getUnitOrbBuildpic(UnitViewSession& session, const Payload& payload) {
    const auto [unitName, pictures] = readUnitButton(session, decodeName(payload));
    json data = {{"name", unitName}, {"normal_b64", encodeBase64(pictures.normal)}};
    if (pictures.pressed) data["pressed_b64"] = encodeBase64(*pictures.pressed);
    if (pictures.disabled) data["disabled_b64"] = encodeBase64(*pictures.disabled);
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
