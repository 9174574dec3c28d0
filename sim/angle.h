#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>

namespace orb::sim {

/// A direction in 65,536 steps to the full turn, which wraps by itself. As a heading 0 faces +z
/// (south on the map) and grows towards +x (east).
class Angle {
public:
    constexpr Angle() = default;

    static constexpr Angle fromRaw(std::uint16_t raw) {
        Angle result;
        result.raw_ = raw;
        return result;
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
    /// From -pi up to, not including, pi.
    double radians() const {
        return static_cast<std::int16_t>(raw_) * (2 * std::numbers::pi / kFullTurn);
    }

    constexpr bool operator==(const Angle&) const = default;

private:
    static constexpr double kFullTurn = 65'536;

    std::uint16_t raw_ = 0;
};

}  // namespace orb::sim
