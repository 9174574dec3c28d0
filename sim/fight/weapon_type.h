#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/numbers/fixed.h"
#include "sim/numbers/tick.h"

namespace orb::sim {

// What definitions may ask for at most; they are cut to it when they are read.

/// Pixels: more than the longest way on the largest map is in no direction along a side.
inline constexpr std::int32_t kMaxRange = 32'767;
/// Pixels a tick; known weapons reach 47.
inline constexpr std::int32_t kMaxShotSpeed = 1'024;
/// Shots of one burst; known weapons have up to 32.
inline constexpr std::int32_t kMaxBurst = 256;
/// Of one hit. Some explosions are declared with "all there is".
inline constexpr std::int64_t kMaxDamage = 1'000'000'000;
/// An hour: reload times and lives of shots.
inline constexpr Tick kMaxWeaponTicks = 60 * 60 * kTicksPerSecond;

/// How what a weapon fires gets to where it hits.
enum class Flight : std::uint8_t {
    /// In a line: beams, bolts, rockets that do not turn.
    straight,
    /// Thrown; falls with the map's gravity.
    ballistic,
    /// Turns after its target.
    guided,
    /// Climbs before it turns after its target.
    vertical,
    /// Keeps above the ground until it is near its target.
    cruise,
    /// Let go.
    dropped,
};

/// What a weapon does to units of one type, whose name is upper-cased.
struct UnitDamage {
    std::string unit;
    Amount amount;
};

/// A weapon or an explosion: lengths in map pixels, times in ticks, angles in steps of 1/65536
/// turn.
struct WeaponType {
    std::string name;
    Flight flight = Flight::straight;

    /// Turns by itself; otherwise the unit has to face the target.
    bool isTurret = false;
    /// Fires only where nothing stands between.
    bool needsFreeLine = false;
    /// Flies under water, at what is in the water.
    bool isWaterWeapon = false;
    /// Fires only when it is told to.
    bool isCommandFire = false;
    /// Fires only what it has made ahead.
    bool isStockpiled = false;
    /// Shoots at shots that are meant for a place within its coverage, and at nothing else.
    bool isInterceptor = false;
    /// What it fires can be shot at.
    bool isTargetable = false;
    bool isOnlyForAircraft = false;
    /// Leaves features alone.
    bool isOnlyForUnits = false;
    /// Its damage is ticks without action.
    bool isParalyzer = false;
    /// Goes on after a hit.
    bool goesOn = false;
    /// Slides over the ground instead of hitting it.
    bool slidesOverGround = false;
    /// Bursts where its way ends; others vanish.
    bool burstsAtEnd = false;
    /// Its life does not end with its range.
    bool fliesBeyondRange = false;

    Fixed range;
    Fixed coverage;
    Fixed startSpeed;
    Fixed speed;
    /// A tick.
    Fixed acceleration;
    std::int32_t turnPerTick = 0;
    /// From the shot on; 0: as long as it takes to its range.
    Tick life = 0;
    /// A life may be so much shorter.
    Tick lifeSpread = 0;
    /// How long it is driven; 0: to its end. Then it falls.
    Tick thrust = 0;

    Tick reload = 1;
    std::int32_t burst = 1;
    Tick burstGap = 1;
    /// The directions of shots spread over this angle.
    std::int32_t spray = 0;
    /// How far it may be from where it should point, and still fire.
    std::int32_t tolerance = 0;
    std::int32_t pitchTolerance = 0;
    /// The barrel does not go lower; from -16,384.
    std::int32_t leastPitch = -16'384;
    Amount energyPerShot;
    Amount metalPerShot;

    /// How far from the hit there is damage; 0: only what is hit.
    Fixed damageRadius;
    /// The share of the damage at that distance, 0 to 1.
    Fixed edgeShare;
    Amount damage;
    /// The chance in percent that what can burn catches fire of a hit.
    std::int32_t firePercent = 0;
    /// Sorted by name.
    std::vector<UnitDamage> unitDamage;

    /// The damage to units of a type by its name in any case.
    Amount damageTo(std::string_view unitName) const;
    /// What of the damage is left at a distance from the hit.
    Amount damageAt(Fixed distance, Amount whole) const;
};

}  // namespace orb::sim
