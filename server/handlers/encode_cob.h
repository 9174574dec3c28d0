#pragma once

#include <nlohmann/json_fwd.hpp>

#include "session/unit_view_session.h"

/// JSON forms of a running script.
namespace orb::unitview::ipc {

/// The pose of every model piece, in model units and radians.
nlohmann::json encodePieces(const CobInstance& instance,
                            const std::vector<std::string>& modelPieces);

/// The "piece-transforms" event's payload: the pose of every model piece, in model units and
/// radians.
nlohmann::json encodePieceTransforms(const CobInstance& instance,
                                     const std::vector<std::string>& modelPieces);

/// The member "report": what the event says, and whether and where the script is paused. For
/// a unit with a script.
nlohmann::json encodeReport(UnitViewSession& session);

/// The "cob-inspected" payload, with at most `stackLimit` of each thread's newest stack words.
nlohmann::json encodeInspection(CobSession& cob, std::uint64_t stackLimit);

/// The newest `maxEntries` entries of the trace, oldest first. With `since`, only entries behind
/// that number, and each with its own.
nlohmann::json encodeTrace(const CobInstance& instance, std::size_t maxEntries,
                           std::optional<std::uint64_t> since);

}  // namespace orb::unitview::ipc
