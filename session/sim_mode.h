#pragma once

#include <cstdint>

namespace orb::unitview {

/// What the preview stands the unit on.
enum class SimMode : std::uint8_t { still = 0, ground = 1, water = 2 };

}  // namespace orb::unitview
