#pragma once

#include <vector>

#include "diagnostics/script_summary.h"

namespace orb::unitview {

/// For each script, whether it can reach itself through start-script alone. Takes time linear in
/// scripts and edges and no recursion.
std::vector<bool> findStartCycles(const std::vector<ScriptSummary>& scripts);

}  // namespace orb::unitview
