#pragma once

#include <nlohmann/json_fwd.hpp>

#include "session/model_edits.h"
#include "session/model_report.h"

/// JSON forms of a model as an editor shows it.
namespace orb::unitview::ipc {

/// "undoDepth", "redoDepth" and "isDirty", as members of `data`.
void addEditState(nlohmann::json& data, const UnitViewSession& session);

/// All of the "model-unit-summary" payload but what the history tells.
nlohmann::json encodeSummary(const ModelSummary& summary);

/// The "model-piece" payload.
nlohmann::json encodePiece(const PieceReport& report);

/// The "model-duplicate-faces" payload.
nlohmann::json encodeDuplicates(const std::vector<PieceDuplicates>& pieces);

}  // namespace orb::unitview::ipc
