#include "sim/cargo/cargo.h"

#include <algorithm>

#include "sim/cargo/landing_pads.h"
#include "sim/motion/ground_motion.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/scripts/piece_pose.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

/// Whoever carries it moves it with the piece that it stands on.
void ride(WorldParts& world, const Unit& carrier, Unit& load) {
    const Vector piece = pieceInWorld(world, carrier, load.carrierPiece);
    const GroundPoint place = world.frame.terrain.clamped({piece.x, piece.z});
    world.derived.buckets.move(load.slot(), load.place, place);
    load.place = place;
    load.altitude = piece.y;
    load.heading = pieceHeading(world, carrier, load.carrierPiece);
    load.pitch = carrier.pitch;
    load.roll = carrier.roll;
}

/// From edge to edge.
Fixed distanceBetween(const Unit& carrier, const Unit& load) {
    const CellRect cells = load.cells();
    const Fixed half = Fixed::fromInt(std::max(cells.width, cells.depth) * kCellPixels / 2);
    return std::max(Fixed(), distanceFrom(carrier.cells(), load.place) - half);
}

/// Where somebody should come down whom a carrier's script lets go.
GroundPoint dropPlace(const Unit& carrier, const Unit& load) {
    const bool unloads =
        !carrier.orders.empty() && carrier.orders.front().kind == OrderKind::unload;
    return unloads && carrier.hold.handled == load.ref() ? carrier.hold.place : load.place;
}

}  // namespace

Fixed distanceFrom(const CellRect& cells, GroundPoint place) {
    const auto outside = [](Fixed value, std::int32_t corner, std::int32_t size) {
        return value - std::clamp(value, Fixed::fromInt(corner * kCellPixels),
                                  Fixed::fromInt((corner + size) * kCellPixels));
    };
    return lengthOf(outside(place.x, cells.corner.x, cells.width),
                    outside(place.z, cells.corner.z, cells.depth));
}

bool canBeCarried(const UnitType& type) {
    return type.canBeCarried && !type.isBuilding && !type.canFly;
}

bool fitsHold(const UnitType& carrier, const UnitType& load) {
    const std::int32_t most = carrier.hold.mostFootprint;
    return carrier.hold.capacity > 0 && canBeCarried(load) &&
           (most == 0 || std::max(load.footprintX, load.footprintZ) <= most);
}

bool mayCarry(const Unit& carrier, const Unit& load) {
    return &carrier != &load && carrier.isPresent() && carrier.isBuilt() && load.isPresent() &&
           load.isBuilt() && load.player == carrier.player && load.hold.cargo.empty() &&
           fitsHold(*carrier.type, *load.type) &&
           carrier.hold.cargo.size() < static_cast<std::size_t>(carrier.type->hold.capacity);
}

void takeAboard(WorldParts& world, Unit& carrier, Unit& load, std::int32_t piece) {
    releaseCells(world, load);
    load.carrier = carrier.ref();
    load.carrierPiece = piece;
    load.orders.clear();
    load.motion.speed = {};
    load.motion.beginAnew();
    carrier.hold.cargo.push_back(load.ref());
    ride(world, carrier, load);
}

bool putDown(WorldParts& world, Unit& load, GroundPoint place) {
    const auto there = freePlaceNear(groundOf(world), *load.type, place, 1, rules::kUnloadRings);
    if (!there) return false;
    leaveHold(world, load);
    moveUnitTo(world, load, *there);
    load.pitch = load.roll = {};
    settleOnGround(world, load);
    return true;
}

void attachByScript(WorldParts& world, Unit& carrier, std::int32_t id, std::int32_t piece) {
    Unit* const load = world.state.units.withId(id);
    if (!load) return;
    if (load->carrier && load->carrier == carrier.ref()) {
        load->carrierPiece = piece;
    } else if (mayCarry(carrier, *load) &&
               distanceBetween(carrier, *load) <= rules::kLoadDistance) {
        takeAboard(world, carrier, *load, piece);
    }
}

void dropByScript(WorldParts& world, Unit& carrier, std::int32_t id) {
    Unit* const load = world.state.units.withId(id);
    if (load && load->carrier && load->carrier == carrier.ref())
        putDown(world, *load, dropPlace(carrier, *load));
}

void leaveHold(WorldParts& world, Unit& load) {
    Unit* const carrier = world.state.units.find(load.carrier);
    load.carrier = {};
    load.carrierPiece = -1;
    if (carrier) std::erase(carrier->hold.cargo, load.ref());
}

void spillHold(WorldParts& world, Unit& carrier) {
    const std::vector<UnitRef> cargo = carrier.hold.cargo;
    for (const UnitRef ref : cargo)
        if (Unit* const load = world.state.units.find(ref);
            load && !putDown(world, *load, load->place)) {
            leaveHold(world, *load);
            moveUnitTo(world, *load, load->place);
        }
}

void stepCargo(WorldParts& world, TickScratch&) {
    for (Unit& unit : world.state.units) {
        if (unit.flight.stage == FlightStage::perched) ridePad(world, unit);
        if (unit.carrier)
            if (const Unit* const carrier = world.state.units.find(unit.carrier))
                ride(world, *carrier, unit);
    }
}

}  // namespace orb::sim
