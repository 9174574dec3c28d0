#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
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

/// Instructions of all scripts together; scripts may share code, so a file's size alone does not
/// bound them.
inline constexpr std::size_t kMaxAnalysedInstructions = 4'194'304;

/// Summarises the scripts of a file, in its order. A script's code ends where the next one begins.
/// Words that are no instruction are passed over, as the interpreter does: old compilers left texts
/// behind a script's end. Throws std::runtime_error "script entry point outside the code",
/// "instruction runs past the end of the code" or "script code too large to analyse".
std::vector<ScriptSummary> summariseScripts(const io::CobFile& cob);

}  // namespace orb::unitview
