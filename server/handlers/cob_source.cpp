#include "diagnostics/script_compilation.h"
#include "server/base64.h"
#include "server/handlers/encode_cob_source.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"
#include "session/unit_bos.h"

namespace orb::unitview::ipc::handlers {

using nlohmann::json;

Reply cobCompile(UnitViewSession& session, const Payload& payload) {
    const auto source = payload.text("source");
    const auto path = payload.text("path");
    const bos::BosOptionChoices choices = decodeOptions(payload);
    const auto [compiled, analysis] =
        compileScript(session, require("source", source), path, choices);
    json data = compiled.ok ? encodeCode(compiled) : json::object();
    if (compiled.ok) data.update(encodeAnalysis(analysis));
    data["ok"] = compiled.ok;
    data["diagnostics"] = encodeDiagnostics(compiled.diagnostics);
    data["options"] = encodeOptions(compiled.options);
    return {std::move(data)};
}

Reply cobDisassemble(UnitViewSession& session, const Payload& payload) {
    const auto encoded = payload.text("cob_b64");
    const bos::BosOptionChoices choices = decodeOptions(payload);
    std::optional<io::Bytes> cob;
    if (encoded) cob = reportingFailure([&] { return decodeBase64(*encoded); });
    const bos::BosDisassembly text = disassembleScript(session, cob, choices);
    return {{{"source", text.source},
             {"structured", text.rawScripts.empty()},
             {"rawScripts", text.rawScripts},
             {"lineSpans", encodeLineSpans(text.lineSpans, {})},
             {"symbols", encodeSymbols(text.symbols)},
             {"options", encodeOptions(text.options)}}};
}

Reply cobGetUnitBos(UnitViewSession& session, const Payload& payload) {
    const bool withReport = option(payload, "report");
    const UnitBos bos = readUnitBos(session, payload.text("name"));
    json data = {{"name", bos.unitName},
                 {"source", bos.source},
                 {"origin", bos.path ? "file" : "disassembly"}};
    if (bos.path) data["path"] = *bos.path;
    if (bos.path && withReport) data["version"] = bos.version;
    if (bos.encoding != io::TextEncoding::utf8) data["encoding"] = "windows-1252";
    if (bos.lineSpans) data["lineSpans"] = encodeLineSpans(*bos.lineSpans, bos.files);
    if (bos.symbols) data["symbols"] = encodeSymbols(*bos.symbols);
    return {std::move(data)};
}

Reply cobSourceCompare(UnitViewSession& session, const Payload& payload) {
    const auto name = payload.text("name");
    const auto source = payload.text("source");
    const auto [unitName, compared] = compareUnitSource(session, name, source);
    return {{{"name", unitName},
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
