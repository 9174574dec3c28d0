#pragma once

#include <cstdint>
#include <vector>

#include "sim/cell.h"

namespace orb::sim {

/// Which cells are taken, by a unit or a feature that blocks. No two share a cell.
class Occupancy {
public:
    Occupancy(std::int32_t cellsX, std::int32_t cellsZ);

    /// All of the cells lie on the map and none is taken.
    bool isFree(const CellRect& cells) const;
    bool isFree(Cell cell) const { return contains(cell) && owners_[index(cell)] == 0; }

    /// Gives those of the cells that lie on the map and are free to `owner`, which is not 0.
    void take(const CellRect& cells, std::uint32_t owner);
    void take(Cell cell, std::uint32_t owner);

private:
    bool contains(Cell cell) const {
        return cell.x >= 0 && cell.z >= 0 && cell.x < cellsX_ && cell.z < cellsZ_;
    }
    std::size_t index(Cell cell) const {
        return static_cast<std::size_t>(cell.z) * static_cast<std::size_t>(cellsX_) +
               static_cast<std::size_t>(cell.x);
    }

    std::int32_t cellsX_;
    std::int32_t cellsZ_;
    /// 0 is nobody.
    std::vector<std::uint32_t> owners_;
};

/// Calls `visit(cell)` for each of the cells, row by row.
template <typename Visit>
void forEachCell(const CellRect& cells, Visit visit) {
    for (std::int32_t z = 0; z < cells.depth; ++z)
        for (std::int32_t x = 0; x < cells.width; ++x)
            visit(Cell{cells.corner.x + x, cells.corner.z + z});
}

/// True when `holds(cell)` is for each of the cells.
template <typename Predicate>
bool allCells(const CellRect& cells, Predicate holds) {
    for (std::int32_t z = 0; z < cells.depth; ++z)
        for (std::int32_t x = 0; x < cells.width; ++x)
            if (!holds(Cell{cells.corner.x + x, cells.corner.z + z})) return false;
    return true;
}

}  // namespace orb::sim
