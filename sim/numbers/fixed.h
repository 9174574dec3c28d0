#pragma once

#include <algorithm>
#include <cassert>
#include <cmath>
#include <compare>
#include <cstdint>
#include <limits>

namespace orb::sim {

/// What becomes of the part of a quotient that does not fit: `nearest` takes halves away from zero.
enum class Rounding { down, up, towardsZero, nearest };

/// `dividend / divisor`, which is not 0 and whose double fits 64 bits.
constexpr std::int64_t quotient(std::int64_t dividend, std::int64_t divisor, Rounding rounding) {
    assert(divisor != 0);
    const std::int64_t towardsZero = dividend / divisor;
    const std::int64_t rest = dividend % divisor;
    if (rest == 0) return towardsZero;
    const bool isNegative = (rest < 0) != (divisor < 0);
    const std::int64_t away = towardsZero + (isNegative ? -1 : 1);
    const auto size = [](std::int64_t value) { return value < 0 ? -value : value; };
    switch (rounding) {
        case Rounding::down:
            return isNegative ? away : towardsZero;
        case Rounding::up:
            return isNegative ? towardsZero : away;
        case Rounding::nearest:
            return 2 * size(rest) >= size(divisor) ? away : towardsZero;
        case Rounding::towardsZero:
            break;
    }
    return towardsZero;
}

/// The largest whole number whose square is no larger.
inline std::uint32_t squareRoot(std::uint64_t square) {
    // A double's root is near; what it is off by, on whatever machine, is put right in whole
    // numbers.
    constexpr std::uint64_t kMost = 0xFFFFFFFF;
    auto root = std::min(kMost, static_cast<std::uint64_t>(std::sqrt(static_cast<double>(square))));
    while (root * root > square) --root;
    while (root < kMost && (root + 1) * (root + 1) <= square) ++root;
    return static_cast<std::uint32_t>(root);
}

/// A number with 16 bits before and 16 bits behind the point, the same on every machine. Places are
/// in map pixels: the largest map has 32,752 of them a side. Sums stop at the ends of the range;
/// that products and quotients stay within is asserted, and in builds without assertions they stop
/// there too.
class Fixed {
public:
    constexpr Fixed() = default;

    /// In steps of 1/65536.
    static constexpr Fixed fromRaw(std::int32_t raw) {
        Fixed result;
        result.raw_ = raw;
        return result;
    }
    /// The same of a longer computation; stops at the ends of the range.
    static constexpr Fixed fromWideRaw(std::int64_t raw) { return fromRaw(clampedRaw(raw)); }
    static constexpr Fixed fromInt(std::int32_t value) {
        return fromWideRaw(std::int64_t{value} * kOne);
    }
    /// `dividend / divisor`, which is not 0.
    static constexpr Fixed fromRatio(std::int32_t dividend, std::int32_t divisor,
                                     Rounding rounding) {
        return checked(sim::quotient(std::int64_t{dividend} * kOne, divisor, rounding));
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
        return fromWideRaw(std::int64_t{raw_} + other.raw_);
    }
    constexpr Fixed operator-(Fixed other) const {
        return fromWideRaw(std::int64_t{raw_} - other.raw_);
    }
    constexpr Fixed operator-() const { return fromWideRaw(-std::int64_t{raw_}); }
    constexpr Fixed& operator+=(Fixed other) { return *this = *this + other; }
    constexpr Fixed& operator-=(Fixed other) { return *this = *this - other; }

    constexpr Fixed times(Fixed factor, Rounding rounding) const {
        return checked(sim::quotient(std::int64_t{raw_} * factor.raw_, kOne, rounding));
    }
    constexpr Fixed times(std::int32_t factor) const {
        return checked(std::int64_t{raw_} * factor);
    }
    /// The divisor is not 0.
    constexpr Fixed over(Fixed divisor, Rounding rounding) const {
        return checked(sim::quotient(std::int64_t{raw_} * kOne, divisor.raw_, rounding));
    }
    constexpr Fixed over(std::int32_t divisor, Rounding rounding) const {
        return checked(sim::quotient(raw_, divisor, rounding));
    }

    static constexpr int kFractionBits = 16;
    static constexpr std::int32_t kOne = 1 << kFractionBits;

private:
    static constexpr std::int32_t clampedRaw(std::int64_t raw) {
        return static_cast<std::int32_t>(
            std::clamp<std::int64_t>(raw, std::numeric_limits<std::int32_t>::min(),
                                     std::numeric_limits<std::int32_t>::max()));
    }
    static constexpr Fixed checked(std::int64_t raw) {
        const Fixed result = fromWideRaw(raw);
        assert(result.raw_ == raw);
        return result;
    }

    std::int32_t raw_ = 0;
};

constexpr Fixed absolute(Fixed value) {
    return value < Fixed() ? -value : value;
}

/// A quantity that a fixed number is too small for, with as many bits behind the point: stocks and
/// hit points. What files and requests give stays within ± `kMost`, so sums of millions of them
/// fit.
class Amount {
public:
    constexpr Amount() = default;

    /// In steps of 1/65536.
    static constexpr Amount fromRaw(std::int64_t raw) {
        Amount result;
        result.raw_ = raw;
        return result;
    }
    static constexpr Amount fromInt(std::int64_t value) {
        return fromRaw(std::clamp(value, -kMost, kMost) * Fixed::kOne);
    }
    /// A number of a file or request: rounded to the nearest step and clamped; what is no number is
    /// 0.
    static Amount fromNumber(double value) {
        if (std::isnan(value)) return {};
        const auto most = static_cast<double>(kMost);
        return fromRaw(std::llround(std::clamp(value, -most, most) * Fixed::kOne));
    }

    constexpr std::int64_t raw() const { return raw_; }
    /// The next lower whole number.
    constexpr std::int64_t floor() const { return raw_ >> Fixed::kFractionBits; }
    /// The next higher one.
    constexpr std::int64_t ceil() const { return -(-raw_ >> Fixed::kFractionBits); }
    constexpr double toNumber() const { return static_cast<double>(raw_) / Fixed::kOne; }

    constexpr auto operator<=>(const Amount&) const = default;
    constexpr Amount operator+(Amount other) const { return fromRaw(raw_ + other.raw_); }
    constexpr Amount operator-(Amount other) const { return fromRaw(raw_ - other.raw_); }
    constexpr Amount operator-() const { return fromRaw(-raw_); }
    constexpr Amount& operator+=(Amount other) { return *this = *this + other; }
    constexpr Amount& operator-=(Amount other) { return *this = *this - other; }

    /// Times a factor between -64 and 64, of an amount that is no larger than `kMost`.
    constexpr Amount times(Fixed factor, Rounding rounding) const {
        assert(raw_ <= kMost * Fixed::kOne && raw_ >= -kMost * Fixed::kOne);
        assert(absolute(factor) <= Fixed::fromInt(64));
        // 2^56 by 2^22 is too much at once.
        const std::int64_t whole = raw_ >> Fixed::kFractionBits;
        const std::int64_t fraction = raw_ & (Fixed::kOne - 1);
        return fromRaw(whole * factor.raw() +
                       quotient(fraction * factor.raw(), Fixed::kOne, rounding));
    }

    static constexpr std::int64_t kMost = std::int64_t{1} << 40;

private:
    std::int64_t raw_ = 0;
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

/// A place in space or the way from one to another: x to the east, y up, z to the south.
struct Vector {
    Fixed x;
    Fixed y;
    Fixed z;

    constexpr bool operator==(const Vector&) const = default;
    constexpr Vector operator+(const Vector& other) const {
        return {x + other.x, y + other.y, z + other.z};
    }
    constexpr Vector operator-(const Vector& other) const {
        return {x - other.x, y - other.y, z - other.z};
    }
    constexpr Vector operator-() const { return {-x, -y, -z}; }
};

/// Rounded down to a step, and at most the largest number. Three squares of 2^31 fit 64 bits.
inline Fixed lengthOf(const Vector& vector) {
    const auto square = [](Fixed part) {
        const std::int64_t raw = part.raw();
        return static_cast<std::uint64_t>(raw * raw);
    };
    return Fixed::fromWideRaw(squareRoot(square(vector.x) + square(vector.y) + square(vector.z)));
}
inline Fixed lengthOf(Fixed x, Fixed z) {
    return lengthOf(Vector{x, {}, z});
}

/// `vector` made so long; one without length stays as it is.
inline Vector withLength(const Vector& vector, Fixed length) {
    const std::int64_t now = lengthOf(vector).raw();
    if (now == 0) return vector;
    const auto part = [&](Fixed value) {
        return Fixed::fromWideRaw(
            quotient(std::int64_t{value.raw()} * length.raw(), now, Rounding::nearest));
    };
    return {part(vector.x), part(vector.y), part(vector.z)};
}

}  // namespace orb::sim
