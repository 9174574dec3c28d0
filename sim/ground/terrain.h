#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "io/formats/tnt.h"
#include "sim/ground/cell.h"

namespace orb::sim {

/// Of several cells, in map pixels.
struct HeightRange {
    std::int32_t lowest = 0;
    std::int32_t highest = 0;
};

/// The shape of the ground. Never changes.
class Terrain {
public:
    explicit Terrain(const io::TntFile& map);

    std::int32_t cellsX() const { return cellsX_; }
    std::int32_t cellsZ() const { return cellsZ_; }
    /// Ground lower than this is under water.
    std::int32_t seaLevel() const { return seaLevel_; }
    /// A byte a cell, rows from the north-west: the height at its north-western corner.
    std::span<const std::uint8_t> heights() const { return heights_; }
    HeightRange heightRange() const;

    bool contains(GroundPoint point) const;
    bool contains(const CellRect& cells) const;
    /// The nearest place on the map.
    GroundPoint clamped(GroundPoint point) const;

    // The rest is for cells and points on the map.

    HeightRange heightRange(const CellRect& cells) const;
    /// The largest difference of the heights at the cell's corners.
    std::int32_t slope(Cell cell) const;
    /// The same of what is seen: where the ground is under water, of the water.
    std::int32_t surfaceSlope(Cell cell) const;
    /// No ground: nothing can stand here.
    bool isVoid(Cell cell) const { return isVoid_[index(cell)]; }
    Fixed groundHeight(GroundPoint point) const;

private:
    std::size_t index(Cell cell) const {
        return static_cast<std::size_t>(cell.z) * static_cast<std::size_t>(cellsX_) +
               static_cast<std::size_t>(cell.x);
    }
    /// The height at a cell's north-western corner; beyond the last cells theirs.
    std::int32_t corner(std::int32_t x, std::int32_t z) const;
    /// Of the cell's corners.
    HeightRange cornerRange(Cell cell) const;

    std::int32_t cellsX_;
    std::int32_t cellsZ_;
    std::int32_t seaLevel_;
    std::vector<std::uint8_t> heights_;
    std::vector<bool> isVoid_;
};

}  // namespace orb::sim
