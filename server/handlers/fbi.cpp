#include "authoring/fbi_warnings.h"
#include "authoring/unit_definition.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"

namespace orb::unitview::ipc::handlers {

using nlohmann::json;

namespace {

json encodeWarnings(const std::vector<FbiWarning>& warnings) {
    json result = json::array();
    for (const FbiWarning& warning : warnings)
        result.push_back(
            {{"line", warning.line}, {"column", warning.column}, {"message", warning.message}});
    return result;
}

}  // namespace

Reply fbiRaw(UnitViewSession& session, const Payload& payload) {
    const RawDefinition raw = readDefinition(session, payload.text("name"));
    const bool isUtf8 = raw.encoding == io::TextEncoding::utf8;
    json data = {{"name", raw.name},
                 {"text", raw.text},
                 {"encoding", isUtf8 ? "utf-8" : "windows-1252"},
                 {"source", encodeSource(raw.source)},
                 {"version", raw.version},
                 {"hasBackup", raw.hasBackup},
                 {"backupCovers", raw.backupCovers}};
    if (raw.isBackupOlder) data["backupIsOlder"] = true;
    return {std::move(data)};
}

Reply saveFbiRaw(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const auto text = payload.text("text");
    EditTerms terms = decodeTerms(payload);
    terms.checkOnly = option(payload, "checkOnly");
    json data = encodeEdit(saveDefinition(session, name, require("text", text), terms));
    data["warnings"] = encodeWarnings(findFbiWarnings(*text));
    return {std::move(data)};
}

Reply fbiPatch(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const auto values = payload.scalars("values");
    const EditTerms terms = decodeTerms(payload);
    std::vector<FbiChange> changes;
    for (const auto& [key, value] : require("values", values)) changes.push_back({key, value});
    const PatchResult result = patchDefinition(session, name, changes, terms);
    json data = encodeEdit(result.edit);
    data["changed"] = result.changed;
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
