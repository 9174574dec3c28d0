#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <set>

#include <gtest/gtest.h>

#include "sim/ground/cell.h"
#include "sim/numbers/angle.h"
#include "sim/numbers/random.h"

namespace orb::sim {
namespace {

TEST(Fixed, TakesNumbersOfFilesWithoutOverflow) {
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(Fixed::fromNumber(1e300).raw(), most);
    EXPECT_EQ(Fixed::fromNumber(-1e300).raw(), -most);
    EXPECT_EQ(Fixed::fromNumber(std::numeric_limits<double>::quiet_NaN()).raw(), 0);
    EXPECT_EQ(Fixed::fromNumber(-0.5).raw(), -32'768);
    EXPECT_EQ(Fixed::fromNumber(-0.5).floor(), -1);
    EXPECT_EQ(Fixed::fromNumber(1.5 / 65'536).raw(), 2);
    EXPECT_EQ((Fixed::fromInt(30'000) + Fixed::fromInt(30'000)).raw(), most);
    EXPECT_EQ(Fixed::fromInt(-2) - Fixed::fromNumber(0.25), Fixed::fromNumber(-2.25));
}

TEST(Fixed, ComparesDistancesAcrossTheLargestMap) {
    const Fixed far = Fixed::fromInt(32'752), none;
    const std::uint64_t diagonal = squaredDistance(none, none, far, far);
    EXPECT_EQ(diagonal, 2 * (std::uint64_t{32'752} << 8) * (std::uint64_t{32'752} << 8));
    EXPECT_EQ(diagonal, squaredDistance(far, none, none, far));
    EXPECT_GT(diagonal, squaredLength(far));
    EXPECT_EQ(squaredDistance(Fixed::fromInt(3), none, none, Fixed::fromInt(-4)),
              squaredLength(Fixed::fromInt(5)));
}

TEST(Fixed, RoundsAsNamed) {
    using enum Rounding;
    struct Case {
        std::int64_t dividend, divisor, down, up, towardsZero, nearest;
    };
    for (const Case& c :
         {Case{7, 2, 3, 4, 3, 4}, Case{-7, 2, -4, -3, -3, -4}, Case{7, -2, -4, -3, -3, -4},
          Case{-7, -2, 3, 4, 3, 4}, Case{4, 3, 1, 2, 1, 1}, Case{-5, 3, -2, -1, -1, -2},
          Case{6, -3, -2, -2, -2, -2}, Case{0, 5, 0, 0, 0, 0}}) {
        EXPECT_EQ(quotient(c.dividend, c.divisor, down), c.down) << c.dividend << '/' << c.divisor;
        EXPECT_EQ(quotient(c.dividend, c.divisor, up), c.up);
        EXPECT_EQ(quotient(c.dividend, c.divisor, towardsZero), c.towardsZero);
        EXPECT_EQ(quotient(c.dividend, c.divisor, nearest), c.nearest);
    }
    const Fixed least = Fixed::fromRaw(1), half = Fixed::fromNumber(0.5);
    EXPECT_EQ(least.times(half, down), Fixed());
    EXPECT_EQ(least.times(half, nearest), least);
    EXPECT_EQ((-least).times(half, nearest), -least);
    EXPECT_EQ((-least).times(half, down), -least);
    EXPECT_EQ((-least).times(half, up), Fixed());
    EXPECT_EQ(Fixed::fromInt(32'767).times(Fixed::fromInt(-1), down), Fixed::fromInt(-32'767));
    EXPECT_EQ(Fixed::fromInt(30'000).over(Fixed::fromInt(-4), down), Fixed::fromInt(-7'500));
    EXPECT_EQ(Fixed::fromRatio(-1, 3, down).raw(), -21'846);
    EXPECT_EQ(Fixed::fromRatio(-1, 3, nearest).raw(), -21'845);
    EXPECT_EQ(-Fixed::fromRaw(std::numeric_limits<std::int32_t>::min()),
              Fixed::fromRaw(std::numeric_limits<std::int32_t>::max()));
}

TEST(Fixed, TakesRootsAndLengthsToTheLastStep) {
    for (const std::uint64_t root : {1ULL, 2ULL, 3ULL, 255ULL, 256ULL, 65'535ULL, 65'536ULL,
                                     0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL}) {
        EXPECT_EQ(squareRoot(root * root), root);
        EXPECT_EQ(squareRoot(root * root - 1), root - 1);
        EXPECT_EQ(squareRoot(root * root + root), root);
    }
    EXPECT_EQ(squareRoot(0), 0U);
    EXPECT_EQ(squareRoot(std::numeric_limits<std::uint64_t>::max()), 0xFFFFFFFFU);

    const auto whole = [](int x, int y, int z) {
        return Vector{Fixed::fromInt(x), Fixed::fromInt(y), Fixed::fromInt(z)};
    };
    EXPECT_EQ(lengthOf(whole(2, -3, 6)), Fixed::fromInt(7));
    EXPECT_EQ(lengthOf(whole(-20'000, 0, 15'000)), Fixed::fromInt(25'000));
    // the corners of the space that numbers reach
    EXPECT_EQ(lengthOf(whole(-32'768, -32'768, -32'768)).raw(),
              std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(withLength(whole(0, -30'000, 0), Fixed::fromInt(12)), whole(0, -12, 0));
    EXPECT_EQ(withLength(whole(3, 0, -4), Fixed::fromInt(30'000)), whole(18'000, 0, -24'000));
    EXPECT_EQ(withLength(Vector{}, Fixed::fromInt(5)), Vector{});
}

TEST(Amount, HoldsWhatFilesSay) {
    const std::int64_t most = Amount::kMost;
    EXPECT_EQ(Amount::fromNumber(1e30).floor(), most);
    EXPECT_EQ(Amount::fromNumber(-1e30).floor(), -most);
    EXPECT_EQ(Amount::fromNumber(std::nan("")), Amount());
    EXPECT_EQ(Amount::fromNumber(-0.25).floor(), -1);
    EXPECT_EQ(Amount::fromInt(most).times(Fixed::fromInt(64), Rounding::down).floor(), most * 64);
    EXPECT_EQ(Amount::fromInt(-3).times(Fixed::fromNumber(0.5), Rounding::down),
              Amount::fromNumber(-1.5));
    EXPECT_EQ(Amount::fromRaw(-1).times(Fixed::fromNumber(0.5), Rounding::down).raw(), -1);
    EXPECT_EQ(Amount::fromRaw(-1).times(Fixed::fromNumber(0.25), Rounding::nearest).raw(), 0);
}

TEST(Angle, WrapsInAllQuadrants) {
    constexpr double kPi = std::numbers::pi;
    for (const auto& [radians, raw] : {std::pair{0.0, 0},
                                       {kPi / 2, 16'384},
                                       {kPi, 32'768},
                                       {-kPi / 2, 49'152},
                                       {2 * kPi, 0},
                                       {-1e-9, 0},
                                       {1001 * kPi, 32'768},
                                       {1e300 * 1e10, 0}})
        EXPECT_EQ(Angle::fromRadians(radians).raw(), raw) << radians;
    EXPECT_NEAR(Angle::fromDegrees(270).radians(), -kPi / 2, 1e-9);
    EXPECT_NEAR(Angle::fromDegrees(180).radians(), -kPi, 1e-9);
}

TEST(Angle, GoesTheShorterWayRound) {
    const auto angle = [](std::int64_t steps) { return Angle::fromSteps(steps); };
    EXPECT_EQ(shortestDifference(angle(65'000), angle(200)), 736);
    EXPECT_EQ(shortestDifference(angle(200), angle(65'000)), -736);
    EXPECT_EQ(shortestDifference(angle(0), angle(32'767)), 32'767);
    EXPECT_EQ(shortestDifference(angle(0), angle(32'768)), -32'768);
    EXPECT_EQ(turnedTowards(angle(100), angle(65'436), 150), angle(65'486));
    EXPECT_EQ(turnedTowards(angle(100), angle(65'436), 1'000), angle(65'436));
    EXPECT_EQ(angle(10) - angle(20), angle(65'526));
    EXPECT_EQ(-angle(0), angle(0));
}

TEST(Angle, SinesAreExactAllTheWayRound) {
    for (std::int32_t steps = 0; steps < 65'536; ++steps) {
        const double radians = steps * std::numbers::pi / 32'768;
        const Angle angle = Angle::fromSteps(steps);
        ASSERT_NEAR(sine(angle).raw(), std::sin(radians) * 65'536, 0.52) << steps;
        ASSERT_NEAR(cosine(angle).raw(), std::cos(radians) * 65'536, 0.52) << steps;
    }
    EXPECT_EQ(sine(Angle::fromDegrees(90)), Fixed::fromInt(1));
    EXPECT_EQ(sine(Angle::fromDegrees(-90)), Fixed::fromInt(-1));
    EXPECT_EQ(sine(Angle::fromDegrees(180)), Fixed());
}

TEST(Angle, OfVectorsPointsEastSouthAndUp) {
    const Fixed one = Fixed::fromInt(1), none;
    EXPECT_EQ(headingOf(none, one), Angle());
    EXPECT_EQ(headingOf(one, none).raw(), 16'384);
    EXPECT_EQ(headingOf(none, -one).raw(), 32'768);
    EXPECT_EQ(headingOf(-one, none).raw(), 49'152);
    EXPECT_EQ(headingOf(none, none), Angle());
    EXPECT_EQ(pitchOf({none, one, none}).steps(), 16'384);
    EXPECT_EQ(pitchOf({one, -one, none}).steps(), -8'192);

    for (std::int32_t steps = 0; steps < 65'536; steps += 7)
        for (const Fixed length : {Fixed::fromRaw(40'000), Fixed::fromInt(32'767)}) {
            const Angle angle = Angle::fromSteps(steps);
            const Vector way = vectorOf(angle, {}, length);
            ASSERT_EQ(headingOf(way.x, way.z), angle);
            const double exact = std::atan2(way.x.raw(), way.z.raw()) * 32'768 / std::numbers::pi;
            ASSERT_EQ(Angle::fromSteps(std::lround(exact)), angle);
        }
    // the farthest corners
    const Fixed far = Fixed::fromRaw(std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(headingOf(far, far).raw(), 40'960);
    EXPECT_EQ(headingOf(Fixed::fromRaw(1), far).raw(), 32'768);
    EXPECT_EQ(vectorOf(Angle::fromDegrees(90), Angle::fromDegrees(-30), Fixed::fromInt(100)),
              (Vector{Fixed::fromInt(100).times(cosine(Angle::fromDegrees(30)), Rounding::nearest),
                      Fixed::fromInt(100).times(sine(Angle::fromDegrees(-30)), Rounding::nearest),
                      none}));
}

TEST(Random, EveryPartOfTheKeyCounts) {
    const RandomKey key{1, 2, 3, RandomPurpose::spray, 4};
    std::set<std::uint64_t> seen{randomBits(key)};
    for (const RandomKey& other :
         {RandomKey{2, 2, 3, RandomPurpose::spray, 4}, RandomKey{1, 3, 3, RandomPurpose::spray, 4},
          RandomKey{1, 2, 4, RandomPurpose::spray, 4}, RandomKey{1, 2, 3, RandomPurpose::decay, 4},
          RandomKey{1, 2, 3, RandomPurpose::spray, 5}, RandomKey{1, 3, 2, RandomPurpose::spray, 4}})
        EXPECT_TRUE(seen.insert(randomBits(other)).second);
    // battles are compared between machines and releases
    EXPECT_EQ(randomBits(key), 4'436'665'248'674'916'100U);

    EXPECT_EQ(randomBetween(key, 7, 7), 7);
    EXPECT_EQ(randomBetween(key, 7, -7), 7);
    std::array<int, 6> counts{};
    for (std::uint32_t i = 0; i < 6'000; ++i)
        ++counts.at(static_cast<std::size_t>(
            randomBetween({1, 9, 3, RandomPurpose::script, i}, -2, 3) + 2));
    for (const int count : counts) EXPECT_NEAR(count, 1'000, 120);
    const std::int32_t least = std::numeric_limits<std::int32_t>::min(), most = -(least + 1);
    const std::int32_t any = randomBetween(key, least, most);
    EXPECT_NE(any, randomBetween({5, 5, 5}, least, most));
}

TEST(CellRect, FootprintsLieNearestToTheirMiddle) {
    const auto cornerAt = [](double x, std::int32_t cells) {
        return footprintAt({Fixed::fromNumber(x), {}}, cells, 1).corner.x;
    };
    // odd ones lie round a cell's centre, even ones round a corner
    EXPECT_EQ(cornerAt(0, 1), 0);
    EXPECT_EQ(cornerAt(15.99, 1), 0);
    EXPECT_EQ(cornerAt(16, 1), 1);
    EXPECT_EQ(cornerAt(23.99, 2), 0);
    EXPECT_EQ(cornerAt(24, 2), 1);
    EXPECT_EQ(cornerAt(7.99, 2), -1);
    EXPECT_EQ(cornerAt(100, 3), 5);
    EXPECT_EQ(cornerAt(-1, 1), -1);
    for (const std::int32_t cells : {1, 2, 3, 32}) {
        const CellRect rect{{40, 2'047 - cells}, cells, cells};
        EXPECT_EQ(footprintAt(rect.center(), cells, cells), rect);
    }
}

}  // namespace
}  // namespace orb::sim
