#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sim/units/unit_ref.h"

namespace orb::sim {

/// Pads that one unit has at most: as many as the script that names them answers with.
inline constexpr std::size_t kPads = 2;

/// Which aircraft have the landing pads of a unit, be it that they are still on their way. Who has
/// no order to land there any more has none.
struct UnitPads {
    std::array<UnitRef, kPads> guests = {};
    /// Of its model; -1 for a pad that it lacks.
    std::array<std::int32_t, kPads> pieces = {-1, -1};

    bool operator==(const UnitPads&) const = default;
};

template <typename Visit>
void eachField(const UnitPads& pads, Visit visit) {
    visit("guests", pads.guests);
    visit("pieces", pads.pieces);
}
static_assert(sizeof(UnitPads) == 24);

}  // namespace orb::sim
