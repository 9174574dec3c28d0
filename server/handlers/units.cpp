#include "server/handlers/encode_unit.h"
#include "server/handlers/handlers.h"
#include "session/render_constants.h"
#include "session/request_error.h"
#include "session/sim_mode.h"
#include "session/unit_details.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

json encodeListedUnit(const UnitDeclaration& unit) {
    return {{"name", unit.name},
            {"side", unit.info.side},
            {"title", unit.info.description},
            {"displayName", displayName(unit)},
            {"buildPic", unit.info.buildPic.empty() ? unit.name : unit.info.buildPic}};
}

json encodeComparedUnit(const std::string& name, const UnitDeclaration* unit) {
    if (!unit) return {{"name", name}, {"found", false}};
    return {{"name", unit->name},
            {"found", true},
            {"source", encodeSource({unit->file.location(), unit->file.isInBaseTa()})},
            {"fbi", encodeFbi(unit->info)}};
}

}  // namespace

Reply listUnits(UnitViewSession& session, const Payload& payload) {
    const std::string side = payload.textIfString("side").value_or("");
    const std::string search = payload.textIfString("search").value_or("");
    json units = json::array();
    for (const UnitDeclaration* unit : searchUnits(session.data().catalogue, side, search))
        units.push_back(encodeListedUnit(*unit));
    return {{{"units", std::move(units)}}};
}

Reply loadUnit(UnitViewSession& session, const Payload& payload) {
    const std::string name = payload.text("name").value_or("");
    const bool withReport = payload.flag("report").value_or(false);
    if (name.empty()) throw RequestError("unit name is required");
    const LoadedUnit& unit = session.loadUnit(name);
    Reply reply{encodeLoadedUnit(unit, session.data())};
    if (withReport)
        reply.data["buildMenu"] = encodeBuildMenu(session.data().tables.buildMenus.of(unit.name));
    return reply;
}

Reply compareUnits(UnitViewSession& session, const Payload& payload) {
    const std::vector<std::string> names = payload.requiredTexts("names");
    const UnitCatalogue& catalogue = session.data().catalogue;
    json units = json::array();
    for (const std::string& name : names)
        units.push_back(encodeComparedUnit(name, catalogue.findLoadable(name)));
    return {{{"units", std::move(units)}}};
}

Reply setSimMode(UnitViewSession& session, const Payload& payload) {
    const std::string name = payload.requiredText("mode");
    const auto mode = simModeNamed(name);
    if (!mode) throw RequestError("unknown sim mode: " + name);
    session.cob().setSimMode(*mode);
    return {{{"mode", name}}};
}

Reply renderConstants(UnitViewSession&, const Payload&) {
    const RenderConstants constants;
    const json light = {{"direction", constants.light.direction},
                        {"ambient", constants.light.ambient},
                        {"diffuse", constants.light.diffuse}};
    return {{{"cabinetYPitch", constants.cabinetYPitch},
             {"orthoDepthRange", constants.orthoDepthRange},
             {"cabinetView", constants.cabinetView},
             {"model-origin", constants.modelOrigin},
             {"groundContact", constants.groundContact},
             {"tiltFromVerticalDeg", constants.tiltFromVerticalDeg},
             {"azimuthDeg", constants.azimuthDeg},
             {"light", light}}};
}

}  // namespace orb::unitview::ipc::handlers
