#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/script_summary.h"

namespace orb::unitview {

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

/// Summarises every script of a file and lints it for a model of so many pieces. Throws what
/// summariseScripts raises.
CobAnalysis analyseCob(const io::CobFile& cob, std::size_t modelPieceCount);

}  // namespace orb::unitview
