#include "sim/numbers/angle.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <utility>

// Sines and arc tangents come from tables of 1,025 values, made by the compiler out of whole
// numbers and read with straight lines between them: a library's sine differs from machine to
// machine in its last bit, and one bit changes a battle.

namespace orb::sim {
namespace {

constexpr std::int32_t kQuarterTurn = 16'384;
constexpr std::int32_t kHalfTurn = 2 * kQuarterTurn;

/// The tables' numbers have 30 bits behind the point.
constexpr int kTableBits = 30;
constexpr std::int64_t kTableOne = std::int64_t{1} << kTableBits;
constexpr std::int64_t kQuarterCircle = 1'686'629'713;  ///< pi / 2

constexpr std::size_t kTableSteps = 1'024;
using Table = std::array<std::int64_t, kTableSteps + 1>;

constexpr std::int64_t tableProduct(std::int64_t a, std::int64_t b) {
    return quotient(a * b, kTableOne, Rounding::nearest);
}

/// From 0 to a quarter turn.
constexpr Table makeSines() {
    Table sines{};
    for (std::size_t i = 0; i <= kTableSteps; ++i) {
        const std::int64_t x =
            quotient(kQuarterCircle * static_cast<std::int64_t>(i), kTableSteps, Rounding::nearest);
        // x - x³/3! + x⁵/5! - …
        std::int64_t term = x;
        for (std::int64_t n = 2; term != 0; n += 2) {
            sines[i] += term;
            term =
                -quotient(tableProduct(tableProduct(term, x), x), n * (n + 1), Rounding::nearest);
        }
    }
    return sines;
}

/// The arc tangents have so many bits behind the point of a step.
constexpr int kArcTangentBits = 14;

/// Of tangents from 0 to 1.
constexpr Table makeArcTangents() {
    Table angles{};
    for (std::size_t i = 0; i <= kTableSteps; ++i) {
        const std::int64_t x =
            kTableOne / static_cast<std::int64_t>(kTableSteps) * static_cast<std::int64_t>(i);
        const std::int64_t square = tableProduct(x, x);
        const auto overOnePlusSquare = [&](std::int64_t value) {
            return quotient(value * kTableOne, kTableOne + square, Rounding::nearest);
        };
        // Euler's series: each term is the one before times 2n / (2n + 1) times x² / (1 + x²).
        std::int64_t term = overOnePlusSquare(x), sum = 0;
        const std::int64_t ratio = overOnePlusSquare(square);
        for (std::int64_t n = 1; term != 0; ++n) {
            sum += term;
            term = quotient(term * ratio / kTableOne * 2 * n, 2 * n + 1, Rounding::down);
        }
        angles[i] = quotient(sum * (std::int64_t{kQuarterTurn} << kArcTangentBits), kQuarterCircle,
                             Rounding::nearest);
    }
    return angles;
}

constexpr Table kSines = makeSines();
constexpr Table kArcTangents = makeArcTangents();
/// Between entry `position / steps` of a table and the next.
std::int64_t between(const Table& table, std::int64_t position, std::int64_t steps) {
    const auto entry = static_cast<std::size_t>(position / steps);
    const std::int64_t rest = position % steps;
    if (rest == 0) return table[entry];
    return table[entry] +
           quotient((table[entry + 1] - table[entry]) * rest, steps, Rounding::nearest);
}

/// Of an angle from 0 to a quarter turn.
std::int32_t sineInQuarter(std::int32_t steps) {
    const std::int64_t value =
        between(kSines, steps, kQuarterTurn / static_cast<std::int64_t>(kTableSteps));
    return static_cast<std::int32_t>(
        quotient(value, kTableOne >> Fixed::kFractionBits, Rounding::nearest));
}

}  // namespace

Angle turnedTowards(Angle from, Angle to, std::int32_t mostSteps) {
    return from + Angle::fromSteps(std::clamp(shortestDifference(from, to), -mostSteps, mostSteps));
}

Fixed sine(Angle angle) {
    const std::int32_t steps = angle.raw() % kHalfTurn;
    const std::int32_t raw = sineInQuarter(std::min(steps, kHalfTurn - steps));
    return Fixed::fromRaw(angle.raw() < kHalfTurn ? raw : -raw);
}

Fixed cosine(Angle angle) {
    return sine(angle + Angle::fromSteps(kQuarterTurn));
}

Angle angleOf(std::int64_t opposite, std::int64_t along) {
    std::int64_t across = std::abs(opposite), ahead = std::abs(along);
    if (across == 0 && ahead == 0) return {};
    // What is beyond 33 bits cannot be told apart in an angle.
    constexpr std::int64_t kMost = std::int64_t{1} << 33;
    while (std::max(across, ahead) >= kMost) {
        across >>= 1;
        ahead >>= 1;
    }
    const auto [smaller, larger] = std::minmax({across, ahead});

    const std::int64_t tangent = quotient(smaller << kTableBits, larger, Rounding::nearest);
    const std::int64_t fine =
        between(kArcTangents, tangent, kTableOne / static_cast<std::int64_t>(kTableSteps));
    std::int64_t steps = quotient(fine, std::int64_t{1} << kArcTangentBits, Rounding::nearest);
    if (across > ahead) steps = kQuarterTurn - steps;
    if (along < 0) steps = kHalfTurn - steps;
    return Angle::fromSteps(opposite < 0 ? -steps : steps);
}

Vector vectorOf(Angle heading, Angle pitch, Fixed length) {
    if (pitch == Angle())
        return {length.times(sine(heading), Rounding::nearest),
                {},
                length.times(cosine(heading), Rounding::nearest)};
    const Fixed flat = length.times(cosine(pitch), Rounding::nearest);
    return {flat.times(sine(heading), Rounding::nearest),
            length.times(sine(pitch), Rounding::nearest),
            flat.times(cosine(heading), Rounding::nearest)};
}

}  // namespace orb::sim
