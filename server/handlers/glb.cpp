#include <algorithm>

#include "server/handlers/handlers.h"
#include "session/model_export.h"

namespace orb::unitview::ipc::handlers {
namespace {

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

}  // namespace

Reply getUnitGlb(UnitViewSession& session, const Payload& payload) {
    const TeamColor team = decodeTeamColor(payload);
    const auto name = textOption(payload, "name");
    std::optional<LoadedUnit> named;
    if (name) named = session.readUnit(*name);
    ExportedModel exported =
        named ? exportUnitModel(session, *named, team) : exportUnitModel(session, team);
    return {{{"unitName", named ? named->name : session.requireUnit().name},
             {"pieceCount", exported.pieceCount},
             {"textureCount", exported.textureCount},
             {"byteSize", exported.glb.size()}},
            std::move(exported.glb)};
}

Reply getWeaponModelGlb(UnitViewSession& session, const Payload& payload) {
    const std::string name = payload.text("weapon").value_or("");
    const TeamColor team = decodeTeamColor(payload);
    WeaponModel model = exportWeaponModel(session, name, team);
    return {
        {{"weapon", model.weapon}, {"model", model.name}, {"byteSize", model.exported.glb.size()}},
        std::move(model.exported.glb)};
}

}  // namespace orb::unitview::ipc::handlers
