#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "sim/ground/cell.h"
#include "sim/ground/terrain.h"
#include "sim/units/unit_type.h"

namespace orb::sim {

/// Where units of one kind can walk or swim, and where they would rather not.
struct MovementLimits {
    std::int32_t footprintX = 1;
    std::int32_t footprintZ = 1;
    SiteLimits site = {};

    bool operator==(const MovementLimits&) const = default;
};

/// Which cells are taken by what stays where it is.
class Obstacles {
public:
    Obstacles(std::int32_t cellsX, std::int32_t cellsZ);

    bool isBlocked(Cell cell) const { return isBlocked_[index(cell)]; }
    void set(Cell cell, bool isBlocked) { isBlocked_[index(cell)] = isBlocked; }

private:
    std::size_t index(Cell cell) const {
        return static_cast<std::size_t>(cell.z) * static_cast<std::size_t>(cellsX_) +
               static_cast<std::size_t>(cell.x);
    }

    std::int32_t cellsX_;
    std::vector<bool> isBlocked_;
};

/// How dear a step over a cell is: the footprint does not fit, usual ground, bad ground.
inline constexpr std::uint8_t kNoStep = 0;
inline constexpr std::uint8_t kUsualStep = 1;

/// For each cell how dear it is for a class to stand with the north-western cell of its footprint
/// there, so that a search can take a walker for a point. Derived from ground and obstacles.
class ClassGrid {
public:
    ClassGrid(const Terrain& terrain, const Obstacles& obstacles, const MovementLimits& limits);

    std::int32_t cellsX() const { return cellsX_; }
    std::int32_t cellsZ() const { return cellsZ_; }
    bool contains(Cell cell) const {
        return cell.x >= 0 && cell.z >= 0 && cell.x < cellsX_ && cell.z < cellsZ_;
    }
    /// `kNoStep` off the map.
    std::uint8_t cost(Cell cell) const { return contains(cell) ? costs_[index(cell)] : kNoStep; }
    bool fits(Cell cell) const { return cost(cell) != kNoStep; }
    /// The same without looking whether it is on the map: `width` of them in a row.
    const std::uint8_t* row(Cell first) const { return &costs_[index(first)]; }

    /// Follows a change of the obstacles in those cells, which lie on the map. What of the grid
    /// changed by it lies in the rectangle; none when nothing did.
    std::optional<CellRect> update(const Terrain& terrain, const Obstacles& obstacles,
                                   const MovementLimits& limits, const CellRect& cells);

private:
    std::size_t index(Cell cell) const {
        return static_cast<std::size_t>(cell.z) * static_cast<std::size_t>(cellsX_) +
               static_cast<std::size_t>(cell.x);
    }
    void fill(const Terrain& terrain, const Obstacles& obstacles, const MovementLimits& limits,
              const CellRect& cells);

    std::int32_t cellsX_;
    std::int32_t cellsZ_;
    std::vector<std::uint8_t> costs_;
};

}  // namespace orb::sim
