#include "sim/fight/ballistics.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

namespace orb::sim {
namespace {

const Fixed kGravity = Fixed::fromNumber(112.0 / 900);

Fixed number(double value) {
    return Fixed::fromNumber(value);
}

/// How far above the point something thrown passes, flown tick by tick.
double missAt(Fixed distance, Fixed rise, Fixed speed, Arc arc) {
    const auto pitch = throwPitch(distance, rise, speed, kGravity, arc);
    if (!pitch) return 1e9;
    Vector velocity = vectorOf({}, *pitch, speed), place{};
    while (true) {
        const Vector before = place;
        place = place + fallOneTick(velocity, kGravity);
        if (place.z < distance) continue;
        const double share = (distance - before.z).toNumber() / (place.z - before.z).toNumber();
        const double height = before.y.toNumber() + share * (place.y - before.y).toNumber();
        return height - rise.toNumber();
    }
}

TEST(Ballistics, BothArcsMeetThePoint) {
    for (const double distance : {40.0, 300.0, 480.0})
        for (const double rise : {-60.0, 0.0, 90.0}) {
            const Fixed d = number(distance), h = number(rise), v = number(10);
            // a tick's way bends, and a pitch is rounded to its step
            EXPECT_NEAR(missAt(d, h, v, Arc::low), 0, 0.2) << distance << ' ' << rise;
            EXPECT_NEAR(missAt(d, h, v, Arc::high), 0, 2.5) << distance << ' ' << rise;
            EXPECT_GT(throwPitch(d, h, v, kGravity, Arc::high)->steps(),
                      throwPitch(d, h, v, kGravity, Arc::low)->steps());
        }
}

TEST(Ballistics, KnowsItsReach) {
    const Fixed v = number(10);
    const double reach = 100 / kGravity.toNumber();
    EXPECT_TRUE(throwPitch(number(reach - 1), {}, v, kGravity, Arc::low));
    EXPECT_FALSE(throwPitch(number(reach + 1), {}, v, kGravity, Arc::low));
    EXPECT_FALSE(throwPitch(number(reach + 1), {}, v, kGravity, Arc::high));
    // straight up, and over the edge
    EXPECT_EQ(throwPitch({}, number(100), v, kGravity, Arc::low)->steps(), 16'384);
    EXPECT_FALSE(throwPitch({}, number(reach), v, kGravity, Arc::low));
    EXPECT_EQ(throwPitch({}, number(-100), v, kGravity, Arc::low)->steps(), -16'384);
}

TEST(Ballistics, StaysWithinItsNumbers) {
    const Fixed far = number(32'767), fast = number(1'024), least = Fixed::fromRaw(1);
    // against the exact formula
    const auto exact = [](double d, double h, double v, double g) {
        const double a = v * v / g;
        return std::atan((a - std::sqrt(a * a - d * d - 2 * h * a)) / d) * 32'768 /
               std::numbers::pi;
    };
    for (const Fixed rise : {number(-32'767), Fixed(), number(32'767)}) {
        EXPECT_NEAR(throwPitch(far, rise, fast, kGravity, Arc::low)->steps(),
                    exact(32'767, rise.toNumber(), 1'024, kGravity.toNumber()), 2);
        EXPECT_NEAR(throwPitch(far, rise, fast, least, Arc::low)->steps(),
                    pitchOf({far, rise, {}}).steps(), 1);
        EXPECT_NEAR(throwPitch(far, rise, fast, number(20), Arc::low).value_or(Angle()).steps(),
                    exact(32'767, rise.toNumber(), 1'024, 20) > -1e9
                        ? exact(32'767, rise.toNumber(), 1'024, 20)
                        : 0,
                    2);
    }
    EXPECT_FALSE(throwPitch(far, {}, least, kGravity, Arc::low));
    EXPECT_EQ(throwPitch(far, -far, number(1), {}, Arc::low)->steps(), -8'192);
}

}  // namespace
}  // namespace orb::sim
