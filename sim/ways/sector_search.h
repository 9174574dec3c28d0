#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "sim/ways/movement_class.h"

namespace orb::sim {

/// Cells of a sector's side. Half of it means three times the nodes and no shorter ways.
inline constexpr std::int32_t kSectorSide = 32;
inline constexpr std::size_t kSectorCells = kSectorSide * kSectorSide;

/// Lengths of ways: so many for a step over usual ground, straight and slanting. Nearly the square
/// root of two between them, and whole numbers.
inline constexpr std::uint32_t kStraightStep = 5;
inline constexpr std::uint32_t kSlantingStep = 7;

/// The eight directions of a step, from north over east; the odd ones slant. `kHere` is the aim's
/// own and `kNowhere` that of cells from which the aim cannot be reached.
inline constexpr std::uint8_t kDirections = 8;
inline constexpr std::uint8_t kHere = 8;
inline constexpr std::uint8_t kNowhere = 9;
inline constexpr std::array<Cell, kDirections> kSteps = {
    {{0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}}};

/// The length of one step between cells that cost so much each.
constexpr std::uint32_t stepLength(bool isSlanting, std::uint32_t costA, std::uint32_t costB) {
    return (isSlanting ? kSlantingStep : kStraightStep) * (costA + costB) / 2;
}

/// The least that a way between two places can be long that lie so far apart.
constexpr std::uint32_t leastLength(std::uint32_t apartX, std::uint32_t apartZ) {
    const std::uint32_t shorter = apartX < apartZ ? apartX : apartZ;
    const std::uint32_t longer = apartX < apartZ ? apartZ : apartX;
    return longer * kStraightStep + shorter * (kSlantingStep - kStraightStep);
}

/// A cell of a sector: 32 times its row and its column.
using SectorCell = std::uint16_t;

/// The ways inside one sector, from one or more aims outwards to all of its cells. Slanting steps
/// never cut a corner. Scratch of one thread.
class SectorSearch {
public:
    /// An aim, and how much of the way is still to go from there.
    struct Aim {
        SectorCell cell = 0;
        std::uint32_t length = 0;
    };

    SectorSearch();

    /// Takes the ground of at most 32 by 32 cells, which lie on the map.
    void load(const ClassGrid& grid, const CellRect& cells);
    /// The aims by rising length, none of which is 50,000 above another.
    void run(std::span<const Aim> aims);

    // Of the last run.

    bool isReached(SectorCell cell) const { return lengths_[padded(cell)] != kUnreached; }
    /// To the best aim, what is to go from there included.
    std::uint32_t length(SectorCell cell) const { return shortest_ + lengths_[padded(cell)]; }
    /// Of the first step.
    std::uint8_t direction(SectorCell cell) const { return directions_[padded(cell)]; }
    /// Which aim it leads to.
    std::uint16_t aim(SectorCell cell) const { return aims_[padded(cell)]; }

    /// The number of each cell's island, from 1 in the order of their first cells: those that reach
    /// one another without leaving the sector. 0 where there is no ground.
    std::vector<std::uint16_t> islands();

private:
    /// The sector stands in a frame of cells without ground, so that no step needs to be compared
    /// with its borders.
    static constexpr std::size_t kFrameSide = kSectorSide + 2;
    static constexpr std::size_t kFrameCells = kFrameSide * kFrameSide;
    /// More than the longest step: 7 times 3.
    static constexpr std::size_t kBuckets = 32;

    static constexpr std::uint16_t kUnreached = 0xFFFF;

    static constexpr std::size_t padded(SectorCell cell) {
        return (cell / kSectorSide + 1U) * kFrameSide + cell % kSectorSide + 1U;
    }
    void reach(std::size_t cell, std::uint32_t length, std::uint8_t direction, std::uint16_t aim);
    void expand(std::size_t cell);

    std::array<std::uint8_t, kFrameCells> costs_{};
    /// Beyond that of the shortest aim.
    std::array<std::uint16_t, kFrameCells> lengths_{};
    std::array<std::uint8_t, kFrameCells> directions_{};
    std::array<std::uint16_t, kFrameCells> aims_{};
    /// Cells by length, reused in a ring; how many are in there.
    std::array<std::vector<std::uint16_t>, kBuckets> buckets_;
    std::size_t queued_ = 0;
    std::uint32_t shortest_ = 0;
};

}  // namespace orb::sim
