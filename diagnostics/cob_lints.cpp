#include "diagnostics/cob_lints.h"

#include <algorithm>
#include <array>
#include <optional>

#include <fmt/format.h>

#include "cob/known_scripts.h"
#include "diagnostics/start_cycles.h"

namespace orb::unitview {
namespace {

using io::CobFile;

bool isEntry(std::string_view scriptName) {
    const KnownScript* const known = knownScript(scriptName);
    return known && known->isEntry;
}

bool isUnused(const ScriptSummary& script, std::uint32_t index) {
    const auto isItself = [&](std::uint32_t other) { return other == index; };
    return std::ranges::all_of(script.calledBy, isItself) &&
           std::ranges::all_of(script.startedBy, isItself) && !isEntry(script.name);
}

std::optional<std::int32_t> firstBadPiece(const ScriptSummary& script, std::size_t pieceCount) {
    const auto isBad = [&](std::int32_t piece) {
        return piece < 0 || static_cast<std::size_t>(piece) >= pieceCount;
    };
    const auto found = std::ranges::find_if(script.pieces, isBad);
    return found == script.pieces.end() ? std::nullopt : std::optional(*found);
}

void lintUnit(const CobFile& cob, std::vector<Lint>& lints) {
    if (cob.scripts.empty()) return;
    if (cob.findScript(kCreateScript) < 0)
        lints.push_back({LintSeverity::warning, "missing-create",
                         "Unit has no Create script — it will not initialise its pieces on spawn.",
                         -1, "create"});
    if (cob.findScript(kKilledScript) < 0)
        lints.push_back({LintSeverity::warning, "missing-killed",
                         "Unit has no Killed script — no death animation / wreck handling.", -1,
                         "killed"});
}

void lintScripts(const std::vector<ScriptSummary>& scripts, std::size_t pieceCount,
                 std::vector<Lint>& lints) {
    const std::vector<bool> startsItself = findStartCycles(scripts);
    for (std::uint32_t i = 0; i < scripts.size(); ++i) {
        const ScriptSummary& script = scripts[i];
        const auto add = [&](LintSeverity severity, std::string_view code,
                             std::string_view finding) {
            lints.push_back({severity, code, fmt::format("Script '{}' {}", script.name, finding),
                             static_cast<std::int32_t>(i), script.name});
        };
        if (isUnused(script, i))
            add(LintSeverity::warning, "unused-script",
                "is never called or started and is not a known engine entry point.");
        if (startsItself[i])
            add(LintSeverity::warning, "recursive-start",
                "can START itself (directly or via a cycle) — this spawns threads without bound.");
        if (script.loops && !script.sleeps && !script.waitsForTurn && !script.waitsForMove)
            add(LintSeverity::warning, "loop-no-sleep",
                "loops with no sleep/wait — it will busy-spin the COB thread.");
        if (const auto piece = firstBadPiece(script, pieceCount))
            add(LintSeverity::error, "out-of-range-piece",
                fmt::format("references piece index {} but the model has {} piece(s).", *piece,
                            pieceCount));
    }
}

}  // namespace

std::string_view severityWord(LintSeverity severity) {
    static constexpr std::array<std::string_view, 3> kWords = {"error", "warning", "info"};
    return kWords.at(static_cast<std::size_t>(severity));
}

CobAnalysis analyseCob(const CobFile& cob, std::size_t modelPieceCount) {
    CobAnalysis analysis;
    analysis.scripts = summariseScripts(cob);
    lintUnit(cob, analysis.lints);
    lintScripts(analysis.scripts, modelPieceCount, analysis.lints);
    return analysis;
}

}  // namespace orb::unitview
