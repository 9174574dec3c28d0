#include "authoring/unit_definition.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {

using nlohmann::json;

Reply fbiRaw(UnitViewSession& session, const Payload& payload) {
    const RawDefinition raw = readDefinition(session, payload.text("name"));
    const bool isUtf8 = raw.encoding == io::TextEncoding::utf8;
    return {{{"name", raw.name},
             {"text", raw.text},
             {"encoding", isUtf8 ? "utf-8" : "windows-1252"},
             {"source", encodeSource(raw.source)}}};
}

Reply saveFbiRaw(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const auto text = payload.text("text");
    const bool allowBackup = payload.flag("allowBackupCreation").value_or(false);
    return {encodeEdit(saveDefinition(session, name, require("text", text), allowBackup))};
}

Reply fbiPatch(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const auto values = payload.scalars("values");
    const bool allowBackup = payload.flag("allowBackupCreation").value_or(false);
    std::vector<FbiChange> changes;
    for (const auto& [key, value] : require("values", values)) changes.push_back({key, value});
    const PatchResult result = patchDefinition(session, name, changes, allowBackup);
    json data = encodeEdit(result.edit);
    data["changed"] = result.changed;
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
