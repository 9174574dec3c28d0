#include "sim/ground/occupancy.h"

namespace orb::sim {

Occupancy::Occupancy(std::int32_t cellsX, std::int32_t cellsZ)
    : cellsX_(cellsX),
      cellsZ_(cellsZ),
      owners_(static_cast<std::size_t>(cellsX) * static_cast<std::size_t>(cellsZ)) {}

bool Occupancy::isFree(const CellRect& cells) const {
    return allCells(cells, [&](Cell cell) { return isFree(cell); });
}

bool Occupancy::isFreeFor(CellOwner self, const CellRect& cells) const {
    return allCells(cells, [&](Cell cell) {
        return contains(cell) &&
               (owners_[index(cell)] == CellOwner() || owners_[index(cell)] == self);
    });
}

void Occupancy::take(const CellRect& cells, CellOwner owner) {
    forEachCell(cells, [&](Cell cell) { take(cell, owner); });
}

void Occupancy::take(Cell cell, CellOwner owner) {
    if (isFree(cell)) owners_[index(cell)] = owner;
}

void Occupancy::release(const CellRect& cells, CellOwner owner) {
    forEachCell(cells, [&](Cell cell) {
        if (ownerOf(cell) == owner) owners_[index(cell)] = CellOwner();
    });
}

}  // namespace orb::sim
