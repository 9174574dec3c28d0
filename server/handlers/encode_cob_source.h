#pragma once

#include <span>

#include <nlohmann/json_fwd.hpp>

#include "bos/source_compare.h"
#include "diagnostics/cob_lints.h"
#include "server/payload.h"

/// JSON forms of the script compiler's options and results, and of what is found in scripts.
namespace orb::unitview::ipc {

/// The request member "options": {"linearScale", "angularScale", "implicitReturn",
/// "valuelessReturn", "argumentOrder"}, each optional. Throws PayloadError for wrong types and
/// RequestError for values that are none.
bos::BosOptionChoices decodeOptions(const Payload& payload);
nlohmann::json encodeOptions(const bos::BosOptions& options);

/// [{"severity", "code", "message", "file", "line", "column"}]
nlohmann::json encodeDiagnostics(std::span<const bos::BosDiagnostic> diagnostics);

/// [{"from", "to", "line", "file"?}], as cob-set-breakpoints takes them; `files` are what the
/// spans' files count.
nlohmann::json encodeLineSpans(std::span<const CobLineSpan> spans,
                               std::span<const std::string> files);

/// {"statics": [name], "scripts": [{"name", "parameters", "locals"}]}
nlohmann::json encodeSymbols(const bos::SourceSymbols& symbols);

/// {"cob_b64", "codeWords", "scripts" [{"name", "entry"}], "pieces", "staticVars", "lineSpans",
/// "symbols"} of a source without mistakes.
nlohmann::json encodeCode(const bos::BosCompilation& compiled);

/// [{"name", "status", "words", "differing"}]
nlohmann::json encodeScripts(std::span<const bos::ScriptComparison> scripts);

/// {"lints", "scriptSummary"}. A lint's "scriptName" is what a suppression takes as its target.
nlohmann::json encodeAnalysis(const CobAnalysis& analysis);

}  // namespace orb::unitview::ipc
