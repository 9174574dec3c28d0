#pragma once

#include <cstdint>

#include "sim/numbers/fixed.h"

namespace orb::sim {

/// The side of a tile in map pixels: what is seen is counted in these.
inline constexpr std::int32_t kTilePixels = 32;
/// The farthest that anybody sees.
inline constexpr std::int32_t kMaxSightTiles = 64;

/// What a unit's type finds of others, and how it hides. Distances in map pixels, costs of energy a
/// second.
struct UnitSenses {
    std::int32_t radar = 0;
    std::int32_t sonar = 0;
    std::int32_t radarJam = 0;
    std::int32_t sonarJam = 0;
    /// No radar or sonar finds it.
    bool isStealthy = false;
    /// While it works, its player's weapons choose also what only radar has found.
    bool aimsByRadar = false;

    bool canCloak = false;
    bool beginsCloaked = false;
    Amount cloakCost;
    Amount movingCloakCost;
    /// An enemy as near as that finds it in any case.
    Fixed uncloakDistance;

    /// Whether it sends out anything.
    bool emits() const {
        return radar > 0 || sonar > 0 || radarJam > 0 || sonarJam > 0 || aimsByRadar;
    }
};

}  // namespace orb::sim
