#include "cob_input.h"
#include "diagnostics/cob_lints.h"
#include "diagnostics/start_cycles.h"

// What scripts do and what is wrong with them.

namespace orb::fuzz {

void run(io::ByteView input) {
    Choices choices(input);
    const std::size_t modelPieces = choices.byte();
    unitview::CobAnalysis analysis;
    io::CobFile cob;
    if (!accepts([&] {
            cob = cobFrom(choices.rest());
            analysis = unitview::analyseCob(cob, modelPieces);
        }))
        return;
    const std::size_t count = cob.scripts.size();
    require(analysis.scripts.size() == count, "every script has a summary");
    std::size_t calls = 0, calledBy = 0, starts = 0, startedBy = 0;
    for (const unitview::ScriptSummary& script : analysis.scripts) {
        for (const std::uint32_t callee : script.calls) require(callee < count, "a callee exists");
        for (const std::uint32_t caller : script.calledBy)
            require(caller < count, "a caller exists");
        calls += script.calls.size();
        calledBy += script.calledBy.size();
        starts += script.starts.size();
        startedBy += script.startedBy.size();
    }
    require(calls == calledBy && starts == startedBy, "every edge has two ends");
    for (const unitview::Lint& lint : analysis.lints)
        require(lint.scriptIndex >= -1 && lint.scriptIndex < static_cast<int>(count) &&
                    !lint.message.empty() && !lint.code.empty(),
                "a lint belongs to a script");
    require(unitview::findStartCycles(analysis.scripts).size() == count, "all are looked at");
}

}  // namespace orb::fuzz
