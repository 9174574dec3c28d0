#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orb::unitview {

/// Hashes the numbers of a cell in a grid.
struct CellHash {
    template <std::size_t Parts>
    std::size_t operator()(const std::array<std::int64_t, Parts>& cell) const {
        std::uint64_t hash = 0;
        for (const std::int64_t part : cell)
            hash = (hash ^ static_cast<std::uint64_t>(part)) * 0x9E3779B97F4A7C15U;
        return static_cast<std::size_t>(hash ^ hash >> 32);
    }
};

}  // namespace orb::unitview
