#pragma once

#include <cstdint>

#include "io/formats/tnt.h"

namespace orb::bench {

/// The same numbers in every run.
class Noise {
public:
    explicit Noise(std::uint64_t seed = 1) : state_(seed) {}

    std::uint32_t below(std::uint32_t end) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::uint32_t>((state_ >> 33) % end);
    }

private:
    std::uint64_t state_;
};

/// A map of so many cells a side with hills, lakes and slopes that have to be walked round; a good
/// tenth of it is too steep for most, and nearly all the rest connected.
io::TntFile roughGround(std::uint32_t side);

}  // namespace orb::bench
