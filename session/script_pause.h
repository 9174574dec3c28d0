#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "session/unit_view_session.h"

namespace orb::unitview {

/// Where the loaded unit's script is paused.
struct ScriptPause {
    std::uint32_t offset = 0;
    /// Id of the thread that goes on first; none when every thread was removed meanwhile.
    std::optional<std::uint32_t> thread;
    /// Empty outside all scripts; borrowed from the instance.
    std::string_view script;
    /// Line of the source, or of the included `file`; 0 when nobody knows it.
    std::uint32_t line = 0;
    std::optional<std::string> file;
};

/// None while the script runs. The line is that of the spans set with the breakpoints; what they
/// leave open is looked up in the source that `readUnitBos` gives for the unit's own script, which
/// is read at the first such pause and kept.
std::optional<ScriptPause> findPause(UnitViewSession& session);

/// What is known of the running script's lines: those set with the breakpoints, else of the unit's
/// own script what `readUnitBos` gives.
const CobLineMap& knownLines(UnitViewSession& session);

}  // namespace orb::unitview
