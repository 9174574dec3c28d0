#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/feature_type.h"
#include "sim/rules.h"

namespace orb::sim {

/// Where a unit may stand.
struct SiteLimits {
    std::int32_t maxSlope = rules::kNoLimit;
    /// Counts instead where the cell's corner is under water.
    std::int32_t maxWaterSlope = rules::kNoLimit;
    std::int32_t minWaterDepth = 0;
    std::int32_t maxWaterDepth = rules::kNoLimit;
};

/// What the world needs to know of a unit.
struct UnitType {
    std::string name;
    std::int32_t footprintX = 1;
    std::int32_t footprintZ = 1;
    /// Stands on the grid for good.
    bool isBuilding = false;
    bool canFly = false;
    /// Moves over water as over land.
    bool canHover = false;
    /// Sits on the surface of water, `waterline` pixels of it below.
    bool floats = false;
    std::int32_t waterline = 0;
    SiteLimits limits;
    /// Of a building, a letter for each cell of its footprint, rows from the north-west.
    std::string yard;
    std::int32_t maxHealth = 1;
    /// In map pixels.
    std::int32_t sightDistance = 0;
    bool isActiveWhenBuilt = true;
    /// The slots, from 0, that hold a weapon that is declared.
    std::vector<int> weaponSlots;
    /// The names of the model's pieces in model order.
    std::vector<std::string> pieces;
};

/// The letters of a yard map laid out over a footprint: blanks do not count, too few letters end in
/// copies of the last, too many are dropped. Without any letter every cell is occupied.
std::string yardOf(std::string_view letters, std::int32_t footprintX, std::int32_t footprintZ);

}  // namespace orb::sim
