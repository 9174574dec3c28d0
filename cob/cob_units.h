#pragma once

/// The units of scripts and what they are in a model: 65,536 linear units make one model unit,
/// 65,536 angles a full turn. The factors between angles and radians are those of the game, in the
/// digits that it has them; none is computed from another.
namespace orb::unitview {

inline constexpr float kLinearUnitsPerModelUnit = 65536.0F;
inline constexpr unsigned kCobAnglesPerTurn = 65536;

inline constexpr float kHalfTurn = 3.1415927F;  ///< radians
inline constexpr float kFullTurn = 6.2831855F;  ///< radians
inline constexpr float kRadiansPerCobAngle = 9.58738e-5F;
inline constexpr float kCobAnglesPerRadian = 10430.378F;

inline constexpr float kRadiansPerDegree = 0.017453292F;
inline constexpr float kDegreesPerRadian = 57.2958F;
inline constexpr double kDegreesPerTurn = 360;

}  // namespace orb::unitview
