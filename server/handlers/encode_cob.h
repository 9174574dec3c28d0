#pragma once

#include <nlohmann/json_fwd.hpp>

#include "session/cob_session.h"

/// JSON forms of a running script.
namespace orb::unitview::ipc {

/// The "piece-transforms" event's payload: the pose of every model piece, in model units and
/// radians.
nlohmann::json encodePieceTransforms(const CobInstance& instance,
                                     const std::vector<std::string>& modelPieces);

/// The "cob-inspected" payload.
nlohmann::json encodeInspection(const CobInstance& instance, const CobDebugger& debugger);

/// The newest `maxEntries` entries of the trace, oldest first.
nlohmann::json encodeTrace(const CobInstance& instance, std::size_t maxEntries);

}  // namespace orb::unitview::ipc
