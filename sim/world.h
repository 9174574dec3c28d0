#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "sim/angle.h"
#include "sim/site.h"

namespace orb::sim {

inline constexpr std::size_t kMaxUnits = 5'000;
/// Far more than any map is known to have (some 10,000); a reply that lists them all stays within a
/// few megabytes.
inline constexpr std::size_t kMaxFeatures = 262'144;
inline constexpr std::int32_t kPlayerCount = 10;

struct Unit {
    /// From 1.
    std::uint32_t id = 0;
    std::shared_ptr<const UnitType> type;
    /// From 1.
    std::int32_t player = 1;
    GroundPoint place;
    /// Above the map's zero, like heights of the ground.
    Fixed altitude;
    Angle heading;
    std::int32_t health = 1;
    /// 1 is ready.
    Fixed buildFraction = Fixed::fromInt(1);
    bool isActive = true;
};

struct Feature {
    /// From 1.
    std::uint32_t id = 0;
    /// Index of its type.
    std::uint32_t type = 0;
    /// The middle of its footprint.
    GroundPoint place;
    Fixed altitude;
};

/// How a unit comes onto the map.
struct UnitBirth {
    std::shared_ptr<const UnitType> type;
    std::int32_t player = 1;
    /// Where its middle is wished; buildings move to the nearest place on the grid.
    GroundPoint place = {};
    Angle heading = {};
    float healthPercent = 100;
    Fixed buildFraction = Fixed::fromInt(1);
    bool isActive = true;
    /// Puts it there whatever stands in the way or under it.
    bool isForced = false;
};

/// The map with everything on it.
class World {
public:
    explicit World(Terrain terrain);

    const Terrain& terrain() const { return terrain_; }
    std::span<const Unit> units() const { return units_; }
    std::span<const Feature> features() const { return features_; }
    std::span<const FeatureType> featureTypes() const { return featureTypes_; }
    /// Game ticks since the map was loaded.
    std::int32_t tick() const { return tick_; }

    /// The index of a new type.
    std::uint32_t addFeatureType(FeatureType type);

    /// The cells on which a feature stands whose middle is nearest to a place.
    CellRect featureCells(std::uint32_t type, GroundPoint place) const;
    /// Why a feature cannot lie on those cells, or none.
    SiteFault testFeature(std::uint32_t type, const CellRect& cells) const;
    /// Puts a feature of its type's footprint on the map, whatever lies there; null when its
    /// north-western cell is not on the map or there are `kMaxFeatures`.
    const Feature* placeFeature(std::uint32_t type, Cell northWest);

    /// There are `kMaxUnits`.
    bool isFull() const { return units_.size() >= kMaxUnits; }
    /// Why the unit cannot be placed, or none. A forced one only has to be on the map.
    SiteFault testUnit(const UnitBirth& birth) const;
    /// Places a unit that passes `testUnit`, while the world is not full. The reference holds until
    /// the next one is placed.
    const Unit& placeUnit(const UnitBirth& birth);

    /// True when one of the player's own units is near enough, or the unit is his.
    bool isSeenBy(const Unit& unit, std::int32_t player) const;

private:
    Fixed altitudeOf(const UnitType& type, GroundPoint place) const;

    Terrain terrain_;
    Occupancy occupancy_;
    /// A flag a cell.
    std::vector<bool> vents_;
    std::vector<FeatureType> featureTypes_;
    std::vector<Feature> features_;
    std::vector<Unit> units_;
    std::int32_t tick_ = 0;
};

/// Where the middles of `count` units stand that a block of footprints around a place has, one free
/// cell between them, in rows from the north-west. One alone stands at the place itself.
std::vector<GroundPoint> blockPlaces(const UnitType& type, GroundPoint middle, std::size_t count);

}  // namespace orb::sim
