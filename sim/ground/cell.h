#pragma once

#include <cstdint>

#include "sim/numbers/fixed.h"

namespace orb::sim {

/// The side of a cell in map pixels: what the ground, footprints and occupancy are counted in.
inline constexpr std::int32_t kCellPixels = 16;

/// A place on the ground in map pixels, x to the east and z to the south.
struct GroundPoint {
    Fixed x;
    Fixed z;
    bool operator==(const GroundPoint&) const = default;
};

struct Cell {
    std::int32_t x = 0;
    std::int32_t z = 0;
    bool operator==(const Cell&) const = default;
};

/// Cells side by side; `corner` is the north-western one.
struct CellRect {
    Cell corner;
    std::int32_t width = 0;
    std::int32_t depth = 0;
    bool operator==(const CellRect&) const = default;

    /// The middle, which lies on a cell's corner or its centre.
    GroundPoint center() const {
        constexpr std::int32_t kHalfCell = kCellPixels / 2;
        return {Fixed::fromInt((2 * corner.x + width) * kHalfCell),
                Fixed::fromInt((2 * corner.z + depth) * kHalfCell)};
    }
};

/// The cells that something of `width` by `depth` cells stands on when its centre is nearest to
/// `center`.
inline CellRect footprintAt(GroundPoint center, std::int32_t width, std::int32_t depth) {
    const auto corner = [](Fixed middle, std::int32_t cells) {
        const std::int64_t shift = std::int64_t{kCellPixels / 2} * (cells - 1) * Fixed::kOne;
        return static_cast<std::int32_t>((middle.raw() - shift) >> (Fixed::kFractionBits + 4));
    };
    return {{corner(center.x, width), corner(center.z, depth)}, width, depth};
}

}  // namespace orb::sim
