#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sim/cargo/hold.h"
#include "sim/ground/feature_type.h"
#include "sim/motion/flight.h"
#include "sim/numbers/fixed.h"
#include "sim/rules.h"
#include "sim/scripts/unit_scripts.h"
#include "sim/sight/senses.h"

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

/// The most work that goes into a unit; known ones take some 250,000. Products of parts of work
/// with each other stay within 64 bits.
inline constexpr std::int32_t kMaxBuildTime = 1 << 23;
/// The most work that one builder does in a tick; known ones do some 100.
inline constexpr std::int32_t kMaxWorkPerTick = 1 << 20;

/// What a unit costs, gives, takes and stores, and how it works on others. Rates are per second.
struct UnitEconomy {
    Amount buildMetal = {};
    Amount buildEnergy = {};
    /// Units of work that go into it, from 1.
    std::int32_t buildTime = 1;
    /// Units of work that it does in a tick; 0 for what is no builder.
    std::int32_t workPerTick = 0;
    /// How far from the edge of what it works on it may stand, in map pixels.
    Fixed buildDistance = {};
    Amount metalMake = {};
    Amount energyMake = {};
    /// While it is active. Energy below 0 is given.
    Amount metalUse = {};
    Amount energyUse = {};
    /// While it is active and as far as its energy is paid.
    Amount makesMetal = {};
    /// The same, of the metal of the ground under it: in millionths.
    std::int64_t extraction = 0;
    /// In the strongest wind that counts.
    Amount windPower = {};
    bool isTidal = false;
    Amount metalStorage = {};
    Amount energyStorage = {};

    bool extracts() const { return extraction > 0; }
    bool turnsWithWind() const { return windPower > Amount(); }
};

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
    AirLimits air;
    HoldLimits hold;
    /// Others may take it aboard.
    bool canBeCarried = true;
    /// Of a building, a letter for each cell of its footprint, rows from the north-west.
    std::string yard;
    std::int32_t maxHealth = 1;
    /// In map pixels.
    std::int32_t sightDistance = 0;
    UnitSenses senses;
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
    /// It becomes that as soon as somebody has built it.
    bool becomesFeature = false;
    /// What of the damage is left while it is armored.
    Fixed damageModifier = Fixed::fromInt(1);
    bool isImmuneToParalyzer = false;
    UnitEconomy economy;
    /// Upper-cased names of what it may build.
    std::vector<std::string> buildOptions;
    /// A factory that can be told where its products go.
    bool sendsProducts = false;
    bool canReclaim = false;
    bool canCapture = false;
    /// From the order to its own destruction on, in ticks.
    std::int32_t selfDestructTicks = 0;
    /// Hit points a second that come back by themselves.
    Amount healing;
    /// The words of its category, in upper case.
    std::vector<std::string> categories;
    /// By weapon: of these categories it chooses a target only where there is no other.
    std::array<std::vector<std::string>, 3> badTargets;
    /// It does not go after targets of these categories by itself.
    std::vector<std::string> notChased;
    /// How far it leaves its place for an enemy that it goes after only a little.
    Fixed leash = rules::kManoeuvreDistance;

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

/// Whether one of its categories is among the words; all units are of the category ALL.
bool isOfCategory(const UnitType& type, const std::vector<std::string>& words);

/// The letters of a yard map laid out over a footprint: blanks do not count, too few letters end in
/// copies of the last, too many are dropped. Without any letter every cell is occupied.
std::string yardOf(std::string_view letters, std::int32_t footprintX, std::int32_t footprintZ);

}  // namespace orb::sim
