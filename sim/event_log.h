#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/events.h"

namespace orb::sim {

/// Events that are kept until somebody takes them; the others are counted.
inline constexpr std::size_t kMaxEvents = 4'096;

/// What happened since somebody last looked. No part of the state: nothing in the world reads it.
/// When it is full, the kind of which it holds most gives way to those of which it holds fewer, so
/// that floods of effects do not hide who was killed; of each kind the first stay.
class EventLog {
public:
    /// Whether events are kept; which kinds come is noted in any case.
    void keep(bool keeps) { keeps_ = keeps; }

    void add(Event event);

    /// Those that are kept, in the order in which they happened.
    std::vector<Event> events() const;
    std::size_t dropped() const { return dropped_; }

    /// Whether one of a kind came since `watchAnew`.
    bool hasSeen(std::size_t kind) const { return seen_.test(kind); }
    void watchAnew() { seen_.reset(); }

    void clear();

private:
    struct Numbered {
        std::uint64_t number = 0;
        Event event;
    };

    bool keeps_ = true;
    /// By kind.
    std::array<std::vector<Numbered>, kEventKinds> kept_;
    std::size_t keptCount_ = 0;
    std::uint64_t lastNumber_ = 0;
    std::size_t dropped_ = 0;
    std::bitset<kEventKinds> seen_;
};

}  // namespace orb::sim
