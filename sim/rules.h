#pragma once

#include <cstdint>

/// How the game behaves where no document of its own tells: one line each, so that it is easy to
/// correct. Engineering limits stand beside their use instead.
namespace orb::sim::rules {

/// Pixels/s². What nine in ten descriptions of maps say; taken when one says nothing.
inline constexpr float kGravity = 112;
/// Metal of a cell without a deposit. What most descriptions say.
inline constexpr std::int32_t kSurfaceMetal = 3;
/// Wind limits. What most descriptions say.
inline constexpr std::int32_t kLeastWind = 0;
inline constexpr std::int32_t kMostWind = 5'000;

/// A unit or movement class stands on a slope when the largest difference of the four corner
/// heights of each of its cells, in pixels, is no more than this. Keys use 10 to 32, and 255 for no
/// limit; a class without the key climbs everything, which known classes count on.
inline constexpr std::int32_t kNoLimit = 255;
/// A definition that says neither how deep nor how shallow its unit may stand, and not that it
/// floats, means dry land.
inline constexpr std::int32_t kDryLandDepth = 0;

/// Pixels a tick of a weapon whose definition gives none, so that what it fires leaves the muzzle.
inline constexpr std::int32_t kLeastShotSpeed = 1;
/// A shot without a lifetime that may fly beyond its range, or has to turn on its way, lives so
/// many times as long as a straight way of its range takes. Less, and guided shots burn out on
/// detours.
inline constexpr std::int32_t kGuidedLifeShare = 2;
/// Seconds that what is thrown or dropped may fall without reaching the ground.
inline constexpr std::int32_t kMostFallSeconds = 120;
/// Steps of 1/65536 turn within which a weapon without `tolerance` counts as aimed: some 5 degrees.
/// Half of the known weapons give one, from 200 to 37,152.
inline constexpr std::int32_t kAimTolerance = 1'000;

}  // namespace orb::sim::rules
