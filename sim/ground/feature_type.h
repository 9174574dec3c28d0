#pragma once

#include <cstdint>
#include <string>

#include "sim/numbers/fixed.h"

namespace orb::sim {

/// A footprint has 1 to this many cells a side.
inline constexpr std::int32_t kMaxFootprint = 32;

/// What can follow each other where one is destroyed: a wreck, a heap of it, and so on. Known
/// chains have three at most.
inline constexpr std::int32_t kMaxFollowers = 8;

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
    /// Hit points; 0 for what cannot be destroyed.
    Amount health = {};
    /// Index of the type that is there when one of these is destroyed, -1 for none.
    std::int32_t follower = -1;
    /// The same where one was reclaimed.
    std::int32_t reclaimedFollower = -1;
    /// A vent that some buildings must stand on.
    bool isGeothermal = false;
    /// A deposit: each of its cells has its `metal` for extractors.
    bool isDeposit = false;
    float metal = 0;
    float energy = 0;
    /// What it looks like: a model, or a picture of an animation file.
    std::string object = {};
    std::string pictureFile = {};
    std::string pictureSequence = {};
};

}  // namespace orb::sim
