#pragma once

#include <algorithm>
#include <cmath>
#include <compare>
#include <cstdint>
#include <limits>

namespace orb::sim {

/// A number with 16 bits before and 16 bits behind the point, the same on every machine. Places are
/// in map pixels: the largest map has 32,752 of them a side.
class Fixed {
public:
    constexpr Fixed() = default;

    /// In steps of 1/65536.
    static constexpr Fixed fromRaw(std::int32_t raw) {
        Fixed result;
        result.raw_ = raw;
        return result;
    }
    static constexpr Fixed fromInt(std::int32_t value) {
        return fromRaw(clampedRaw(std::int64_t{value} * kOne));
    }
    /// A number of a file or request: rounded to the nearest step, clamped into the range; what is
    /// no number is 0.
    static Fixed fromNumber(double value) {
        if (std::isnan(value)) return {};
        const double limit = std::numeric_limits<std::int32_t>::max();
        return fromRaw(
            static_cast<std::int32_t>(std::round(std::clamp(value * kOne, -limit, limit))));
    }

    constexpr std::int32_t raw() const { return raw_; }
    /// The next lower whole number.
    constexpr std::int32_t floor() const { return raw_ >> kFractionBits; }
    constexpr double toNumber() const { return static_cast<double>(raw_) / kOne; }

    constexpr auto operator<=>(const Fixed&) const = default;
    constexpr Fixed operator+(Fixed other) const {
        return fromRaw(clampedRaw(std::int64_t{raw_} + other.raw_));
    }
    constexpr Fixed operator-(Fixed other) const {
        return fromRaw(clampedRaw(std::int64_t{raw_} - other.raw_));
    }

    static constexpr int kFractionBits = 16;
    static constexpr std::int32_t kOne = 1 << kFractionBits;

private:
    static constexpr std::int32_t clampedRaw(std::int64_t raw) {
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(raw, std::numeric_limits<std::int32_t>::min(),
                                     std::numeric_limits<std::int32_t>::max()));
    }

    std::int32_t raw_ = 0;
};

/// The square of a distance in units of 2^-16 px²: both parts lose their lowest 8 bits, so that the
/// sum of the squares of the largest differences (2^33) stays below 2^52.
constexpr std::uint64_t squaredDistance(Fixed x1, Fixed z1, Fixed x2, Fixed z2) {
    constexpr int kDroppedBits = 8;
    const auto part = [](Fixed a, Fixed b) {
        const std::int64_t difference = (std::int64_t{a.raw()} - b.raw()) >> kDroppedBits;
        return static_cast<std::uint64_t>(difference * difference);
    };
    return part(x1, x2) + part(z1, z2);
}

/// The same of a length, to compare with.
constexpr std::uint64_t squaredLength(Fixed length) {
    return squaredDistance(length, {}, {}, {});
}

}  // namespace orb::sim
