#pragma once

#include <optional>

#include "sim/events.h"
#include "sim/fight/aim_points.h"

namespace orb::sim {

/// In which direction a weapon has to shoot to hit what it is aimed at.
struct AimDirection {
    /// In the world.
    Angle heading;
    Angle pitch;
    Arc arc = Arc::low;
    /// What is to be hit, where it will be by then.
    Vector point;
};

/// The direction, or why there is none.
struct AimSolution {
    AimDirection direction;
    std::optional<AimFailure> failure;
};

/// What a weapon is aimed at, if it is still there.
struct AimTarget {
    Vector point;
    /// Null for a place.
    const Unit* unit = nullptr;
};
std::optional<AimTarget> targetOf(const WorldParts& world, const WeaponState& weapon);

/// It swims or dives: its lowest point is below the surface, or all of it.
bool isInWater(const WorldParts& world, const Unit& unit);
bool isUnderWater(const WorldParts& world, const Unit& unit);

/// Round which a shot hits a unit: what runs in the water meets what of it lies in the water.
Vector hitCenterFor(const WorldParts& world, const WeaponType& weapon, const Unit& unit);

/// Whether what a weapon fires gets there at all: it hits aircraft, ships and what is under water
/// as its definition says.
bool canReach(const WorldParts& world, const WeaponType& weapon, const Unit& target);
bool canReach(const WorldParts& world, const WeaponType& weapon, GroundPoint place);

/// Between the middles: in the plane, and in space to and from what swims or flies.
bool isInRange(const WorldParts& world, const Unit& unit, const WeaponType& weapon,
               const AimTarget& target);

/// How to shoot from a place. Looks for a free way.
AimSolution solveAim(const WorldParts& world, const WeaponType& weapon, const Unit& unit,
                     const Vector& from, const AimTarget& target);

}  // namespace orb::sim
