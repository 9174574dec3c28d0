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

}  // namespace orb::sim::rules
