#pragma once

#include <cstdint>
#include <cstdlib>

#include "sim/ground/cell.h"

namespace orb::sim {

/// One axis of a line that goes from cell to cell.
struct LineAxis {
    /// From and to in steps of 1/65536 px.
    LineAxis(std::int64_t from, std::int64_t to)
        : cell(static_cast<std::int32_t>(from >> kCellBits)),
          last(static_cast<std::int32_t>(to >> kCellBits)),
          step(to < from ? -1 : 1),
          length(std::abs(to - from)) {
        const std::int64_t border = std::int64_t{step > 0 ? cell + 1 : cell} << kCellBits;
        toBorder = std::abs(border - from);
    }
    bool isThere() const { return cell == last; }
    void advance() {
        cell += step;
        toBorder += std::int64_t{1} << kCellBits;
    }

    static constexpr int kCellBits = Fixed::kFractionBits + 4;

    std::int32_t cell;
    std::int32_t last;
    std::int32_t step;
    std::int64_t length;
    /// From the line's beginning to the next border it crosses.
    std::int64_t toBorder = 0;
};

/// Calls `visit(cell)` for each cell that the north-western corner of a footprint comes through
/// while its middle goes straight from one place to the other, from the first on; both neighbours
/// where it goes through a corner of cells. Ends as soon as `visit` says false; whether it never
/// did.
template <typename Visit>
bool allCellsOnLine(std::int32_t width, std::int32_t depth, GroundPoint from, GroundPoint to,
                    Visit visit) {
    // Shifted so that the cell of the footprint's corner is a place's whole number of cells.
    constexpr std::int64_t kHalfCell = std::int64_t{kCellPixels / 2} * Fixed::kOne;
    const std::int64_t shiftX = kHalfCell * (width - 1), shiftZ = kHalfCell * (depth - 1);
    LineAxis x(from.x.raw() - shiftX, to.x.raw() - shiftX);
    LineAxis z(from.z.raw() - shiftZ, to.z.raw() - shiftZ);
    if (!visit(Cell{x.cell, z.cell})) return false;
    while (!(x.isThere() && z.isThere())) {
        // Which border comes first: both shares of the line's length, over one denominator. A line
        // of 2^31 steps times a border within it stays below 2^62.
        const std::int64_t shareX = x.isThere() ? -1 : x.toBorder * z.length;
        const std::int64_t shareZ = z.isThere() ? -1 : z.toBorder * x.length;
        const bool stepsX = shareX >= 0 && (shareZ < 0 || shareX <= shareZ);
        const bool stepsZ = shareZ >= 0 && (shareX < 0 || shareZ <= shareX);
        if (stepsX && stepsZ)
            if (!visit(Cell{x.cell + x.step, z.cell}) || !visit(Cell{x.cell, z.cell + z.step}))
                return false;
        if (stepsX) x.advance();
        if (stepsZ) z.advance();
        if (!visit(Cell{x.cell, z.cell})) return false;
    }
    return true;
}

}  // namespace orb::sim
