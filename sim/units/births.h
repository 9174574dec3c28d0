#pragma once

#include <memory>

#include "sim/ground/site.h"
#include "sim/world_parts.h"

namespace orb::sim {

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

/// Why the unit cannot be placed, or none. A forced one only has to be on the map.
SiteFault testUnit(const WorldParts& world, const UnitBirth& birth);

/// The same of a unit that is there and is to be put elsewhere: what it has itself is free.
SiteFault testMove(const WorldParts& world, const Unit& unit, GroundPoint place, bool isForced);

/// Where the middle of a unit comes to be that is put there: buildings stand on the grid.
GroundPoint standingPlace(const UnitType& type, GroundPoint place);

/// Places a unit that passes `testUnit`, while there is room. The one place where units begin.
Unit& placeUnit(WorldParts& world, const UnitBirth& birth);

/// Takes a unit off the map at once: its cells, its script, itself. The one place where units end.
void removeUnit(WorldParts& world, Unit& unit);

/// Puts a unit elsewhere, with its cells, without testing the site.
void moveUnitTo(WorldParts& world, Unit& unit, GroundPoint place);

/// Puts a feature of its type's footprint on the map, whatever lies there; null when its
/// north-western cell is not on the map or there are `kMaxFeatures`.
const Feature* placeFeature(WorldParts& world, std::uint32_t type, Cell northWest,
                            Angle heading = {});

/// The class that a type's ways are looked up in; made when it is the first of its kind, which
/// takes some time. None for what does not walk.
std::uint32_t movementClassOf(WorldParts& world, const UnitType& type);

/// Takes a feature off the map, and puts one of type `follower` there, unless that is -1.
void replaceFeature(WorldParts& world, std::uint32_t id, std::int32_t follower);

/// Takes a feature off the map, with its cells.
void removeFeature(WorldParts& world, std::uint32_t id);

/// Gives a unit the cells that it stands on, as far as they are free, and frees those that it has.
void takeCells(WorldParts& world, const Unit& unit);
void releaseCells(WorldParts& world, const Unit& unit);

/// How high a unit of that type stands at a place on the map.
Fixed restingAltitude(const Terrain& terrain, const UnitType& type, GroundPoint place);

/// What sites of a world are tested against.
inline Ground groundOf(const WorldParts& world) {
    return {world.frame.terrain, world.state.occupancy, world.frame.vents};
}

/// Whose the cells of a unit are.
CellOwner ownerOf(const Unit& unit);

}  // namespace orb::sim
