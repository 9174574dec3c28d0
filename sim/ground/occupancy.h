#pragma once

#include <cstdint>
#include <vector>

#include "sim/ground/cell.h"

namespace orb::sim {

/// Who has a cell: nobody, a feature, a building or a mobile unit.
class CellOwner {
public:
    enum class Kind : std::uint8_t { nobody, feature, building, mobile };

    constexpr CellOwner() = default;
    /// A feature's or a unit's id.
    constexpr CellOwner(Kind kind, std::uint32_t id)
        : raw_((static_cast<std::uint32_t>(kind) << kIdBits) | id) {}

    constexpr Kind kind() const { return static_cast<Kind>(raw_ >> kIdBits); }
    constexpr std::uint32_t id() const { return raw_ & ((1U << kIdBits) - 1); }
    constexpr bool isUnit() const { return kind() >= Kind::building; }
    /// It does not go away by itself: ways lead round it.
    constexpr bool isStatic() const { return kind() == Kind::feature || kind() == Kind::building; }
    constexpr bool operator==(const CellOwner&) const = default;

private:
    static constexpr int kIdBits = 30;

    std::uint32_t raw_ = 0;
};

/// Which cells are taken, by a unit or a feature that blocks. No two share a cell. It follows from
/// where things stand, but where some were forced onto others also from who came first, so it is
/// never made anew.
class Occupancy {
public:
    Occupancy(std::int32_t cellsX, std::int32_t cellsZ);

    /// Of a cell on the map or beyond.
    CellOwner ownerOf(Cell cell) const {
        return contains(cell) ? owners_[index(cell)] : CellOwner();
    }
    /// All of the cells lie on the map and none is taken.
    bool isFree(const CellRect& cells) const;
    bool isFree(Cell cell) const { return contains(cell) && owners_[index(cell)] == CellOwner(); }
    /// The same, where what `self` has counts as free.
    bool isFreeFor(CellOwner self, const CellRect& cells) const;

    /// Gives those of the cells that lie on the map and are free to `owner`.
    void take(const CellRect& cells, CellOwner owner);
    void take(Cell cell, CellOwner owner);
    /// Frees those of the cells that are `owner`'s.
    void release(const CellRect& cells, CellOwner owner);
    /// Frees what `owner` has of the first cells and gives it what is free of the others.
    void move(const CellRect& from, const CellRect& to, CellOwner owner) {
        release(from, owner);
        take(to, owner);
    }

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
    std::vector<CellOwner> owners_;
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
