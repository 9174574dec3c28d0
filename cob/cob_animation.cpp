#include "cob/cob_animation.h"

#include <cmath>

#include "cob/cob_units.h"
#include "cob/wrapping.h"

namespace orb::unitview {
namespace {

constexpr float kMoveDoneDistance = 0.001F;

std::uint16_t roundedCobAngle(float radians) {
    return static_cast<std::uint16_t>(
        truncated<std::int64_t>(std::round(radians / kRadiansPerCobAngle)));
}

/// Assigns; true when that made a difference.
bool assign(float& variable, float value) {
    if (variable == value) return false;
    variable = value;
    return true;
}

bool advanceTurn(CobPiece& piece, std::size_t axis) {
    const std::uint16_t current = roundedCobAngle(piece.angle[axis]);
    const std::uint16_t target = roundedCobAngle(piece.targetAngle[axis]);
    const auto step = truncated<std::int64_t>(piece.turnSpeed[axis] / kRadiansPerCobAngle);
    const auto ahead = static_cast<std::uint16_t>(target - current);
    const bool forward = ahead <= kCobAnglesPerTurn / 2;
    const std::uint16_t distance = forward ? ahead : static_cast<std::uint16_t>(current - target);
    if (distance > step) {
        const auto next = static_cast<std::uint16_t>(forward ? current + step : current - step);
        if (next != target) return assign(piece.angle[axis], radiansOfCobAngle(next));
    }
    piece.angle[axis] = piece.targetAngle[axis];
    piece.turnSpeed[axis] = 0;
    return true;
}

bool advanceSpinSpeed(CobPiece& piece, std::size_t axis) {
    float& speed = piece.spinSpeed[axis];
    const float target = piece.spinTarget[axis];
    const float acceleration = piece.spinAcceleration[axis];
    if (acceleration >= std::fabs(target - speed)) {
        speed = target;
        piece.spinAcceleration[axis] = 0;
        return true;
    }
    return assign(speed, speed < target ? speed + acceleration : speed - acceleration);
}

bool advanceMove(CobPiece& piece, std::size_t axis) {
    float& offset = piece.offset[axis];
    const float target = piece.targetOffset[axis];
    const float speed = piece.moveSpeed[axis];
    if (speed >= std::fabs(target - offset)) {
        offset = target;
        piece.moveSpeed[axis] = 0;
        return true;
    }
    return assign(offset, offset < target ? offset + speed : offset - speed);
}

}  // namespace

float radiansOfCobAngle(std::int32_t cobAngle) {
    const float radians =
        static_cast<float>(static_cast<std::uint16_t>(cobAngle)) * kRadiansPerCobAngle;
    return radians >= kHalfTurn ? radians - kFullTurn : radians;
}

std::int32_t cobAngleOfRadians(float radians) {
    return static_cast<std::uint16_t>(
        truncated<std::int64_t>(std::round(radians * kCobAnglesPerRadian)));
}

float offsetForAxis(std::int32_t linearUnits, std::size_t axis) {
    const float offset = static_cast<float>(linearUnits) / kLinearUnitsPerModelUnit;
    return axis == 0 ? -offset : offset;
}

float angleForAxis(std::int32_t cobAngle, std::size_t axis) {
    const float angle = radiansOfCobAngle(cobAngle);
    return axis == 2 ? -angle : angle;
}

float moveSpeedPerTick(std::int32_t linearUnitsPerSecond, float ticksPerSecond) {
    return std::fabs(static_cast<float>(linearUnitsPerSecond) / kLinearUnitsPerModelUnit) /
           ticksPerSecond;
}

float turnSpeedPerTick(std::int32_t cobAnglePerSecond, float ticksPerSecond) {
    return std::fabs(spinSpeedPerTick(cobAnglePerSecond, ticksPerSecond));
}

float spinSpeedPerTick(std::int32_t cobAnglePerSecond, float ticksPerSecond) {
    return static_cast<float>(cobAnglePerSecond) * kRadiansPerCobAngle / ticksPerSecond;
}

float spinAccelerationPerTick(std::int32_t units, float ticksPerSecond) {
    return static_cast<float>(wrappingAbs(units)) * kRadiansPerDegree /
           (ticksPerSecond * ticksPerSecond);
}

bool isTurnDone(const CobPiece& piece, std::size_t axis) {
    return roundedCobAngle(piece.angle[axis]) == roundedCobAngle(piece.targetAngle[axis]);
}

bool isMoveDone(const CobPiece& piece, std::size_t axis) {
    return std::fabs(piece.offset[axis] - piece.targetOffset[axis]) < kMoveDoneDistance;
}

bool advancePiece(CobPiece& piece) {
    bool changed = false;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (piece.turnSpeed[axis] > 0 && piece.angle[axis] != piece.targetAngle[axis])
            changed |= advanceTurn(piece, axis);
        if (piece.spinAcceleration[axis] > 0 && piece.spinSpeed[axis] != piece.spinTarget[axis])
            changed |= advanceSpinSpeed(piece, axis);
        if (piece.spinSpeed[axis] != 0)
            changed |= assign(piece.angle[axis], piece.angle[axis] + piece.spinSpeed[axis]);
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (piece.moveSpeed[axis] > 0 && piece.offset[axis] != piece.targetOffset[axis])
            changed |= advanceMove(piece, axis);
    return changed;
}

}  // namespace orb::unitview
