#pragma once

#include <cstdint>

#include "sim/rules.h"

namespace orb::sim {

/// What a map's description says of its world, with the game's usual values where it does not.
struct Conditions {
    /// Pixels/s².
    float gravity = rules::kGravity;
    std::int32_t minWind = rules::kLeastWind;
    std::int32_t maxWind = rules::kMostWind;
    std::int32_t tidalStrength = 0;
    std::int32_t surfaceMetal = rules::kSurfaceMetal;
    bool isLavaWorld = false;
    /// Hills hide what lies behind them.
    bool hillsHide = true;
};

}  // namespace orb::sim
