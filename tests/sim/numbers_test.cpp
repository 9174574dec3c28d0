#include <limits>
#include <numbers>

#include <gtest/gtest.h>

#include "sim/angle.h"
#include "sim/cell.h"

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
