#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace orb::unitview {

/// Hashes a point, or the numbers of a cell in a grid. No coordinate may be -0.
struct CellHash {
    std::size_t operator()(const std::array<double, 3>& cell) const {
        std::uint64_t hash = 0;
        for (const double part : cell)
            hash = (hash ^ std::bit_cast<std::uint64_t>(part)) * 0x9E3779B97F4A7C15U;
        return static_cast<std::size_t>(hash ^ hash >> 32);
    }
};

}  // namespace orb::unitview
