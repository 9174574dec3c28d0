#pragma once

#include <nlohmann/json_fwd.hpp>

#include "diagnostics/cob_lints.h"

/// JSON forms of what is found in scripts.
namespace orb::unitview::ipc {

/// {"severity", "code", "message", "scriptIndex", "scriptName"}; the name is what a suppression
/// takes as its target: the script's, or "create" and "killed" with index -1.
nlohmann::json encodeLint(const Lint& lint);

/// {"name", "family", "instrCount", "calls", "starts", "flags" {"sleep", "wait", "signal",
/// "emitSfx", "explode", "loop"}}.
nlohmann::json encodeScriptSummary(const ScriptSummary& script);

/// {"lints", "scriptSummary"} of a file and a model of so many pieces; both are empty when the code
/// cannot be analysed.
nlohmann::json encodeAnalysis(const io::CobFile& cob, std::size_t modelPieceCount);

}  // namespace orb::unitview::ipc
