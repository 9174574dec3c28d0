#include "bos/compiler.h"
#include "bos/disassembler.h"
#include "bos/source_compare.h"
#include "model/piece_list.h"
#include "server/base64.h"
#include "server/handlers/encode_cob_source.h"
#include "server/handlers/encode_lints.h"
#include "server/handlers/handlers.h"
#include "server/handlers/reporting.h"
#include "session/unit_script.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

/// Where an unnamed source without a loaded unit lies.
constexpr const char* kUntitledPath = "scripts/untitled.bos";

const io::AbstractVirtualFileSystem* filesOf(const UnitViewSession& session) {
    return session.hasData() ? &session.data().files : nullptr;
}

std::string defaultPath(const UnitViewSession& session) {
    const LoadedUnit* const unit = session.unit();
    return unit ? bosPath(scriptPath(unit->fbi, unit->name)) : kUntitledPath;
}

/// A script is linted for the loaded unit's model; without a unit, for its own list of pieces.
std::size_t pieceCountFor(const UnitViewSession& session, const io::CobFile& cob) {
    const LoadedUnit* const unit = session.unit();
    return unit ? flattenPieces(unit->model).size() : cob.pieces.size();
}

json encodeCode(const bos::GeneratedCode& code) {
    const io::CobFile& cob = code.cob;
    json scripts = json::array();
    for (const auto& script : cob.scripts)
        scripts.push_back({{"name", script.name}, {"entry", script.entry}});
    return {{"cob_b64", encodeBase64(io::writeCob(cob))},
            {"codeWords", cob.code.size()},
            {"scripts", std::move(scripts)},
            {"pieces", cob.pieces},
            {"staticVars", cob.staticVarCount},
            {"lineSpans", encodeLineSpans(code.lineSpans)}};
}

json encodeScripts(const std::vector<bos::ScriptComparison>& scripts) {
    json result = json::array();
    for (const bos::ScriptComparison& script : scripts)
        result.push_back({{"name", script.name},
                          {"status", bos::statusText(script.status)},
                          {"words", script.words},
                          {"differing", script.differing}});
    return result;
}

}  // namespace

Reply cobCompile(UnitViewSession& session, const Payload& payload) {
    const auto source = payload.text("source");
    const std::string path = payload.text("path").value_or(defaultPath(session));
    const bos::BosOptionChoices choices = decodeOptions(payload);
    if (!source) throw RequestError("source is required");
    const bos::BosCompilation compiled = bos::compileBos(*source, path, filesOf(session), choices);
    json data = compiled.ok ? encodeCode(compiled.code) : json::object();
    if (compiled.ok)
        data.update(encodeAnalysis(compiled.code.cob, pieceCountFor(session, compiled.code.cob)));
    data["ok"] = compiled.ok;
    data["diagnostics"] = encodeDiagnostics(compiled.diagnostics);
    data["options"] = encodeOptions(compiled.options);
    return {std::move(data)};
}

Reply cobDisassemble(UnitViewSession& session, const Payload& payload) {
    const auto encoded = payload.text("cob_b64");
    const bos::BosOptionChoices choices = decodeOptions(payload);
    return reportingFailure([&]() -> Reply {
        const auto cob =
            encoded ? std::make_shared<const io::CobFile>(io::parseCob(decodeBase64(*encoded)))
                    : readUnitScript(session, std::nullopt).cob;
        const bos::BosDisassembly text = bos::disassembleCob(*cob, choices);
        return {{{"source", text.source},
                 {"structured", text.rawScripts.empty()},
                 {"rawScripts", text.rawScripts},
                 {"lineSpans", encodeLineSpans(text.lineSpans)},
                 {"options", encodeOptions(text.options)}}};
    });
}

Reply cobGetUnitBos(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const UnitScript script = readUnitScript(session, name);
    json data = {{"name", script.unitName}};
    if (script.source) {
        data["source"] = *script.source;
        data["origin"] = "file";
        data["path"] = script.sourcePath;
        const bos::SourceComparison compared =
            bos::compareSource(*script.cob, *script.source, script.sourcePath, filesOf(session));
        if (compared.ok && compared.isSameCode)
            data["lineSpans"] = encodeLineSpans(compared.lineSpans);
    } else {
        const bos::BosDisassembly text = bos::disassembleCob(*script.cob);
        data["source"] = text.source;
        data["origin"] = "disassembly";
        if (text.isExact) data["lineSpans"] = encodeLineSpans(text.lineSpans);
    }
    return {std::move(data)};
}

Reply cobSourceCompare(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const auto source = payload.text("source");
    const UnitScript script = readUnitScript(session, name);
    if (!source && !script.source) throw RequestError("BOS source not found: " + script.sourcePath);
    const bos::SourceComparison compared = bos::compareSource(
        *script.cob, source ? *source : *script.source, script.sourcePath, filesOf(session));
    return {{{"name", script.unitName},
             {"identical", compared.isIdentical},
             {"options", encodeOptions(compared.options)},
             {"scripts", encodeScripts(compared.scripts)},
             {"scriptOrderDiffers", compared.scriptOrderDiffers},
             {"piecesDiffer", compared.piecesDiffer},
             {"staticVarsDiffer", compared.staticVarsDiffer},
             {"embeddedText", compared.hasTrailingText},
             {"diagnostics", encodeDiagnostics(compared.diagnostics)}}};
}

}  // namespace orb::unitview::ipc::handlers
