#include "sim/units/births.h"

#include <algorithm>
#include <cmath>

#include "sim/cargo/cargo.h"
#include "sim/motion/ground_motion.h"
#include "sim/scripts/script_host.h"
#include "sim/sight/sight.h"
#include "sim/work/generators.h"
#include "sim/work/work.h"

namespace orb::sim {
namespace {

CellRect cellsOf(const UnitBirth& birth) {
    return footprintAt(birth.place, birth.type->footprintX, birth.type->footprintZ);
}

Amount healthOf(const UnitType& type, float percent) {
    const double share = std::clamp<double>(percent, 0, 100) / 100;
    return Amount::fromInt(
        std::max<std::int64_t>(1, std::llround(static_cast<double>(type.maxHealth) * share)));
}

/// Ways go round what stays where it is.
void takeCell(WorldParts& world, Cell cell, CellOwner owner) {
    if (!world.state.occupancy.isFree(cell)) return;
    world.state.occupancy.take(cell, owner);
    if (owner.isStatic()) world.state.routes.setBlocked({cell, 1, 1}, true);
}

void releaseAll(WorldParts& world, const CellRect& cells, CellOwner owner) {
    forEachCell(cells, [&](Cell cell) {
        if (world.state.occupancy.ownerOf(cell) != owner) return;
        world.state.occupancy.release({cell, 1, 1}, owner);
        if (owner.isStatic()) world.state.routes.setBlocked({cell, 1, 1}, false);
    });
}

}  // namespace

std::uint32_t movementClassOf(WorldParts& world, const UnitType& type) {
    if (!type.canMove || type.canFly || type.isBuilding) return kNoMovementClass;
    return world.state.routes.classOf(
        world.frame.terrain, {type.footprintX, type.footprintZ, type.limits}, world.workers);
}

CellOwner ownerOf(const Unit& unit) {
    using Kind = CellOwner::Kind;
    return {unit.type->isBuilding ? Kind::building : Kind::mobile, unit.id};
}

void takeCells(WorldParts& world, const Unit& unit) {
    const UnitType& type = *unit.type;
    const FlightStage stage = unit.flight.stage;
    if (unit.carrier || stage == FlightStage::flying || stage == FlightStage::perched) return;
    const CellRect cells = unit.cells();
    forEachCell(cells, [&](Cell cell) {
        if (takesCell(type, cells, cell, unit.values.isYardOpen))
            takeCell(world, cell, ownerOf(unit));
    });
}

void releaseCells(WorldParts& world, const Unit& unit) {
    releaseAll(world, unit.cells(), ownerOf(unit));
}

GroundPoint standingPlace(const UnitType& type, GroundPoint place) {
    return type.isBuilding ? footprintAt(place, type.footprintX, type.footprintZ).center() : place;
}

SiteFault testUnit(const WorldParts& world, const UnitBirth& birth) {
    if (!world.frame.terrain.contains(standingPlace(*birth.type, birth.place)))
        return SiteFault::outside;
    if (birth.isForced) return SiteFault::none;
    return testSite({world.frame.terrain, world.state.occupancy, world.frame.vents}, *birth.type,
                    cellsOf(birth));
}

SiteFault testMove(const WorldParts& world, const Unit& unit, GroundPoint place, bool isForced) {
    const UnitType& type = *unit.type;
    if (!world.frame.terrain.contains(standingPlace(type, place))) return SiteFault::outside;
    if (isForced) return SiteFault::none;
    return testSite({world.frame.terrain, world.state.occupancy, world.frame.vents, ownerOf(unit)},
                    type, footprintAt(place, type.footprintX, type.footprintZ));
}

Unit& placeUnit(WorldParts& world, const UnitBirth& birth) {
    const UnitType& type = *birth.type;
    Unit& unit = world.state.units.add(world.state.tick);
    unit.type = birth.type;
    unit.player = birth.player;
    unit.place = standingPlace(type, birth.place);
    unit.altitude = restingAltitude(world.frame.terrain, type, unit.place);
    unit.heading = birth.heading;
    setWork(unit, (wholeWork(type) * birth.buildFraction.raw()) >> Fixed::kFractionBits);
    unit.buildFraction = birth.buildFraction;
    unit.health = std::max(Amount::fromInt(1), partOf(healthOf(type, birth.healthPercent),
                                                      unit.growth.done, wholeWork(type)));
    unit.labour.groundMetal = type.economy.extracts() ? groundMetal(world.frame, unit.cells()) : 0;
    unit.isActive = birth.isActive;
    unit.standing = {type.moveState, type.fireState};
    unit.motion.movementClass = movementClassOf(world, type);
    if (!type.isBuilding) settleOnGround(world, unit);
    takeCells(world, unit);
    world.derived.buckets.add(unit.slot(), unit.place);
    noteFootprint(world.derived, type);
    setUpScript(world, unit);
    if (unit.isBuilt()) tellGenerator(world, unit);
    unit.cloak.isWanted = type.senses.beginsCloaked;
    lookAround(world, unit);
    return unit;
}

void removeUnit(WorldParts& world, Unit& unit) {
    leaveHold(world, unit);
    spillHold(world, unit);
    releaseCells(world, unit);
    closeEyes(world, unit);
    world.derived.buckets.remove(unit.slot(), unit.place);
    world.state.scripts.remove(unit);
    world.state.units.remove(unit, world.state.tick);
}

void moveUnitTo(WorldParts& world, Unit& unit, GroundPoint place) {
    releaseCells(world, unit);
    world.derived.buckets.move(unit.slot(), unit.place, place);
    unit.place = place;
    unit.altitude = restingAltitude(world.frame.terrain, *unit.type, place);
    unit.flight = {};
    takeCells(world, unit);
    lookAround(world, unit);
}

const Feature* placeFeature(WorldParts& world, std::uint32_t typeIndex, Cell northWest,
                            Angle heading) {
    const Terrain& terrain = world.frame.terrain;
    const FeatureType& type = world.frame.featureTypes[typeIndex];
    const CellRect cells{northWest, type.footprintX, type.footprintZ};
    if (!terrain.contains({northWest, 1, 1}) || world.state.features.isFull()) return nullptr;

    Feature feature;
    feature.type = typeIndex;
    feature.heading = heading;
    feature.health = type.health;
    feature.place = cells.center();
    feature.altitude = terrain.groundHeight(
        terrain.contains(feature.place) ? feature.place : CellRect{northWest, 1, 1}.center());
    const Feature& placed = world.state.features.add(feature);
    if (type.isBlocking)
        forEachCell(cells, [&](Cell cell) {
            takeCell(world, cell, {CellOwner::Kind::feature, placed.id});
        });
    forEachCell(cells, [&](Cell cell) {
        if (!terrain.contains({cell, 1, 1})) return;
        if (type.isGeothermal) world.frame.vents[world.frame.indexOf(cell)] = true;
        if (type.isDeposit)
            world.frame.metal[world.frame.indexOf(cell)] =
                static_cast<std::uint8_t>(std::clamp(type.metal, 0.0F, 255.0F));
    });
    return &placed;
}

void removeFeature(WorldParts& world, std::uint32_t id) {
    const Feature* const feature = world.state.features.find(id);
    if (!feature) return;
    const FeatureType& type = world.frame.featureTypes[feature->type];
    releaseAll(world, footprintAt(feature->place, type.footprintX, type.footprintZ),
               {CellOwner::Kind::feature, id});
    world.state.features.remove(id);
}

void replaceFeature(WorldParts& world, std::uint32_t id, std::int32_t follower) {
    const Feature* const feature = world.state.features.find(id);
    if (!feature) return;
    const GroundPoint place = feature->place;
    const Angle heading = feature->heading;
    removeFeature(world, id);
    world.events.add({world.state.tick, 0, nullptr, FeatureGone{id}});
    if (follower < 0) return;
    const auto index = static_cast<std::uint32_t>(follower);
    const FeatureType& type = world.frame.featureTypes[index];
    placeFeature(world, index, footprintAt(place, type.footprintX, type.footprintZ).corner,
                 heading);
}

Fixed restingAltitude(const Terrain& terrain, const UnitType& type, GroundPoint place) {
    const Fixed ground = terrain.groundHeight(place);
    const auto sea = Fixed::fromInt(terrain.seaLevel());
    if (type.canFly || type.limits.canHover) return std::max(ground, sea);
    if (type.floats) return std::max(ground, sea - Fixed::fromInt(type.waterline));
    return ground;
}

}  // namespace orb::sim
