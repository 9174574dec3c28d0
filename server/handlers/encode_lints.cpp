#include "server/handlers/encode_lints.h"

#include <nlohmann/json.hpp>

#include "diagnostics/script_family.h"

namespace orb::unitview::ipc {

using nlohmann::json;

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

}  // namespace orb::unitview::ipc
