#include "sim/fight/ballistics.h"

#include <algorithm>

namespace orb::sim {
namespace {

/// Lengths are counted in 1/256 pixels here, which leaves room for their squares.
constexpr int kDroppedBits = 8;
constexpr std::int64_t kLargestReach = std::int64_t{1} << 31;

std::int64_t coarse(Fixed length) {
    return length.raw() >> kDroppedBits;
}

}  // namespace

// With a = v²/g the tangents of both pitches are (a ∓ √(a² − d² − 2·rise·a)) / d. The lower one is
// taken as (d² + 2·rise·a) / (d · (a + √…)), which is the same number without the difference of two
// that are nearly equal.
std::optional<Angle> throwPitch(Fixed distance, Fixed rise, Fixed speed, Fixed gravity, Arc arc) {
    if (gravity <= Fixed()) return angleOf(rise, distance);
    const std::int64_t d = coarse(distance), h = coarse(rise);
    const std::int64_t v = speed.raw();
    const std::int64_t reach = (v * v / gravity.raw()) >> kDroppedBits;
    if (reach >= kLargestReach) {
        // Nearly straight: 2a - rise' for a + √…, where rise' = rise + d²/2a. High arcs leave any
        // map.
        if (arc == Arc::high) return std::nullopt;
        const std::int64_t higher = h + d * d / (2 * reach);
        return angleOf(higher + higher * higher / (2 * reach), d);
    }
    const std::int64_t sum = d * d + 2 * h * reach;
    const std::int64_t square = reach * reach - sum;
    if (square < 0) return std::nullopt;
    const std::int64_t root = squareRoot(static_cast<std::uint64_t>(square));
    if (arc == Arc::high) return angleOf(reach + root, d);
    return angleOf(sum, d * (reach + root));
}

Vector fallOneTick(Vector& velocity, Fixed gravity) {
    Vector way = velocity;
    velocity.y -= gravity;
    way.y -= gravity.over(2, Rounding::nearest);
    return way;
}

Vector turnedTowards(const Vector& from, const Vector& to, std::int32_t mostSteps) {
    // Directions have this length, so that products of two fit 64 bits.
    constexpr Fixed kLength = Fixed::fromInt(256);
    const auto scaled = [&](std::int64_t product) {
        return quotient(product, kLength.raw(), Rounding::nearest);
    };
    const auto product = [](Fixed a, Fixed b) { return std::int64_t{a.raw()} * b.raw(); };
    const Vector now = withLength(from, kLength), wish = withLength(to, kLength);
    if (now == Vector() || wish == Vector()) return from;
    const std::int64_t along =
        scaled(product(now.x, wish.x) + product(now.y, wish.y) + product(now.z, wish.z));
    // What of the wish lies across.
    const auto across = [&](Fixed wished, Fixed part) {
        return wished - Fixed::fromWideRaw(scaled(part.raw() * along));
    };
    Vector side{across(wish.x, now.x), across(wish.y, now.y), across(wish.z, now.z)};
    if (angleOf(lengthOf(side).raw(), along).raw() <= mostSteps) return to;
    if (side == Vector()) side = {-now.z, {}, now.x};  // to what lies behind, over its left
    if (side == Vector()) side = {kLength, {}, {}};
    side = withLength(side, kLength);
    const Angle turn = Angle::fromSteps(std::clamp(mostSteps, 0, 32'768));
    const auto turned = [&](Fixed ahead, Fixed aside) {
        return Fixed::fromWideRaw(
            quotient(product(ahead, cosine(turn)) + product(aside, sine(turn)), Fixed::kOne,
                     Rounding::nearest));
    };
    return {turned(now.x, side.x), turned(now.y, side.y), turned(now.z, side.z)};
}

}  // namespace orb::sim
