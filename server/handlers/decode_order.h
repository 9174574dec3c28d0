#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "server/handlers/members.h"
#include "session/map_play.h"

/// Orders to units on a map, as map-move and map-spawn have them.
namespace orb::unitview::ipc {

/// Ids that one request names at most; a map has 5,000 units.
inline constexpr std::size_t kMaxIds = 65'536;

/// Ids, each the first time that it is named; none without the member.
std::optional<std::vector<std::int64_t>> decodeIds(const Members& members, std::string_view key);

/// The player, from 1. Throws RequestError "player must be 1 to 10".
std::optional<std::int32_t> decodePlayer(const Members& members);

/// The members of an order; nothing is checked but their types.
struct OrderMembers {
    std::string word;
    sim::OrderRequest request;
    /// What is to be built.
    std::string product;
    std::optional<std::int64_t> slot;
    std::optional<double> x, z, value;
};
OrderMembers decodeOrderMembers(const Members& payload);

/// The order that they make; what an order of its kind does not take is left aside. Throws
/// RequestError "unknown order: …", "move needs x and z", "guard needs a target", "build needs a
/// unit name", "slot must be 0 to 2", "fireState needs a value", "value must be 0 to 2", "value
/// must be 0 or more", "script name is required".
MapOrder orderOfMembers(OrderMembers members);

/// [{`unitId`, `reason`}] for those who do not take it.
nlohmann::json encodeRefused(std::span<const std::int64_t> unitIds,
                             std::span<const sim::OrderAnswer> answers,
                             const sim::OrderRequest& request);

}  // namespace orb::unitview::ipc
