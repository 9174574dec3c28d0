#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include <nlohmann/json_fwd.hpp>

#include "io/progress.h"

namespace orb::unitview::ipc {

/// Before a request has taken so long nobody is told of its progress, and then not more often.
inline constexpr std::chrono::milliseconds kProgressDelay{200};
inline constexpr std::chrono::milliseconds kProgressInterval{100};

using ProgressClock = std::function<std::chrono::steady_clock::time_point()>;

/// Makes of a request's progress the payloads of "progress" events: {"forSeq", "label", "done",
/// "total"}. The time counts from this call.
io::Progress progressEvents(std::uint64_t forSeq,
                            std::function<void(const nlohmann::json& payload)> send,
                            ProgressClock now = std::chrono::steady_clock::now);

}  // namespace orb::unitview::ipc
