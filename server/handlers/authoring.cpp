#include "authoring/unit_definition.h"
#include "io/path_text.h"
#include "server/handlers/encode_unit.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

std::string_view nameOf(EditOutcome outcome) {
    switch (outcome) {
        case EditOutcome::ok:
            return "ok";
        case EditOutcome::needsBackupConsent:
            return "needs-backup-consent";
        case EditOutcome::refusedForBase:
            return "base-ta-refused";
    }
    return {};
}

json encodeEdit(const EditResult& edit) {
    json data = {{"outcome", nameOf(edit.outcome)},
                 {"resolvedPath", io::textFromPath(edit.resolvedPath)}};
    if (edit.reloadError) data["reloadError"] = *edit.reloadError;
    return data;
}

}  // namespace

Reply resolveUnitSource(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    if (!name) throw RequestError("name is required");
    const UnitSource source = session.resolveUnitSource(*name);
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
    if (restored.reloadError) data["reloadError"] = *restored.reloadError;
    return {std::move(data)};
}

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
    if (!text) throw RequestError("text is required");
    return {encodeEdit(saveDefinition(session, name, *text, allowBackup))};
}

Reply fbiPatch(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const auto values = payload.scalars("values");
    const bool allowBackup = payload.flag("allowBackupCreation").value_or(false);
    if (!values) throw RequestError("values is required");
    std::vector<FbiChange> changes;
    for (const auto& [key, value] : *values) changes.push_back({key, value});
    const PatchResult result = patchDefinition(session, name, changes, allowBackup);
    json data = encodeEdit(result.edit);
    data["changed"] = result.changed;
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
