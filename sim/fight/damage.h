#pragma once

#include <cstdint>
#include <memory>

#include "sim/fight/weapon_type.h"
#include "sim/numbers/angle.h"
#include "sim/units/unit_ref.h"

namespace orb::sim {

struct Unit;
struct WorldParts;
struct TickScratch;

/// Something that is to be done to a unit: in a queue of the tick, in the order of its causes.
struct Damage {
    UnitRef victim;
    Amount amount;
    /// The direction of the push.
    Angle heading;
    UnitRef by;
};

/// A shot or an explosion that takes effect.
struct Impact {
    std::shared_ptr<const WeaponType> weapon;
    Vector place;
    /// What it hit, if anything: a unit, or a feature's id.
    UnitRef direct;
    std::uint32_t feature = 0;
    /// The direction of the push on what it hit.
    Angle heading;
    UnitRef by;
};

/// A unit that has died in this tick.
struct Death {
    UnitRef unit;
    /// Index of the feature type that it becomes, -1 for none.
    std::int32_t corpse = -1;
};

/// How a unit goes: by a hit or an order, or by its own hand.
enum class DeathKind : std::uint8_t { killed, selfDestruct };

/// Lets a unit die now, as badly as `severity` says in percent: its script is asked what it leaves,
/// and its explosion joins the queue. It goes from the map at the end of `stepDamage`. Nothing
/// happens to one that is dying.
void killUnit(WorldParts& world, TickScratch& scratch, Unit& unit, std::int32_t severity,
              DeathKind kind);

}  // namespace orb::sim
