#include "sim/occupancy.h"

namespace orb::sim {

Occupancy::Occupancy(std::int32_t cellsX, std::int32_t cellsZ)
    : cellsX_(cellsX),
      cellsZ_(cellsZ),
      owners_(static_cast<std::size_t>(cellsX) * static_cast<std::size_t>(cellsZ)) {}

bool Occupancy::isFree(const CellRect& cells) const {
    return allCells(cells, [&](Cell cell) { return isFree(cell); });
}

void Occupancy::take(const CellRect& cells, std::uint32_t owner) {
    forEachCell(cells, [&](Cell cell) { take(cell, owner); });
}

void Occupancy::take(Cell cell, std::uint32_t owner) {
    if (isFree(cell)) owners_[index(cell)] = owner;
}

}  // namespace orb::sim
