#include "session/script_pause.h"

#include <algorithm>

#include "session/request_error.h"
#include "session/unit_bos.h"

namespace orb::unitview {
namespace {

CobLineMap readUnitLines(const UnitViewSession& session) {
    try {
        UnitBos bos = readUnitBos(session, std::nullopt);
        if (bos.lineSpans) return CobLineMap(std::move(*bos.lineSpans), std::move(bos.files));
    } catch (const RequestError&) {
        // Whoever asks for the source is told why there is none.
    }
    return {};
}

/// None for a temporary script.
const CobLineMap& unitLines(UnitViewSession& session) {
    static const CobLineMap kNone;
    CobSession& cob = session.cob();
    if (!cob.runsUnitScript()) return kNone;
    if (!cob.unitLines) cob.unitLines = readUnitLines(session);
    return *cob.unitLines;
}

void findLine(UnitViewSession& session, ScriptPause& pause) {
    const CobLineMap* lines = &session.cob().setLines();
    if (lines->at(pause.offset).line == 0) lines = &unitLines(session);
    const CobSourceLine at = lines->at(pause.offset);
    pause.line = at.line;
    if (const std::string* const file = lines->fileOf(at)) pause.file = *file;
}

}  // namespace

std::optional<ScriptPause> findPause(UnitViewSession& session) {
    const CobDebugger& debugger = session.cob().debugger();
    if (!debugger.isPaused()) return std::nullopt;
    const CobInstance& instance = debugger.instance();
    ScriptPause pause;
    pause.offset = debugger.pausedOffset();
    const auto stands = std::ranges::find_if(instance.threads, [&](const auto& thread) {
        return thread->state == CobThreadState::runnable && thread->pc == pause.offset;
    });
    // The pause outlives its thread, of which there is nothing to tell then.
    if (stands == instance.threads.end()) return pause;
    pause.thread = (*stands)->id;
    pause.script = instance.scriptNameAt(pause.offset);
    findLine(session, pause);
    return pause;
}

const CobLineMap& knownLines(UnitViewSession& session) {
    const CobLineMap& set = session.cob().setLines();
    return set.spans().empty() ? unitLines(session) : set;
}

}  // namespace orb::unitview
