#pragma once

#include <optional>

#include "sim/numbers/angle.h"

namespace orb::sim {

/// The lower or the higher of two arcs that meet a point.
enum class Arc : std::uint8_t { low, high };

/// How steeply something must be thrown at `speed` (pixels a tick, more than 0), falling by
/// `gravity` (pixels a tick for each tick), to pass through a point so far away and so much higher;
/// none when it cannot get there. Without gravity both arcs are the straight line.
std::optional<Angle> throwPitch(Fixed distance, Fixed rise, Fixed speed, Fixed gravity, Arc arc);

/// Where something flies whose velocity was `velocity` and which has fallen freely for one tick.
/// Returns its way; afterwards `velocity` is that at the tick's end. The ways of n ticks add up to
/// the exact parabola.
Vector fallOneTick(Vector& velocity, Fixed gravity);

/// A direction of flight turned towards another by at most so many steps, the shortest way round in
/// space. One without length stays as it is.
Vector turnedTowards(const Vector& from, const Vector& to, std::int32_t mostSteps);

}  // namespace orb::sim
