#include "sim/work/yards.h"

#include <algorithm>

#include "sim/motion/giving_way.h"
#include "sim/rules.h"
#include "sim/scripts/piece_pose.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

/// Before its doors, where nobody has said where to.
GroundPoint usualRally(const WorldParts& world, const Unit& factory, const UnitType& product) {
    const std::int32_t cells = std::max(factory.type->footprintX, factory.type->footprintZ) / 2 +
                               std::max(product.footprintX, product.footprintZ) +
                               rules::kRallyCells;
    const Vector way = vectorOf(factory.heading, {}, Fixed::fromInt(cells * kCellPixels));
    return world.frame.terrain.clamped({factory.place.x + way.x, factory.place.z + way.z});
}

}  // namespace

Vector padOf(const WorldParts& world, const Unit& factory) {
    return pieceInWorld(world, factory, factory.labour.padPiece);
}

Angle padHeading(const WorldParts& world, const Unit& factory) {
    return pieceHeading(world, factory, factory.labour.padPiece);
}

void carryOnPad(WorldParts& world, const Unit& factory) {
    Unit* const frame = world.state.units.find(factory.labour.site);
    if (!frame || frame->isBuilt() || frame->isDying) return;
    const Vector pad = padOf(world, factory);
    const GroundPoint place = world.frame.terrain.clamped({pad.x, pad.z});
    if (place != frame->place) moveUnitTo(world, *frame, place);
    frame->altitude = pad.y;
    frame->heading = padHeading(world, factory);
}

bool isPadFree(WorldParts& world, Unit& factory, const UnitType& product) {
    const Vector pad = padOf(world, factory);
    const CellRect cells = footprintAt({pad.x, pad.z}, product.footprintX, product.footprintZ);
    bool isFree = true;
    forEachCell(cells, [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        if (owner.kind() != CellOwner::Kind::mobile) return;
        isFree = false;
        if (Unit* const unit = world.state.units.withId(owner.id()))
            makeRoom(world, *unit, factory);
    });
    return isFree;
}

void rollOut(WorldParts& world, Unit& factory, Unit& product) {
    product.altitude = restingAltitude(world.frame.terrain, *product.type, product.place);
    if (!product.type->canMove) return;
    Order out;
    out.kind = OrderKind::move;
    out.place = out.gathering = usualRally(world, factory, *product.type);
    product.orders = factory.rally;
    // Who is to patrol comes back to the doors.
    const auto patrol = std::ranges::find(product.orders, OrderKind::patrol, &Order::kind);
    if (patrol != product.orders.end()) {
        out.kind = OrderKind::patrol;
        product.orders.insert(patrol + 1, out);
    }
    if (product.orders.empty()) product.orders.push_back(out);
    product.motion.beginAnew();
}

}  // namespace orb::sim
