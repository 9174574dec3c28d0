#include "server/handlers/decode_cob.h"
#include "server/handlers/encode_cob.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/encode_unit.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"
#include "session/unit_details.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

json encodeDeclared(const UnitDeclaration& unit) {
    return encodeSource({unit.file.location(), unit.file.isInBaseTa()});
}

json encodeListedUnit(const UnitDeclaration& unit, bool withSource) {
    json result = {{"name", unit.name},
                   {"side", unit.info.side},
                   {"title", unit.info.description},
                   {"displayName", displayName(unit)},
                   {"buildPic", buildPictureName(unit.info.buildPic, unit.name)}};
    if (withSource) result["source"] = encodeDeclared(unit);
    return result;
}

json encodeComparedUnit(const std::string& name, const UnitDeclaration* unit) {
    if (!unit) return {{"name", name}, {"found", false}};
    return {{"name", unit->name},
            {"found", true},
            {"source", encodeDeclared(*unit)},
            {"fbi", encodeFbi(unit->info)}};
}

}  // namespace

Reply listUnits(UnitViewSession& session, const Payload& payload) {
    const std::string side = payload.textIfString("side").value_or("");
    const std::string search = payload.textIfString("search").value_or("");
    const bool refresh = option(payload, "refresh");
    const bool withSource = decodeReport(payload);
    session.data();
    if (refresh)
        reportingFailure([&] { session.mountAgain(session.data().request); }, "mount failed: ");
    json units = json::array();
    for (const UnitDeclaration* unit : searchUnits(session.data().catalogue, side, search))
        units.push_back(encodeListedUnit(*unit, withSource));
    return {{{"units", std::move(units)}}};
}

Reply loadUnit(UnitViewSession& session, const Payload& payload) {
    const bool withReport = decodeReport(payload);
    const WorkingModel* const working = session.workingModel();
    const bool hadEdits = session.hasWaitingEdits() || (working && working->isDirty());
    const LoadedUnit& unit = session.loadUnit(payload.text("name").value_or(""));
    Reply reply{encodeLoadedUnit(unit, describeUnit(unit, session.data()))};
    if (hadEdits) reply.data[session.workingModel() ? "hasEdits" : "editsDropped"] = true;
    if (!withReport) return reply;
    reply.data["buildMenu"] = encodeBuildMenu(session.data().tables.buildMenus.of(unit.name));
    if (session.cob().instance()) reply.data["report"] = encodeReport(session);
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

}  // namespace orb::unitview::ipc::handlers
