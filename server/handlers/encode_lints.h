#pragma once

#include <nlohmann/json_fwd.hpp>

#include "diagnostics/cob_lints.h"

/// JSON forms of what is found in scripts.
namespace orb::unitview::ipc {

/// {"lints", "scriptSummary"} of a file and a model of so many pieces; both are empty when the code
/// cannot be analysed. A lint's "scriptName" is what a suppression takes as its target.
nlohmann::json encodeAnalysis(const io::CobFile& cob, std::size_t modelPieceCount);

}  // namespace orb::unitview::ipc
