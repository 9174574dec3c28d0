#pragma once

#include <algorithm>

#include "sim/numbers/angle.h"
#include "sim/rules.h"
#include "sim/units/unit_type.h"

namespace orb::sim {

inline constexpr std::int32_t kQuarterTurn = 16'384;

/// The fastest from which it can still stop on that way: v²/2b = s.
inline Fixed stoppingSpeed(Fixed distance, Fixed brakeRate) {
    const auto product = static_cast<std::uint64_t>(2 * std::int64_t{distance.raw()}) *
                         static_cast<std::uint64_t>(brakeRate.raw());
    return Fixed::fromWideRaw(squareRoot(product));
}

/// How fast it slows down: never so little that it rolls on for minutes, or creeps towards its goal
/// for as long.
inline Fixed brakeRateOf(const MoveLimits& limits) {
    return std::max(limits.brakeRate, limits.maxSpeed.over(rules::kMostBrakingTicks, Rounding::up));
}

/// As near to the wished speed as it gets in a tick.
inline Fixed changedSpeed(Fixed now, Fixed wished, const MoveLimits& limits) {
    return now < wished ? std::min(wished, now + limits.acceleration)
                        : std::max(wished, now - brakeRateOf(limits));
}

/// How fast it may go that far off its direction: slower the more it has to turn.
inline Fixed turningSpeed(Fixed most, std::int32_t offSteps) {
    if (offSteps <= -kQuarterTurn || offSteps >= kQuarterTurn) return {};
    return most.times(cosine(Angle::fromSteps(offSteps)), Rounding::down);
}

}  // namespace orb::sim
