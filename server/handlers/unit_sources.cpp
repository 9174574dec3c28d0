#include "authoring/unit_definition.h"
#include "io/path_text.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {

using nlohmann::json;

Reply resolveUnitSource(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const UnitSource source = session.resolveUnitSource(require("name", name));
    return {{{"name", *name}, {"resolved", true}, {"source", encodeSource(source)}}};
}

Reply requireWritableSource(UnitViewSession& session, const Payload& payload) {
    const std::string name = payload.text("name").value_or("");
    try {
        const UnitSource source = session.resolveUnitSource(name);
        return {{{"name", name},
                 {"state", source.inBaseTa ? "base-ta" : "ok"},
                 {"source", encodeSource(source)}}};
    } catch (const RequestError& error) {
        return {{{"name", name}, {"state", "not-found"}, {"error", error.what()}}};
    }
}

Reply restoreSourceFromBackup(UnitViewSession& session, const Payload& payload) {
    const std::string name = payload.text("name").value_or("");
    const RestoredSource restored = restoreUnitSource(session, name);
    json data = {{"name", name}, {"restoredPath", io::textFromPath(restored.restoredPath)}};
    if (restored.warning) data["warning"] = *restored.warning;
    addReload(data, restored.reload);
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
