#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sim/numbers/fixed.h"
#include "sim/numbers/tick.h"

namespace orb::sim {

struct WeaponType;

/// A footprint has 1 to this many cells a side.
inline constexpr std::int32_t kMaxFootprint = 32;

/// What can follow each other where one is destroyed: a wreck, a heap of it, and so on. Known
/// chains have three at most.
inline constexpr std::int32_t kMaxFollowers = 8;

/// How something burns that can catch fire.
struct Burning {
    bool isFlammable = false;
    /// For how long, at least and at most.
    Tick least = 0;
    Tick most = 0;
    /// How often sparks fly from it, and the chance in percent that one sets a neighbour on fire.
    Tick sparkEvery = 1;
    std::int32_t spreadPercent = 0;
    /// What hurts who stands by, as often as that weapon fires; null for nothing.
    std::shared_ptr<const WeaponType> weapon = {};
    /// Index of the type that is there when it has burnt down, -1 for none.
    std::int32_t follower = -1;
};

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
    /// Builders on patrol take it, if it can be reclaimed at all.
    bool isForPatrols = true;
    /// Hit points; 0 for what cannot be destroyed.
    Amount health = {};
    /// Index of the type that is there when one of these is destroyed, -1 for none.
    std::int32_t follower = -1;
    /// The same where one was reclaimed.
    std::int32_t reclaimedFollower = -1;
    Burning burning = {};
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

    bool reclaimsItself() const { return isReclaimable && isForPatrols; }
};

}  // namespace orb::sim
