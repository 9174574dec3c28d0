#pragma once

#include <cstddef>
#include <cstdint>

#include "cob/cob_instance.h"

/// The motion of pieces. Scripts speak of COB units (65,536 linear units per model unit, 65,536
/// angular units per full turn); piece records hold model units and radians. Angles are computed in
/// 32-bit floats throughout: in double precision half a turn would land on the other side of pi.
namespace orb::unitview {

/// Radians in [-pi, pi) of a COB angle taken as unsigned 16-bit.
float radiansOfCobAngle(std::int32_t cobAngle);

/// The COB angle 0..65535 of radians, rounded.
std::int32_t cobAngleOfRadians(float radians);

/// The argument of an instruction that sets pieces in motion, converted for a record.
float offsetForAxis(std::int32_t linearUnits, std::size_t axis);  ///< negated for axis x
float angleForAxis(std::int32_t cobAngle, std::size_t axis);      ///< negated for axis z
float moveSpeedPerTick(std::int32_t linearUnitsPerSecond, float ticksPerSecond);
float turnSpeedPerTick(std::int32_t cobAnglePerSecond, float ticksPerSecond);
float spinSpeedPerTick(std::int32_t cobAnglePerSecond, float ticksPerSecond);  ///< keeps its sign
float spinAccelerationPerTick(std::int32_t units, float ticksPerSecond);

/// True when the current angle has reached its target, to the nearest COB angle.
bool isTurnDone(const CobPiece& piece, std::size_t axis);
/// True when the offset is within 0.001 model units of its target.
bool isMoveDone(const CobPiece& piece, std::size_t axis);

/// Moves a piece on by one tick: turns and spins on every axis, then moves. True when the record
/// changed.
bool advancePiece(CobPiece& piece);

}  // namespace orb::unitview
