#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sim/feature_type.h"
#include "sim/fixed.h"
#include "sim/rules.h"
#include "sim/unit_scripts.h"

namespace orb::sim {

struct WeaponType;

/// Where a unit may stand.
struct SiteLimits {
    std::int32_t maxSlope = rules::kNoLimit;
    /// Counts instead where the cell's corner is under water.
    std::int32_t maxWaterSlope = rules::kNoLimit;
    /// Steeper cells are gone round where that is not too far.
    std::int32_t badSlope = rules::kNoLimit;
    std::int32_t badWaterSlope = rules::kNoLimit;
    std::int32_t minWaterDepth = 0;
    std::int32_t maxWaterDepth = rules::kNoLimit;
    /// Moves over water as over land: no depth counts.
    bool canHover = false;

    bool operator==(const SiteLimits&) const = default;
};

/// A piece of a model at rest.
struct PieceRest {
    /// Index of the piece that it hangs from, -1 for the root.
    std::int32_t parent = -1;
    /// From that piece's origin: x to the unit's left, y up, z forward.
    Vector offset;
};

/// How a unit moves over the ground. Lengths in map pixels.
struct MoveLimits {
    /// In pixels a tick.
    Fixed maxSpeed;
    /// In pixels a tick for each tick.
    Fixed acceleration;
    Fixed brakeRate;
    /// In steps of a full turn's 65,536 a tick.
    std::int32_t turnRate = 0;
    /// Does not tilt with the ground.
    bool isUpright = false;
};

/// The fastest that anything on the ground moves, in pixels a tick.
inline constexpr std::int32_t kMaxSpeed = 1'024;

/// What the world needs to know of a unit.
struct UnitType {
    std::string name;
    std::int32_t footprintX = 1;
    std::int32_t footprintZ = 1;
    /// Stands on the grid for good.
    bool isBuilding = false;
    bool canMove = false;
    bool canFly = false;
    /// Sits on the surface of water, `waterline` pixels of it below.
    bool floats = false;
    std::int32_t waterline = 0;
    SiteLimits limits;
    MoveLimits movement;
    /// Of a building, a letter for each cell of its footprint, rows from the north-west.
    std::string yard;
    std::int32_t maxHealth = 1;
    /// In map pixels.
    std::int32_t sightDistance = 0;
    /// Of the model above its origin, in map pixels.
    Fixed height;
    bool isActiveWhenBuilt = true;
    /// What it does without orders: see `StandingOrders`.
    std::uint8_t moveState = 2;
    std::uint8_t fireState = 2;
    /// The slots, from 0, that hold a weapon that is declared.
    std::vector<int> weaponSlots;
    /// The weapons by slot, null for none.
    std::array<std::shared_ptr<const WeaponType>, 3> weapons;
    /// What its death and its own destruction set off, or null.
    std::shared_ptr<const WeaponType> explodeAs;
    std::shared_ptr<const WeaponType> selfDestructAs;
    /// Index of the feature type that it becomes, -1 for none.
    std::int32_t corpse = -1;
    /// What of the damage is left while it is armored.
    Fixed damageModifier = Fixed::fromInt(1);
    bool isImmuneToParalyzer = false;
    /// The words of its category, in upper case.
    std::vector<std::string> categories;
    /// By weapon: of these categories it chooses no targets by itself.
    std::array<std::vector<std::string>, 3> badTargets;

    /// The names of the model's pieces in model order, and how they hang together.
    std::vector<std::string> pieces;
    std::vector<PieceRest> piecesAtRest;
    /// None for a unit without a script.
    std::shared_ptr<const io::CobFile> script;
    ScriptIndices scripts = noScripts();

    std::int32_t indexOf(UnitScript which) const {
        return scripts[static_cast<std::size_t>(which)];
    }
};

/// The letters of a yard map laid out over a footprint: blanks do not count, too few letters end in
/// copies of the last, too many are dropped. Without any letter every cell is occupied.
std::string yardOf(std::string_view letters, std::int32_t footprintX, std::int32_t footprintZ);

}  // namespace orb::sim
