#pragma once

#include <cstdint>
#include <string>

namespace orb::sim {

/// A footprint has 1 to this many cells a side.
inline constexpr std::int32_t kMaxFootprint = 32;

/// What can lie on a map without being a unit: a tree, a rock, a deposit, a vent, a wreck.
struct FeatureType {
    std::string name = {};
    /// No definition was found; the rest are defaults then.
    bool isMissing = false;
    std::int32_t footprintX = 1;
    std::int32_t footprintZ = 1;
    /// In map pixels.
    std::int32_t height = 0;
    bool isBlocking = false;
    bool isReclaimable = false;
    /// A vent that some buildings must stand on.
    bool isGeothermal = false;
    float metal = 0;
    float energy = 0;
    /// What it looks like: a model, or a picture of an animation file.
    std::string object = {};
    std::string pictureFile = {};
    std::string pictureSequence = {};
};

}  // namespace orb::sim
