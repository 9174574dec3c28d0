#include "sim/fight/obstacles.h"

#include <algorithm>

namespace orb::sim {
namespace {

/// Ways are looked at in pieces of at most so many pixels: half a cell.
constexpr std::int32_t kPieceLength = kCellPixels / 2;

Cell cellAt(GroundPoint place) {
    return {place.x.floor() / kCellPixels, place.z.floor() / kCellPixels};
}

Vector along(const Vector& from, const Vector& way, std::int32_t piece, std::int32_t pieces) {
    const auto part = [&](Fixed length) {
        return Fixed::fromWideRaw(
            quotient(std::int64_t{length.raw()} * piece, pieces, Rounding::nearest));
    };
    return from + Vector{part(way.x), part(way.y), part(way.z)};
}

}  // namespace

Fixed floorHeight(const WorldParts& world, GroundPoint place, Medium medium) {
    const Terrain& terrain = world.frame.terrain;
    const Fixed ground = terrain.groundHeight(place);
    return medium == Medium::water ? ground : std::max(ground, Fixed::fromInt(terrain.seaLevel()));
}

std::optional<Obstacle> firstObstacle(const WorldParts& world, const Vector& from,
                                      const Vector& way, Medium medium) {
    const Terrain& terrain = world.frame.terrain;
    const std::int32_t pieces = lengthOf(way).floor() / kPieceLength + 1;
    for (std::int32_t piece = 1; piece <= pieces; ++piece) {
        const Vector place = along(from, way, piece, pieces);
        const Fixed share = Fixed::fromRatio(piece, pieces, Rounding::down);
        const GroundPoint ground{place.x, place.z};
        if (!terrain.contains(ground)) return Obstacle{share, place, 0, true};
        const Fixed floor = floorHeight(world, ground, medium);
        if (place.y < floor) return Obstacle{share, {place.x, floor, place.z}};
        const CellOwner owner = world.state.occupancy.ownerOf(cellAt(ground));
        if (owner.kind() != CellOwner::Kind::feature) continue;
        const Feature* const feature = world.state.features.find(owner.id());
        if (!feature) continue;
        const FeatureType& type = world.frame.featureTypes[feature->type];
        if (place.y < feature->altitude + Fixed::fromInt(type.height))
            return Obstacle{share, place, feature->id};
    }
    return std::nullopt;
}

// Lengths are counted in 1/16 pixels: up to 2^15 of them in each direction, whose squares' squares
// fit 64 bits.
std::optional<Fixed> shareToSphere(const Vector& from, const Vector& way, const Vector& center,
                                   Fixed radius) {
    constexpr int kDroppedBits = 12;
    const auto coarse = [](Fixed length) { return std::int64_t{length.raw()} >> kDroppedBits; };
    const std::int64_t r = coarse(radius);
    const std::int64_t wayX = coarse(way.x), wayY = coarse(way.y), wayZ = coarse(way.z);
    const std::int64_t x = coarse(from.x - center.x), y = coarse(from.y - center.y),
                       z = coarse(from.z - center.z);
    const auto isApart = [&](std::int64_t offset, std::int64_t length) {
        return std::min(offset, offset + length) > r || std::max(offset, offset + length) < -r;
    };
    if (isApart(x, wayX) || isApart(y, wayY) || isApart(z, wayZ)) return std::nullopt;

    // |offset + t · way|² = r²
    const std::int64_t outside = x * x + y * y + z * z - r * r;
    if (outside <= 0) return Fixed();
    const std::int64_t length = wayX * wayX + wayY * wayY + wayZ * wayZ;
    const std::int64_t towards = -(x * wayX + y * wayY + z * wayZ);
    const std::int64_t square = towards * towards - length * outside;
    if (towards <= 0 || square < 0) return std::nullopt;
    const std::int64_t root = squareRoot(static_cast<std::uint64_t>(square));
    const std::int64_t share = quotient((towards - root) * Fixed::kOne, length, Rounding::down);
    if (share > Fixed::kOne) return std::nullopt;
    return Fixed::fromWideRaw(share);
}

}  // namespace orb::sim
