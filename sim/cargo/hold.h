#pragma once

#include <cstdint>
#include <vector>

#include "sim/ground/cell.h"
#include "sim/units/unit_ref.h"

namespace orb::sim {

/// Units that one carrier can have aboard; known ones take up to 20.
inline constexpr std::int32_t kMaxHold = 256;

/// What a unit can carry.
struct HoldLimits {
    /// How many units; 0 for what carries nobody.
    std::int32_t capacity = 0;
    /// Cells along the longer side of the largest; 0 for any.
    std::int32_t mostFootprint = 0;
};

/// Who is aboard of a unit, and whom it is taking aboard or putting down.
struct UnitHold {
    std::vector<UnitRef> cargo;
    /// Whom its script was told about.
    UnitRef handled;
    /// Where that one is put down.
    GroundPoint place;

    bool operator==(const UnitHold&) const = default;
};

template <typename Visit>
void eachField(const UnitHold& hold, Visit visit) {
    visit("cargo", hold.cargo);
    visit("handled", hold.handled);
    visit("placeX", hold.place.x);
    visit("placeZ", hold.place.z);
}
static_assert(sizeof(UnitHold) == 40);

}  // namespace orb::sim
