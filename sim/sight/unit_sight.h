#pragma once

#include <cstdint>

#include "sim/numbers/tick.h"

namespace orb::sim {

/// From where a unit looks around. The tiles that it sees follow from this and the ground.
struct Look {
    /// Whose eyes it has; 0 while it sees nothing.
    std::int32_t player = 0;
    std::int32_t tileX = 0;
    std::int32_t tileZ = 0;
    /// Above the map's zero and far, in map pixels.
    std::int32_t eye = 0;
    std::int32_t distance = 0;

    explicit operator bool() const { return player != 0; }
    bool operator==(const Look&) const = default;
};

/// What a unit sees, and who has found it.
struct UnitSight {
    Look look;
    /// A bit for each player, from the lowest, whose radar or sonar had it when that was last
    /// looked at.
    std::uint16_t foundBy = 0;
    /// It has been looked at.
    bool wasSwept = false;

    bool operator==(const UnitSight&) const = default;
};

/// Whether a unit hides.
struct UnitCloak {
    /// It is to, whenever it can.
    bool isWanted = false;
    bool isOn = false;
    /// It was found out, and does not hide before then.
    Tick foundOutUntil = 0;

    bool operator==(const UnitCloak&) const = default;
};

template <typename Visit>
void eachField(const Look& look, Visit visit) {
    visit("player", look.player);
    visit("tileX", look.tileX);
    visit("tileZ", look.tileZ);
    visit("eye", look.eye);
    visit("distance", look.distance);
}
static_assert(sizeof(Look) == 20);

template <typename Visit>
void eachField(const UnitSight& sight, Visit visit) {
    visit("look", sight.look);
    visit("foundBy", sight.foundBy);
    visit("wasSwept", sight.wasSwept);
}
static_assert(sizeof(UnitSight) == 24);

template <typename Visit>
void eachField(const UnitCloak& cloak, Visit visit) {
    visit("isWanted", cloak.isWanted);
    visit("isOn", cloak.isOn);
    visit("foundOutUntil", cloak.foundOutUntil);
}
static_assert(sizeof(UnitCloak) == 8);

/// What players have found, of all units together.
struct FoundState {
    /// Stands for the units that emit; when it changes, all are looked at anew.
    std::uint64_t emitters = 0;
    /// A bit for each player whose weapons are aimed by radar.
    std::uint16_t aimsByRadar = 0;
};

template <typename Visit>
void eachField(const FoundState& found, Visit visit) {
    visit("emitters", found.emitters);
    visit("aimsByRadar", found.aimsByRadar);
}
static_assert(sizeof(FoundState) == 16);

}  // namespace orb::sim
