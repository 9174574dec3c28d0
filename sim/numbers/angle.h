#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>

#include "sim/numbers/fixed.h"

namespace orb::sim {

/// A direction in 65,536 steps to the full turn, which wraps by itself. As a heading 0 faces +z
/// (south on the map) and grows towards +x (east); as a pitch it grows upwards.
class Angle {
public:
    constexpr Angle() = default;

    static constexpr Angle fromRaw(std::uint16_t raw) {
        Angle result;
        result.raw_ = raw;
        return result;
    }
    /// Steps in either direction, any number of turns of them.
    static constexpr Angle fromSteps(std::int64_t steps) {
        return fromRaw(static_cast<std::uint16_t>(steps));
    }
    /// The nearest step; what is no finite number is 0.
    static Angle fromTurns(double turns) {
        if (!std::isfinite(turns)) return {};
        const double fraction = turns - std::floor(turns);
        return fromRaw(static_cast<std::uint16_t>(std::lround(fraction * kFullTurn)));
    }
    static Angle fromRadians(double radians) { return fromTurns(radians / (2 * std::numbers::pi)); }
    static Angle fromDegrees(double degrees) { return fromTurns(degrees / 360); }

    constexpr std::uint16_t raw() const { return raw_; }
    /// From -32,768 up to 32,767: the shorter way from 0.
    constexpr std::int32_t steps() const { return static_cast<std::int16_t>(raw_); }
    /// From -pi up to, not including, pi.
    double radians() const { return steps() * (2 * std::numbers::pi / kFullTurn); }

    constexpr bool operator==(const Angle&) const = default;
    constexpr Angle operator+(Angle other) const { return fromSteps(raw_ + other.raw_); }
    constexpr Angle operator-(Angle other) const { return fromSteps(raw_ - other.raw_); }
    constexpr Angle operator-() const { return fromSteps(-std::int64_t{raw_}); }

private:
    static constexpr double kFullTurn = 65'536;

    std::uint16_t raw_ = 0;
};

/// The steps to go from one direction to another, from -32,768 up to 32,767; half a turn is
/// negative.
constexpr std::int32_t shortestDifference(Angle from, Angle to) {
    return (to - from).steps();
}

/// `from` turned towards `to` by at most so many steps, the shorter way round.
Angle turnedTowards(Angle from, Angle to, std::int32_t mostSteps);

/// Exact to the last step of a fixed number, the same on every machine.
Fixed sine(Angle angle);
Fixed cosine(Angle angle);

/// The angle of a right triangle between `along` and the longest side, in all four quadrants, to
/// the nearest step; 0 when both are 0. Lengths of any one unit, with up to 62 bits.
Angle angleOf(std::int64_t opposite, std::int64_t along);
inline Angle angleOf(Fixed opposite, Fixed along) {
    return angleOf(std::int64_t{opposite.raw()}, std::int64_t{along.raw()});
}

/// The heading from one place on the ground to another, by their difference.
inline Angle headingOf(Fixed x, Fixed z) {
    return angleOf(x, z);
}
/// How steeply a way goes up, from -16,384 to 16,384 steps.
inline Angle pitchOf(const Vector& way) {
    return angleOf(way.y, lengthOf(way.x, way.z));
}

/// A vector of this length in a direction.
Vector vectorOf(Angle heading, Angle pitch, Fixed length);

}  // namespace orb::sim
