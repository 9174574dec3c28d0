#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bos/compiler.h"
#include "diagnostics/cob_lints.h"
#include "session/unit_view_session.h"

namespace orb::unitview {

/// A source compiled, and what is to be said about the script that came of it.
struct ScriptCompilation {
    bos::BosCompilation compilation;
    /// Empty without code, or when the code cannot be analysed.
    CobAnalysis analysis;
};

/// Compiles a source for the loaded unit; without a unit, the script is linted for its own list of
/// pieces. Without a path the source counts as that of the loaded unit.
ScriptCompilation compileScript(const UnitViewSession& session, std::string_view source,
                                const std::optional<std::string>& path,
                                const bos::BosOptionChoices& choices);

}  // namespace orb::unitview
