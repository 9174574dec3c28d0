#include "sim/scripts/piece_pose.h"

#include <algorithm>
#include <cmath>

namespace orb::sim {
namespace {

using unitview::CobPiece;

struct Turn {
    Fixed sine;
    Fixed cosine;
    explicit Turn(Angle angle) : sine(sim::sine(angle)), cosine(sim::cosine(angle)) {}

    /// Turns the first of two axes towards the second.
    void apply(Fixed& first, Fixed& second) const {
        const auto product = [](Fixed a, Fixed b) { return std::int64_t{a.raw()} * b.raw(); };
        const auto rounded = [](std::int64_t sum) {
            return Fixed::fromWideRaw(quotient(sum, Fixed::kOne, Rounding::nearest));
        };
        const Fixed before = first;
        first = rounded(product(before, cosine) - product(second, sine));
        second = rounded(product(before, sine) + product(second, cosine));
    }
};

/// About z, then x, then y: what is outermost comes last.
void turn(Vector& way, Angle aboutX, Angle aboutY, Angle aboutZ) {
    if (aboutZ != Angle()) Turn(aboutZ).apply(way.x, way.y);
    if (aboutX != Angle()) Turn(aboutX).apply(way.y, way.z);
    if (aboutY != Angle()) Turn(aboutY).apply(way.z, way.x);
}

Fixed roundedOffset(float modelUnits) {
    constexpr double kSteps = 256;
    constexpr double kMost = 32'767;
    if (std::isnan(modelUnits)) return {};
    const double offset = std::clamp<double>(modelUnits, -kMost, kMost);
    return Fixed::fromNumber(std::round(offset * kSteps) / kSteps);
}

Angle roundedAngle(float radians) {
    return Angle::fromRadians(radians);
}

}  // namespace

Vector bodyToWorld(const Unit& unit, const Vector& way) {
    Vector result = way;
    turn(result, -unit.pitch, unit.heading, unit.roll);
    return result;
}

Vector pieceInWorld(const WorldParts& world, const Unit& unit, std::int32_t modelPiece) {
    const unitview::CobInstance* const instance = world.state.scripts.of(unit);
    const auto& atRest = unit.type->piecesAtRest;
    const auto isPiece = [&](std::int32_t piece) {
        return piece >= 0 && static_cast<std::size_t>(piece) < atRest.size();
    };
    Vector place;
    for (std::int32_t piece = modelPiece; isPiece(piece);) {
        const auto index = static_cast<std::size_t>(piece);
        place = place + atRest[index].offset;
        if (instance && index < instance->pieces.size()) {
            const auto& [x, y, z] = instance->pieces[index].offset;
            place = place + Vector{roundedOffset(x), roundedOffset(y), roundedOffset(z)};
        }
        piece = atRest[index].parent;
        if (!instance || !isPiece(piece)) continue;
        const auto& [x, y, z] = instance->pieces[static_cast<std::size_t>(piece)].angle;
        turn(place, roundedAngle(x), roundedAngle(y), roundedAngle(z));
    }
    return unit.position() + bodyToWorld(unit, place);
}

Angle pieceHeading(const WorldParts& world, const Unit& unit, std::int32_t modelPiece) {
    const unitview::CobInstance* const instance = world.state.scripts.of(unit);
    const auto& atRest = unit.type->piecesAtRest;
    Angle heading = unit.heading;
    if (!instance) return heading;
    for (std::int32_t piece = modelPiece;
         piece >= 0 && static_cast<std::size_t>(piece) < atRest.size() &&
         static_cast<std::size_t>(piece) < instance->pieces.size();
         piece = atRest[static_cast<std::size_t>(piece)].parent)
        heading =
            heading + roundedAngle(instance->pieces[static_cast<std::size_t>(piece)].angle[1]);
    return heading;
}

}  // namespace orb::sim
