#pragma once

#include <cstdint>

namespace orb::sim {

/// A moment of the game or a length of time, counted in its ticks. A map can be played for two
/// years before this overflows.
using Tick = std::int32_t;

inline constexpr Tick kTicksPerSecond = 30;

}  // namespace orb::sim
