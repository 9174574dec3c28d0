#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/sight/unit_sight.h"

namespace orb::sim {

/// Tiles side by side in a row.
struct TileRun {
    std::uint16_t x = 0;
    std::uint16_t z = 0;
    std::uint16_t length = 0;

    bool operator==(const TileRun&) const = default;
};

/// The ground as it hides what lies behind it: how high each tile's middle is, or the water there.
struct TileHeights {
    std::int32_t width = 0;
    std::int32_t depth = 0;
    /// Rows from the north-west.
    std::vector<std::uint8_t> heights;
    /// Otherwise nothing hides anything.
    bool hides = true;

    std::int32_t at(std::int32_t x, std::int32_t z) const {
        return heights[static_cast<std::size_t>(z) * static_cast<std::size_t>(width) +
                       static_cast<std::size_t>(x)];
    }
};

/// A worker's own, used again and again.
struct SightScratch {
    std::vector<std::int32_t> horizon;
    std::vector<std::uint8_t> isSeen;
};

/// Lists the tiles that a look finds, row by row from the north: those within its distance, middle
/// to middle, over which from the eye's height nothing nearer rises. Returns how many it looked at.
std::uint64_t findSeen(const TileHeights& ground, const Look& look, SightScratch& scratch,
                       std::vector<TileRun>& seen);

}  // namespace orb::sim
