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

}  // namespace orb::unitview::ipc
