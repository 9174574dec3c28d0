#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "sim/ground/occupancy.h"
#include "sim/ground/terrain.h"
#include "sim/units/unit_type.h"

namespace orb::sim {

/// Why something cannot stand where it was wished.
enum class SiteFault { none, outside, noGround, tooDeep, tooShallow, tooSteep, noVent, occupied };

/// As people read it: "too steep".
std::string_view textOf(SiteFault fault);

/// What a site is tested against.
struct Ground {
    const Terrain& terrain;
    const Occupancy& occupancy;
    /// A flag a cell.
    const std::vector<bool>& vents;
    /// Who is to move there: what he has counts as free.
    CellOwner mover = {};

    bool isVent(Cell cell) const {
        return vents[static_cast<std::size_t>(cell.z) * static_cast<std::size_t>(terrain.cellsX()) +
                     static_cast<std::size_t>(cell.x)];
    }
};

/// The first reason, in the order of the enumeration, why a unit cannot stand on those cells.
/// Aircraft stand anywhere on the map.
SiteFault testSite(const Ground& ground, const UnitType& type, const CellRect& cells);

/// The same for what has to stand on the ground, be it that it can fly.
SiteFault testGround(const Ground& ground, const UnitType& type, const CellRect& cells);

/// The first place where a unit can stand in squares around one, `stepCells` apart; none within so
/// many of them.
std::optional<GroundPoint> freePlaceNear(const Ground& ground, const UnitType& type,
                                         GroundPoint place, std::int32_t stepCells,
                                         std::int32_t rings);

/// True for the cells of a footprint that a unit takes: all but those that its yard keeps free, for
/// good or while it is open.
bool takesCell(const UnitType& type, const CellRect& cells, Cell cell, bool isYardOpen = false);

}  // namespace orb::sim
