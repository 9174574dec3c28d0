#pragma once

#include <optional>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "sim/events.h"

/// What happened on a map.
namespace orb::unitview::ipc {

nlohmann::json encodeEvent(const sim::Event& event);

/// The place of a kind's word among the kinds.
std::optional<std::size_t> eventKindOfWord(std::string_view word);

}  // namespace orb::unitview::ipc
