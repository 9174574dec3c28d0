#include "server/progress_events.h"

#include <nlohmann/json.hpp>

namespace orb::unitview::ipc {

io::Progress progressEvents(std::uint64_t forSeq,
                            std::function<void(const nlohmann::json& payload)> send,
                            ProgressClock now) {
    const auto firstEvent = now() + kProgressDelay;
    return io::Progress([forSeq, send = std::move(send), now = std::move(now), next = firstEvent](
                            std::string_view label, std::size_t done, std::size_t total) mutable {
        const auto time = now();
        if (time < next) return;
        next = time + kProgressInterval;
        send({{"forSeq", forSeq}, {"label", label}, {"done", done}, {"total", total}});
    });
}

}  // namespace orb::unitview::ipc
