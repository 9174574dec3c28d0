#pragma once

#include <cstdint>
#include <optional>

#include "sim/units/unit.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// What a shot flies through: water is open to those that run in it, a wall to all others.
enum class Medium : std::uint8_t { air, water };

/// What stops a shot first on its way.
struct Obstacle {
    /// How far along the way it is, 0 to 1.
    Fixed share;
    Vector place;
    /// A feature's id, 0 for the ground or the water.
    std::uint32_t feature = 0;
    /// The map ends there.
    bool isEdge = false;
};

/// The first of ground, water's surface, feature or the map's edge on a straight way, looked at
/// every few pixels.
std::optional<Obstacle> firstObstacle(const WorldParts& world, const Vector& from,
                                      const Vector& way, Medium medium);

/// How far along a straight way, as a share of it, a sphere begins; 0 inside of it. None where the
/// way passes it. Ways and radii have up to 1,800 pixels.
std::optional<Fixed> shareToSphere(const Vector& from, const Vector& way, const Vector& center,
                                   Fixed radius);

/// The ground's height at a place, or the water's where that is higher and shots end on it.
Fixed floorHeight(const WorldParts& world, GroundPoint place, Medium medium);

}  // namespace orb::sim
