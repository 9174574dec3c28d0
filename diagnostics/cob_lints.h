#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/formats/cob_file.h"

namespace orb::unitview {

/// What a script does, from its code alone.
struct ScriptSummary {
    std::string name;
    std::size_t instructionCount = 0;
    /// Indices of the scripts that call-script and start-script name, in order of appearance,
    /// duplicates kept; indices that no script has are left out.
    std::vector<std::uint32_t> calls, starts;
    /// The same edges from the other end.
    std::vector<std::uint32_t> calledBy, startedBy;
    /// Every piece operand in order of appearance.
    std::vector<std::int32_t> pieces;
    bool sleeps = false;
    bool waitsForTurn = false, waitsForMove = false;
    bool signals = false, setsSignalMask = false;
    bool emitsSfx = false, explodes = false;
    /// Jumps to an instruction before the jump.
    bool loops = false;
};

enum class LintSeverity : std::int32_t { error = 0, warning = 1, info = 2 };

/// "error", "warning" or "info".
std::string_view severityWord(LintSeverity severity);

/// A mistake that the game would not report.
struct Lint {
    LintSeverity severity = LintSeverity::warning;
    std::string_view code;
    std::string message;
    /// -1: the unit as a whole.
    std::int32_t scriptIndex = -1;
    /// What a suppression names: the script, or "create" and "killed" for the unit's own lints.
    std::string target;
};

struct CobAnalysis {
    /// In the order of the file's scripts.
    std::vector<ScriptSummary> scripts;
    std::vector<Lint> lints;
};

/// Instructions of all scripts together; scripts may share code, so a file's size alone does not
/// bound them.
inline constexpr std::size_t kMaxAnalysedInstructions = 4'194'304;

/// Summarises every script of a file and lints it for a model of so many pieces. A script's code
/// ends where the next one begins. Words that are no instruction are passed over, as the
/// interpreter does: old compilers left texts behind a script's end. Throws std::runtime_error
/// "script entry point outside the code", "instruction runs past the end of the code" or "script
/// code too large to analyse".
CobAnalysis analyseCob(const io::CobFile& cob, std::size_t modelPieceCount);

}  // namespace orb::unitview
