#include "authoring/corpse_stub.h"
#include "authoring/new_mod.h"
#include "authoring/unit_clone.h"
#include "authoring/unit_save.h"
#include "io/path_text.h"
#include "server/base64.h"
#include "server/handlers/encode_cob_source.h"
#include "server/handlers/encode_edit.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

std::optional<std::vector<UnitPart>> decodeParts(const Payload& payload, const char* key) {
    const auto names = payload.texts(key);
    if (!names) return std::nullopt;
    std::vector<UnitPart> parts;
    parts.reserve(names->size());
    for (const std::string& name : *names) {
        const auto part = unitPartNamed(name);
        if (!part) throw RequestError("unknown part: " + name);
        parts.push_back(*part);
    }
    return parts;
}

io::Bytes decodeFile(const char* what, const std::string& encoded) {
    return reportingFailure([&] { return decodeBase64(encoded); },
                            "bad " + std::string(what) + ": ");
}

[[noreturn]] void failExclusive(const char* one, const char* other) {
    throw RequestError(std::string(one) + " and " + other + " exclude each other");
}

void decodeDefinition(const Payload& payload, SaveRequest& request) {
    const auto values = payload.scalars("values");
    const auto text = payload.text("text");
    if (values && text) failExclusive("values", "text");
    if (text) request.definition = *text;
    if (!values) return;
    std::vector<FbiChange> changes;
    changes.reserve(values->size());
    for (const auto& [key, value] : *values) changes.push_back({key, value});
    request.definition = std::move(changes);
}

void decodeScript(const Payload& script, SaveRequest& request) {
    const auto cob = script.text("cob_b64");
    const auto bos = script.text("bos");
    const bos::BosOptionChoices options = decodeOptions(script);
    if (cob && bos) failExclusive("script.cob_b64", "script.bos");
    if (!cob && !bos) failRequired("script.bos or script.cob_b64");
    if (cob)
        request.script = decodeFile("cob_b64", *cob);
    else
        request.script = ScriptText{*bos, options};
}

SaveRequest decodeSave(const Payload& payload) {
    SaveRequest request;
    request.name = payload.text("name");
    request.model = payload.flag("model").value_or(true);
    request.terms = decodeTerms(payload);
    request.ifModelVersion = textOption(payload, "ifModelVersion");
    request.ifScriptVersion = textOption(payload, "ifScriptVersion");
    request.overwrite = payload.flag("overwrite").value_or(false);
    const auto script = payload.object("script");
    const auto picture = payload.object("picture");
    std::optional<std::string> png;
    if (picture) png = picture->text("png_b64");
    decodeDefinition(payload, request);
    if (script) decodeScript(*script, request);
    if (picture) request.picture = decodeFile("png_b64", requireFilled("picture.png_b64", png));
    return request;
}

}  // namespace

Reply createModFolder(UnitViewSession& session, const Payload& payload) {
    const auto path = payload.path("path");
    const bool mount = payload.flag("mount").value_or(true);
    const NewMod mod = unitview::createModFolder(session, requireFilled("path", path), mount);
    json data = {{"path", io::textFromPath(mod.path)},
                 {"created", mod.created},
                 {"mounted", mod.unitCount.has_value()}};
    if (mod.unitCount) data["unitCount"] = *mod.unitCount;
    return {std::move(data)};
}

Reply unitClone(UnitViewSession& session, const Payload& payload) {
    CloneRequest request;
    request.name = payload.text("name");
    request.newName = payload.text("newName");
    request.modPath = payload.path("modPath");
    request.displayName = payload.text("displayName");
    request.overwrite = payload.flag("overwrite").value_or(false);
    request.allowBackupCreation = payload.flag("allowBackupCreation").value_or(false);
    request.with = decodeParts(payload, "with");
    const CloneResult clone = cloneUnit(session, request);
    json data = encodeEdit(clone.edit);
    data["name"] = clone.name;
    data["files"] = json::array();
    for (const CopiedFile& file : clone.files)
        data["files"].push_back({{"from", locationText(file.from)}, {"to", locationText(file.to)}});
    return {std::move(data)};
}

Reply createCorpseStub(UnitViewSession& session, const Payload& payload) {
    CorpseRequest request;
    request.parentUnit = payload.text("parentUnit");
    request.name = payload.text("name");
    request.modPath = payload.path("modPath");
    request.allowBackupCreation = payload.flag("allowBackupCreation").value_or(false);
    const CorpseResult stub = unitview::createCorpseStub(session, request);
    json data = encodeEdit(stub.edit);
    data["name"] = stub.name;
    data["files"] = json::array();
    for (const io::FileLocation& file : stub.files) data["files"].push_back(locationText(file));
    return {std::move(data)};
}

Reply saveUnit(UnitViewSession& session, const Payload& payload) {
    const SaveResult saved = unitview::saveUnit(session, decodeSave(payload));
    json data = encodeEdit(saved.edit);
    data["files"] = json::array();
    for (const SavedFile& file : saved.files)
        data["files"].push_back(
            {{"part", file.part}, {"resolvedPath", io::textFromPath(file.location.path)}});
    if (saved.diagnostics) data["diagnostics"] = encodeDiagnostics(*saved.diagnostics);
    if (saved.modelVersion) data["modelVersion"] = *saved.modelVersion;
    if (saved.scriptVersion) data["scriptVersion"] = *saved.scriptVersion;
    return {std::move(data)};
}

}  // namespace orb::unitview::ipc::handlers
