#include "sim/cargo/landing_pads.h"

#include "sim/scripts/piece_pose.h"
#include "sim/scripts/script_host.h"

namespace orb::sim {
namespace {

/// Whose pads its current order sends it to.
UnitRef wishedOwner(const Unit& guest) {
    const bool lands = !guest.isDying && !guest.carrier && !guest.orders.empty() &&
                       guest.orders.front().kind == OrderKind::land;
    return lands ? guest.orders.front().target : UnitRef();
}

bool isFree(const Units& units, const Unit& owner, std::size_t pad) {
    const Unit* const guest = units.find(owner.pads.guests.at(pad));
    return owner.pads.pieces.at(pad) >= 0 && (!guest || wishedOwner(*guest) != owner.ref());
}

}  // namespace

bool isLanding(const Unit& unit) {
    return static_cast<bool>(wishedOwner(unit));
}

bool hasPads(const UnitType& type) {
    return type.indexOf(UnitScript::queryLandingPad) >= 0;
}

std::optional<Perch> perchOf(const Units& units, const Unit& guest) {
    const Unit* const owner = units.find(wishedOwner(guest));
    if (!owner) return std::nullopt;
    for (std::size_t pad = 0; pad < kPads; ++pad)
        if (owner->pads.guests.at(pad) == guest.ref())
            return Perch{owner->ref(), owner->pads.pieces.at(pad)};
    return std::nullopt;
}

std::optional<Perch> takePerch(WorldParts& world, const Unit& guest) {
    if (const auto perch = perchOf(world.state.units, guest)) return perch;
    Unit* const owner = world.state.units.find(wishedOwner(guest));
    if (!owner || isLanding(*owner)) return std::nullopt;
    // Asked at the first guest; a script that is loaded anew is asked again.
    if (owner->pads.pieces == UnitPads().pieces)
        queryPieces(world, *owner, UnitScript::queryLandingPad, owner->pads.pieces);
    for (std::size_t pad = 0; pad < kPads; ++pad) {
        if (!isFree(world.state.units, *owner, pad)) continue;
        owner->pads.guests.at(pad) = guest.ref();
        return Perch{owner->ref(), owner->pads.pieces.at(pad)};
    }
    return std::nullopt;
}

void ridePad(WorldParts& world, Unit& guest) {
    const auto perch = perchOf(world.state.units, guest);
    const Unit* const owner = perch ? world.state.units.find(perch->owner) : nullptr;
    if (!owner) return;
    const Vector piece = pieceInWorld(world, *owner, perch->piece);
    const GroundPoint place = world.frame.terrain.clamped({piece.x, piece.z});
    world.derived.buckets.move(guest.slot(), guest.place, place);
    guest.place = place;
    guest.altitude = piece.y;
    guest.heading = pieceHeading(world, *owner, perch->piece);
    guest.pitch = owner->pitch;
    guest.roll = owner->roll;
}

}  // namespace orb::sim
