#pragma once

#include <cstdint>

#include "sim/numbers/tick.h"

namespace orb::sim {

/// What a random number is for: numbers for one purpose tell nothing of those for another.
enum class RandomPurpose : std::uint32_t { script, wind, spray, decay, fire, spark, burn };

/// Names one random number. There is no generator whose state depends on who asked before: the same
/// key gives the same number on every machine, in any order and on any thread.
struct RandomKey {
    /// Of the world.
    std::uint64_t seed = 0;
    /// The unit or other thing that asks.
    std::uint32_t id = 0;
    Tick tick = 0;
    RandomPurpose purpose = RandomPurpose::script;
    /// How many the same thing has asked for in this tick for this purpose.
    std::uint32_t count = 0;
};

/// 64 bits, evenly spread.
constexpr std::uint64_t randomBits(const RandomKey& key) {
    // SplitMix64's mixer, once for each part.
    const auto mixed = [](std::uint64_t value) {
        value += 0x9E3779B97F4A7C15;
        value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
        value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
        return value ^ (value >> 31);
    };
    const auto pair = [](std::uint32_t high, std::uint32_t low) {
        return (std::uint64_t{high} << 32) | low;
    };
    const std::uint64_t who =
        mixed(mixed(key.seed) ^ pair(key.id, static_cast<std::uint32_t>(key.tick)));
    return mixed(who ^ pair(static_cast<std::uint32_t>(key.purpose), key.count));
}

/// From `low` to `high`, both included; `low` when they are the wrong way round. That some values
/// come a little more often than others is beyond notice: one part in 2^32.
constexpr std::int32_t randomBetween(const RandomKey& key, std::int32_t low, std::int32_t high) {
    if (high <= low) return low;
    const auto count = static_cast<std::uint64_t>(std::int64_t{high} - low) + 1;
    const std::uint64_t share = (randomBits(key) >> 32) * count >> 32;
    return static_cast<std::int32_t>(low + static_cast<std::int64_t>(share));
}

}  // namespace orb::sim
