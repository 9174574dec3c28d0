#include <algorithm>

#include <fmt/format.h>

#include "model/glb.h"
#include "model/model_files.h"
#include "model/piece_list.h"
#include "server/handlers/encode_unit.h"
#include "server/handlers/handlers.h"
#include "server/handlers/reporting.h"
#include "server/handlers/require_weapon.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

constexpr const char* kEncodeFailed = "glb encode failed: ";

std::uint8_t colorByte(const Payload& payload, const char* key) {
    return static_cast<std::uint8_t>(
        std::clamp<std::int64_t>(payload.integer(key).value_or(0), 0, 255));
}

/// A colour that is given counts unless it is switched off.
TeamColor decodeTeamColor(const Payload& payload) {
    const auto value = payload.object("teamColor");
    if (!value) return {};
    TeamColor team;
    team.color = {colorByte(*value, "r"), colorByte(*value, "g"), colorByte(*value, "b")};
    team.enabled = value->flag("enabled").value_or(true);
    return team;
}

ExportedModel encodeModel(const UnitViewSession& session, const io::Model3doObject& model,
                          const TeamColor& team) {
    try {
        return exportModel(model, session.data().textures, session.palette(), team);
    } catch (const std::exception& error) {
        throw RequestError(std::string(kEncodeFailed) + error.what());
    } catch (...) {
        throw RequestError(std::string(kEncodeFailed) + "unknown exception");
    }
}

json encodeTexture(const std::string& name, const Texture* texture,
                   const io::CompositeVirtualFileSystem& files) {
    if (!texture) return {{"name", name}, {"found", false}};
    json result = {{"name", name},
                   {"found", true},
                   {"width", texture->picture.width},
                   {"height", texture->picture.height},
                   {"frames", texture->frameCount},
                   {"teamPixels", texture->teamPixels()},
                   {"totalPixels", texture->totalPixels()}};
    if (const auto found = files.locateInLayers(texture->path))
        result["source"] =
            encodeSource({found->location, found->layer->rootKind == io::DataRootKind::base});
    return result;
}

}  // namespace

Reply getUnitGlb(UnitViewSession& session, const Payload& payload) {
    const TeamColor team = decodeTeamColor(payload);
    const LoadedUnit& unit = session.requireUnit();
    ExportedModel exported = encodeModel(session, unit.model, team);
    return {{{"unitName", unit.name},
             {"pieceCount", exported.pieceCount},
             {"textureCount", exported.textureCount},
             {"byteSize", exported.glb.size()}},
            std::move(exported.glb)};
}

Reply getWeaponModelGlb(UnitViewSession& session, const Payload& payload) {
    const std::string name = payload.text("weapon").value_or("");
    const TeamColor team = decodeTeamColor(payload);
    const TableEntry& weapon = requireWeapon(session, name);
    const std::string model(weapon.section.getString("model").value_or(""));
    if (model.empty()) throw RequestError("weapon has no model: " + weapon.name);
    const auto& files = session.data().files;
    const std::string path = fmt::format("objects3d/{}.3DO", modelFileName(files, model));
    const auto file = reportingFailure([&] { return files.readFile(path); }, kEncodeFailed);
    if (!file) throw RequestError("3DO not found: " + path);
    const io::Model3doObject root =
        reportingFailure([&] { return io::parse3do(*file); }, kEncodeFailed);
    ExportedModel exported = encodeModel(session, root, team);
    return {{{"weapon", weapon.name}, {"model", model}, {"byteSize", exported.glb.size()}},
            std::move(exported.glb)};
}

Reply unitTextures(UnitViewSession& session, const Payload&) {
    const std::vector<std::string> names = textureNames(session.requireUnit().model);
    const MountedData& data = session.data();
    const auto textures = data.textures.find(names);
    json result = json::array();
    for (std::size_t i = 0; i < names.size(); ++i)
        result.push_back(encodeTexture(names[i], textures[i].get(), data.files));
    return {{{"textures", std::move(result)}}};
}

Reply getMasterPalette(UnitViewSession& session, const Payload&) {
    session.data();  // without roots there is no palette
    json colors = json::array();
    for (const auto& [r, g, b, a] : session.palette()) colors.push_back({r, g, b, a});
    return {{{"colors", std::move(colors)}}};
}

}  // namespace orb::unitview::ipc::handlers
