#pragma once

#include <cstdint>

#include "sim/angle.h"
#include "sim/tick.h"
#include "sim/unit_ref.h"

namespace orb::sim {

/// The weapons that a unit can have.
inline constexpr std::size_t kWeaponSlots = 3;

/// One weapon of a unit.
struct WeaponState {
    /// What it aims at.
    UnitRef target = {};
    /// The tick from which on it can fire again.
    Tick readyAt = 0;
    /// The direction that the script was last asked to turn it to.
    Angle askedHeading = {};
    Angle askedPitch = {};
    /// The script has answered that it is there.
    bool isAimed = false;

    bool operator==(const WeaponState&) const = default;
};

template <typename Visit>
void eachField(const WeaponState& weapon, Visit visit) {
    visit("target", weapon.target);
    visit("readyAt", weapon.readyAt);
    visit("askedHeading", weapon.askedHeading);
    visit("askedPitch", weapon.askedPitch);
    visit("isAimed", weapon.isAimed);
}
static_assert(sizeof(WeaponState) == 20);

}  // namespace orb::sim
