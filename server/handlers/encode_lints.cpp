#include "server/handlers/encode_lints.h"

#include <nlohmann/json.hpp>

#include "diagnostics/script_family.h"
#include "server/logger.h"

namespace orb::unitview::ipc {
namespace {

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

}  // namespace

json encodeAnalysis(const io::CobFile& cob, std::size_t modelPieceCount) {
    CobAnalysis analysis;
    try {
        analysis = analyseCob(cob, modelPieceCount);
    } catch (const std::exception& error) {
        LogLine(LogLevel::warn) << "[lints] script not analysed: " << error.what();
    }
    json lints = json::array(), scripts = json::array();
    for (const Lint& lint : analysis.lints) lints.push_back(encodeLint(lint));
    for (const ScriptSummary& script : analysis.scripts)
        scripts.push_back(encodeScriptSummary(script));
    return {{"lints", std::move(lints)}, {"scriptSummary", std::move(scripts)}};
}

}  // namespace orb::unitview::ipc
