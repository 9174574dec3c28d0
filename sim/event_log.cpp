#include "sim/event_log.h"

#include <algorithm>
#include <utility>

namespace orb::sim {

void EventLog::add(Event event) {
    const std::size_t kind = event.detail.index();
    seen_.set(kind);
    if (!keeps_) return;
    auto& own = kept_[kind];
    if (keptCount_ == kMaxEvents) {
        ++dropped_;
        auto& fullest = *std::ranges::max_element(
            kept_, {}, [](const std::vector<Numbered>& kept) { return kept.size(); });
        // With one less it would be this kind's turn to give way to the other.
        if (fullest.size() <= own.size() + 1) return;
        fullest.pop_back();
        --keptCount_;
    }
    own.push_back({++lastNumber_, std::move(event)});
    ++keptCount_;
}

std::vector<Event> EventLog::events() const {
    std::vector<const Numbered*> order;
    order.reserve(keptCount_);
    for (const auto& kept : kept_)
        for (const Numbered& one : kept) order.push_back(&one);
    std::ranges::sort(order, {}, [](const Numbered* one) { return one->number; });
    std::vector<Event> events;
    events.reserve(order.size());
    for (const Numbered* const one : order) events.push_back(one->event);
    return events;
}

void EventLog::clear() {
    for (auto& kept : kept_) kept.clear();
    keptCount_ = 0;
    dropped_ = 0;
    seen_.reset();
}

}  // namespace orb::sim
