#include "server/handlers/encode_cob_source.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "diagnostics/script_family.h"
#include "server/base64.h"
#include "session/request_error.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

std::optional<bos::Scale> decodeScale(const Payload& options, const char* key) {
    const auto value = options.number(key);
    if (!value) return std::nullopt;
    try {
        return bos::Scale(*value);
    } catch (const std::invalid_argument& error) {
        throw RequestError(std::string(key) + ": " + error.what());
    }
}

/// One of two words, which `named` knows.
template <typename Named>
auto decodeWord(const Payload& options, const char* key, Named&& named)
    -> decltype(named(std::string_view{})) {
    const auto word = options.text(key);
    if (!word) return std::nullopt;
    const auto value = named(*word);
    if (!value) throw RequestError("unknown " + std::string(key) + ": " + *word);
    return value;
}

json encodeLint(const Lint& lint) {
    return {{"severity", severityWord(lint.severity)},
            {"code", lint.code},
            {"message", lint.message},
            {"scriptIndex", lint.scriptIndex},
            {"scriptName", lint.target}};
}

json encodeScriptSummary(const ScriptSummary& script) {
    return {{"name", script.name},
            {"family", scriptFamily(script.name)},
            {"instrCount", script.instructionCount},
            {"calls", script.calls},
            {"starts", script.starts},
            {"flags",
             {{"sleep", script.sleeps},
              {"wait", script.waitsForTurn || script.waitsForMove},
              {"signal", script.signals},
              {"emitSfx", script.emitsSfx},
              {"explode", script.explodes},
              {"loop", script.loops}}}};
}

}  // namespace

bos::BosOptionChoices decodeOptions(const Payload& payload) {
    const auto options = payload.object("options");
    if (!options) return {};
    return {decodeScale(*options, "linearScale"), decodeScale(*options, "angularScale"),
            decodeWord(*options, "implicitReturn", bos::implicitReturnNamed),
            decodeWord(*options, "valuelessReturn", bos::valuelessReturnNamed),
            decodeWord(*options, "argumentOrder", bos::argumentOrderNamed)};
}

json encodeOptions(const bos::BosOptions& options) {
    return {{"linearScale", options.linearScale.value()},
            {"angularScale", options.angularScale.value()},
            {"implicitReturn", bos::optionWord(options.implicitReturn)},
            {"valuelessReturn", bos::optionWord(options.valuelessReturn)},
            {"argumentOrder", bos::optionWord(options.argumentOrder)}};
}

json encodeDiagnostics(std::span<const bos::BosDiagnostic> diagnostics) {
    json result = json::array();
    for (const bos::BosDiagnostic& each : diagnostics)
        result.push_back({{"severity", each.severity == bos::Severity::error ? "error" : "warning"},
                          {"code", each.code},
                          {"message", each.message},
                          {"file", each.file},
                          {"line", each.line},
                          {"column", each.column}});
    return result;
}

json encodeLineSpans(std::span<const CobLineSpan> spans, std::span<const std::string> files) {
    json result = json::array();
    for (const CobLineSpan& span : spans) {
        json each = {{"from", span.from}, {"to", span.to}, {"line", span.line}};
        if (span.file != 0 && span.file < files.size()) each["file"] = files[span.file];
        result.push_back(std::move(each));
    }
    return result;
}

json encodeSymbols(const bos::SourceSymbols& symbols) {
    json scripts = json::array();
    for (const bos::ScriptSymbols& script : symbols.scripts)
        scripts.push_back(
            {{"name", script.name}, {"parameters", script.parameters}, {"locals", script.locals}});
    return {{"statics", symbols.statics}, {"scripts", std::move(scripts)}};
}

json encodeCode(const bos::BosCompilation& compiled) {
    const io::CobFile& cob = compiled.code.cob;
    json scripts = json::array();
    for (const auto& script : cob.scripts)
        scripts.push_back({{"name", script.name}, {"entry", script.entry}});
    return {{"cob_b64", encodeBase64(io::writeCob(cob))},
            {"codeWords", cob.code.size()},
            {"scripts", std::move(scripts)},
            {"pieces", cob.pieces},
            {"staticVars", cob.staticVarCount},
            {"lineSpans", encodeLineSpans(compiled.code.lineSpans, compiled.files)},
            {"symbols", encodeSymbols(compiled.symbols)}};
}

json encodeScripts(std::span<const bos::ScriptComparison> scripts) {
    json result = json::array();
    for (const bos::ScriptComparison& script : scripts)
        result.push_back({{"name", script.name},
                          {"status", bos::statusText(script.status)},
                          {"words", script.words},
                          {"differing", script.differing}});
    return result;
}

json encodeAnalysis(const CobAnalysis& analysis) {
    json lints = json::array(), scripts = json::array();
    for (const Lint& lint : analysis.lints) lints.push_back(encodeLint(lint));
    for (const ScriptSummary& script : analysis.scripts)
        scripts.push_back(encodeScriptSummary(script));
    return {{"lints", std::move(lints)}, {"scriptSummary", std::move(scripts)}};
}

}  // namespace orb::unitview::ipc
