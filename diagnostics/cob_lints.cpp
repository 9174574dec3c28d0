#include "diagnostics/cob_lints.h"

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <unordered_set>

#include <fmt/format.h>

#include "cob/opcodes.h"
#include "diagnostics/start_cycles.h"
#include "io/ascii.h"

namespace orb::unitview {
namespace {

using io::CobFile;

/// Scripts that the game itself starts, lower-case.
const std::unordered_set<std::string_view>& engineEntries() {
    static const std::unordered_set<std::string_view> kNames = {"create",
                                                                "killed",
                                                                "activate",
                                                                "deactivate",
                                                                "aimprimary",
                                                                "aimsecondary",
                                                                "aimtertiary",
                                                                "aimfromprimary",
                                                                "aimfromsecondary",
                                                                "aimfromtertiary",
                                                                "fireprimary",
                                                                "firesecondary",
                                                                "firetertiary",
                                                                "queryprimary",
                                                                "querysecondary",
                                                                "querytertiary",
                                                                "startmoving",
                                                                "stopmoving",
                                                                "setspeed",
                                                                "setdirection",
                                                                "setmaxreloadtime",
                                                                "rockunit",
                                                                "startbuilding",
                                                                "stopbuilding",
                                                                "hitbyweapon",
                                                                "moverate1",
                                                                "moverate2",
                                                                "moverate3",
                                                                "smokeunit",
                                                                "requeststate",
                                                                "targetcleared",
                                                                "sweetspot",
                                                                "sweetspotprimary",
                                                                "go",
                                                                "stop",
                                                                "begintransport",
                                                                "endtransport",
                                                                "transport",
                                                                "transportpickup",
                                                                "transportdrop",
                                                                "beingtransported",
                                                                "killunit",
                                                                "restorenow",
                                                                "restoreafterdelay",
                                                                "deathfunction",
                                                                "querynanopiece",
                                                                "querybuildinfo"};
    return kNames;
}

/// Where a script's code ends: at the next entry point, or with the code.
std::size_t endOfScript(const std::vector<std::uint32_t>& sortedEntries, std::uint32_t entry,
                        std::size_t codeSize) {
    const auto next = std::ranges::upper_bound(sortedEntries, entry);
    return next == sortedEntries.end() ? codeSize : std::min<std::size_t>(*next, codeSize);
}

/// One instruction in the code.
struct Instruction {
    const OpcodeRow& row;
    std::size_t pc;
    const std::uint32_t* operands;
};

void noteOperation(ScriptSummary& summary, Op op) {
    struct Flag {
        Op op;
        bool ScriptSummary::*member;
    };
    static constexpr std::array<Flag, 7> kFlags = {
        {{Op::sleep, &ScriptSummary::sleeps},
         {Op::waitTurn, &ScriptSummary::waitsForTurn},
         {Op::waitMove, &ScriptSummary::waitsForMove},
         {Op::signal, &ScriptSummary::signals},
         {Op::setSignalMask, &ScriptSummary::setsSignalMask},
         {Op::emitSfx, &ScriptSummary::emitsSfx},
         {Op::explode, &ScriptSummary::explodes}}};
    for (const Flag& flag : kFlags)
        if (flag.op == op) summary.*flag.member = true;
}

void noteOperands(ScriptSummary& summary, const Instruction& instruction, std::size_t scriptCount) {
    for (std::size_t i = 0; i < instruction.row.operandCount(); ++i) {
        const std::uint32_t word = instruction.operands[i];
        switch (instruction.row.operands.at(i)) {
            case Operand::piece:
                summary.pieces.push_back(static_cast<std::int32_t>(word));
                break;
            case Operand::script:
                if (word >= scriptCount) break;
                (instruction.row.flow == Flow::call ? summary.calls : summary.starts)
                    .push_back(word);
                break;
            case Operand::target:
                if (word < instruction.pc) summary.loops = true;
                break;
            default:
                break;
        }
    }
}

class Scanner {
public:
    explicit Scanner(const CobFile& cob) : cob_(cob) {
        for (const CobFile::Script& script : cob.scripts) entries_.push_back(script.entry);
        std::ranges::sort(entries_);
    }

    ScriptSummary scan(const CobFile::Script& script) {
        const auto& code = cob_.code;
        if (script.entry > code.size())
            throw std::runtime_error("script entry point outside the code");
        ScriptSummary summary;
        summary.name = script.name;
        const std::size_t end = endOfScript(entries_, script.entry, code.size());
        for (std::size_t pc = script.entry; pc < end;) {
            if (budget_-- == 0) throw std::runtime_error("script code too large to analyse");
            const OpcodeRow& row = opcodeRow(opOf(code[pc]));
            if (row.length() > code.size() - pc)
                throw std::runtime_error("instruction runs past the end of the code");
            if (row.op != Op::unknown) {
                ++summary.instructionCount;
                noteOperation(summary, row.op);
                noteOperands(summary, {row, pc, code.data() + pc + 1}, cob_.scripts.size());
            }
            pc += row.length();
        }
        return summary;
    }

private:
    const CobFile& cob_;
    std::vector<std::uint32_t> entries_;
    std::size_t budget_ = kMaxAnalysedInstructions;
};

void addReverseEdges(std::vector<ScriptSummary>& scripts) {
    for (std::size_t i = 0; i < scripts.size(); ++i) {
        const auto caller = static_cast<std::uint32_t>(i);
        for (const std::uint32_t callee : scripts[i].calls)
            scripts[callee].calledBy.push_back(caller);
        for (const std::uint32_t started : scripts[i].starts)
            scripts[started].startedBy.push_back(caller);
    }
}

bool isUnused(const ScriptSummary& script, std::uint32_t index) {
    const auto isItself = [&](std::uint32_t other) { return other == index; };
    return std::ranges::all_of(script.calledBy, isItself) &&
           std::ranges::all_of(script.startedBy, isItself) &&
           !engineEntries().contains(io::lowerCased(script.name));
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
    if (cob.findScript("Create") < 0)
        lints.push_back({LintSeverity::warning, "missing-create",
                         "Unit has no Create script — it will not initialise its pieces on spawn.",
                         -1, "create"});
    if (cob.findScript("Killed") < 0)
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
    Scanner scanner(cob);
    for (const CobFile::Script& script : cob.scripts)
        analysis.scripts.push_back(scanner.scan(script));
    addReverseEdges(analysis.scripts);
    lintUnit(cob, analysis.lints);
    lintScripts(analysis.scripts, modelPieceCount, analysis.lints);
    return analysis;
}

}  // namespace orb::unitview
