#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "server/payload.h"
#include "session/map_play.h"

/// Orders to units on a map, as map-move and map-spawn have them.
namespace orb::unitview::ipc {

/// The members of an order; nothing is checked but their types.
struct OrderMembers {
    std::string word;
    sim::OrderRequest request;
    /// What is to be built.
    std::string product;
    std::optional<std::int64_t> slot;
    std::optional<double> x, z;
};
OrderMembers decodeOrderMembers(const Payload& payload);

/// The order that they make. Throws RequestError "unknown order: …", "move needs x and z", "guard
/// needs a target", "build needs a unit name", "slot must be 0 to 2", "script name is required" or
/// "not implemented: …".
MapOrder orderOfMembers(OrderMembers members);

/// [{`unitId`, `reason`}] for those who do not take it.
nlohmann::json encodeRefused(std::span<const std::int64_t> unitIds,
                             std::span<const sim::OrderRefusal> answers,
                             const sim::OrderRequest& request);

}  // namespace orb::unitview::ipc
