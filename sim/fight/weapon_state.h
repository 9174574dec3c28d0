#pragma once

#include <cstdint>

#include "sim/fight/ballistics.h"
#include "sim/fight/stockpile.h"
#include "sim/numbers/angle.h"
#include "sim/numbers/tick.h"
#include "sim/units/unit_ref.h"

namespace orb::sim {

/// The weapons that a unit can have.
inline constexpr std::size_t kWeaponSlots = 3;

/// What a weapon is aimed at.
enum class AimKind : std::uint8_t { nothing, unit, place, shot };

/// One weapon of a unit.
struct WeaponState {
    AimKind aim = AimKind::nothing;
    /// An order chose it, so that it stays when it gets out of reach.
    bool isOrdered = false;
    /// The script has been asked and has not answered yet.
    bool isAsking = false;
    /// It points there.
    bool isAimed = false;
    /// When it last looked, its target was near enough on the map and yet no shot would have hit
    /// it.
    bool lacksShot = false;
    Arc arc = Arc::low;
    /// What was last told of why it does not fire: 0 for nothing, else 1 + an `AimFailure`.
    std::uint8_t toldFailure = 0;
    /// The direction, as the body sees it, that the script was last asked to turn it to.
    Angle askedHeading = {};
    Angle askedPitch = {};
    /// Numbers the questions; answers to older ones do not count.
    std::uint32_t question = 0;
    UnitRef target = {};
    /// The id of one.
    std::uint32_t targetShot = 0;
    Vector place = {};
    Tick askedAt = 0;
    /// When its direction is looked at next.
    Tick lookAt = 0;
    /// It was ready to fire and something was in the way: it tries again then.
    Tick holdsUntil = 0;
    /// The tick from which on it can fire again.
    Tick readyAt = 0;
    /// Shots of the burst that are still to come.
    std::int32_t burstLeft = 0;
    Tick nextShotAt = 0;
    Stockpile stockpile;

    bool operator==(const WeaponState&) const = default;
};

template <typename Visit>
void eachField(const Vector& vector, Visit visit) {
    visit("x", vector.x);
    visit("y", vector.y);
    visit("z", vector.z);
}

template <typename Visit>
void eachField(const WeaponState& weapon, Visit visit) {
    visit("aim", weapon.aim);
    visit("isOrdered", weapon.isOrdered);
    visit("isAsking", weapon.isAsking);
    visit("isAimed", weapon.isAimed);
    visit("lacksShot", weapon.lacksShot);
    visit("arc", weapon.arc);
    visit("toldFailure", weapon.toldFailure);
    visit("askedHeading", weapon.askedHeading);
    visit("askedPitch", weapon.askedPitch);
    visit("question", weapon.question);
    visit("target", weapon.target);
    visit("targetShot", weapon.targetShot);
    visit("place", weapon.place);
    visit("askedAt", weapon.askedAt);
    visit("lookAt", weapon.lookAt);
    visit("holdsUntil", weapon.holdsUntil);
    visit("readyAt", weapon.readyAt);
    visit("burstLeft", weapon.burstLeft);
    visit("nextShotAt", weapon.nextShotAt);
    visit("stockpile", weapon.stockpile);
}
static_assert(sizeof(WeaponState) == 80);

}  // namespace orb::sim
