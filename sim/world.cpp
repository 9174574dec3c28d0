#include "sim/world.h"

#include <algorithm>
#include <cmath>

namespace orb::sim {
namespace {

/// Tells units from features among the owners of cells.
constexpr std::uint32_t kUnitOwner = 0x80000000;

std::size_t cellCount(const Terrain& terrain) {
    return terrain.heights().size();
}

CellRect cellsOf(const UnitBirth& birth) {
    return footprintAt(birth.place, birth.type->footprintX, birth.type->footprintZ);
}

/// Where the unit's middle comes to be.
GroundPoint placeOf(const UnitBirth& birth) {
    return birth.type->isBuilding ? cellsOf(birth).center() : birth.place;
}

std::int32_t healthOf(const UnitType& type, float percent) {
    const double share = std::clamp<double>(percent, 0, 100) / 100;
    return std::max(1, static_cast<std::int32_t>(std::round(type.maxHealth * share)));
}

}  // namespace

World::World(Terrain terrain)
    : terrain_(std::move(terrain)),
      occupancy_(terrain_.cellsX(), terrain_.cellsZ()),
      vents_(cellCount(terrain_)) {}

std::uint32_t World::addFeatureType(FeatureType type) {
    featureTypes_.push_back(std::move(type));
    return static_cast<std::uint32_t>(featureTypes_.size() - 1);
}

CellRect World::featureCells(std::uint32_t type, GroundPoint place) const {
    return footprintAt(place, featureTypes_[type].footprintX, featureTypes_[type].footprintZ);
}

SiteFault World::testFeature(std::uint32_t type, const CellRect& cells) const {
    if (!terrain_.contains(cells)) return SiteFault::outside;
    if (!allCells(cells, [&](Cell cell) { return !terrain_.isVoid(cell); }))
        return SiteFault::noGround;
    if (featureTypes_[type].isBlocking && !occupancy_.isFree(cells)) return SiteFault::occupied;
    return SiteFault::none;
}

const Feature* World::placeFeature(std::uint32_t typeIndex, Cell northWest) {
    const FeatureType& type = featureTypes_[typeIndex];
    const CellRect cells{northWest, type.footprintX, type.footprintZ};
    if (!terrain_.contains({northWest, 1, 1}) || features_.size() >= kMaxFeatures) return nullptr;

    Feature feature;
    feature.id = static_cast<std::uint32_t>(features_.size() + 1);
    feature.type = typeIndex;
    feature.place = cells.center();
    feature.altitude = terrain_.groundHeight(
        terrain_.contains(feature.place) ? feature.place : CellRect{northWest, 1, 1}.center());
    if (type.isBlocking) occupancy_.take(cells, feature.id);
    if (type.isGeothermal)
        forEachCell(cells, [&](Cell cell) {
            if (terrain_.contains({cell, 1, 1}))
                vents_[static_cast<std::size_t>(cell.z) *
                           static_cast<std::size_t>(terrain_.cellsX()) +
                       static_cast<std::size_t>(cell.x)] = true;
        });
    return &features_.emplace_back(feature);
}

SiteFault World::testUnit(const UnitBirth& birth) const {
    if (!terrain_.contains(placeOf(birth))) return SiteFault::outside;
    if (birth.isForced) return SiteFault::none;
    return testSite({terrain_, occupancy_, vents_}, *birth.type, cellsOf(birth));
}

const Unit& World::placeUnit(const UnitBirth& birth) {
    const UnitType& type = *birth.type;
    const CellRect cells = cellsOf(birth);
    const GroundPoint place = placeOf(birth);

    Unit unit;
    unit.id = static_cast<std::uint32_t>(units_.size() + 1);
    unit.type = birth.type;
    unit.player = birth.player;
    unit.place = place;
    unit.altitude = altitudeOf(type, place);
    unit.heading = birth.heading;
    unit.health = healthOf(type, birth.healthPercent);
    unit.buildFraction = birth.buildFraction;
    unit.isActive = birth.isActive;
    if (!type.canFly)
        forEachCell(cells, [&](Cell cell) {
            if (takesCell(type, cells, cell)) occupancy_.take(cell, kUnitOwner | unit.id);
        });
    return units_.emplace_back(std::move(unit));
}

Fixed World::altitudeOf(const UnitType& type, GroundPoint place) const {
    const Fixed ground = terrain_.groundHeight(place);
    const auto sea = Fixed::fromInt(terrain_.seaLevel());
    if (type.canFly || type.canHover) return std::max(ground, sea);
    if (type.floats) return std::max(ground, sea - Fixed::fromInt(type.waterline));
    return ground;
}

bool World::isSeenBy(const Unit& unit, std::int32_t player) const {
    if (unit.player == player) return true;
    return std::ranges::any_of(units_, [&](const Unit& own) {
        return own.player == player &&
               squaredDistance(own.place.x, own.place.z, unit.place.x, unit.place.z) <=
                   squaredLength(Fixed::fromInt(own.type->sightDistance));
    });
}

std::vector<GroundPoint> blockPlaces(const UnitType& type, GroundPoint middle, std::size_t count) {
    if (count <= 1) return {middle};
    const auto columns =
        static_cast<std::int32_t>(std::ceil(std::sqrt(static_cast<double>(count))));
    const auto rows = (static_cast<std::int32_t>(count) + columns - 1) / columns;
    const std::int32_t stepX = type.footprintX + 1, stepZ = type.footprintZ + 1;
    const CellRect whole = footprintAt(middle, columns * stepX - 1, rows * stepZ - 1);
    std::vector<GroundPoint> places;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(count); ++i) {
        const Cell corner{whole.corner.x + i % columns * stepX,
                          whole.corner.z + i / columns * stepZ};
        places.push_back(CellRect{corner, type.footprintX, type.footprintZ}.center());
    }
    return places;
}

}  // namespace orb::sim
