#include "sim/fight/aim_points.h"

#include <algorithm>

#include "sim/scripts/piece_pose.h"
#include "sim/scripts/script_host.h"

namespace orb::sim {
namespace {

/// On the unit's axis, so high above its place as that share of its height.
Vector onAxis(const Unit& unit, std::int32_t part, std::int32_t whole) {
    Vector place = unit.position();
    place.y += unit.type->height.times(part).over(whole, Rounding::nearest);
    return place;
}

/// Turns the first of two axes towards the second.
void turn(Fixed& first, Fixed& second, Angle angle) {
    const std::int64_t sin = sine(angle).raw(), cos = cosine(angle).raw();
    const std::int64_t a = first.raw(), b = second.raw();
    const auto rounded = [](std::int64_t product) {
        return Fixed::fromWideRaw(quotient(product, Fixed::kOne, Rounding::nearest));
    };
    first = rounded(a * cos - b * sin);
    second = rounded(a * sin + b * cos);
}

}  // namespace

Vector worldToBody(const Unit& unit, const Vector& way) {
    // Undoes heading, pitch and roll, the last of which was turned by first.
    Vector result = way;
    turn(result.z, result.x, -unit.heading);
    turn(result.y, result.z, unit.pitch);
    turn(result.x, result.y, -unit.roll);
    return result;
}

Vector hitCenter(const WorldParts& world, const Unit& unit) {
    if (unit.sweetSpot < 0) return onAxis(unit, 1, 2);
    const Vector spot = pieceInWorld(world, unit, unit.sweetSpot);
    const bool isNear = squaredDistance(spot.x, spot.z, unit.place.x, unit.place.z) <=
                        squaredLength(hitRadius(*unit.type));
    return isNear ? spot : onAxis(unit, 1, 2);
}

Fixed hitRadius(const UnitType& type) {
    constexpr std::int32_t kHalfCell = kCellPixels / 2;
    return Fixed::fromInt(std::max(type.footprintX, type.footprintZ) * kHalfCell);
}

std::array<std::int32_t, 2> rocking(const Unit& unit, Angle heading) {
    const Angle own = heading - unit.heading;
    const auto part = [](Fixed share) { return share.times(rules::kMostRocking).floor(); };
    return {part(cosine(own)), part(sine(own))};
}

Vector aimPivot(WorldParts& world, Unit& unit, std::size_t slot) {
    const std::int32_t piece = queryPiece(world, unit, ofSlot(UnitScript::aimFromPrimary, slot));
    return piece >= 0 ? pieceInWorld(world, unit, piece) : hitCenter(world, unit);
}

Muzzle nextMuzzle(WorldParts& world, Unit& unit, std::size_t slot) {
    std::int32_t piece = -1;
    if (world.state.scripts.of(unit)) {
        piece = world.state.scripts.lifecycle().queryWeaponPiece(static_cast<std::int32_t>(unit.id),
                                                                 static_cast<int>(slot));
        actOnScript(world, unit);
    }
    if (piece >= 0) return {pieceInWorld(world, unit, piece), piece};
    return {onAxis(unit, rules::kMuzzleHeightParts, rules::kMuzzleHeightWhole), -1};
}

}  // namespace orb::sim
