#pragma once

#include <cstdint>

#include "sim/numbers/angle.h"

namespace orb::sim {

/// It blows everywhere alike.
struct Wind {
    /// As maps give its limits; 5,000 drives generators as much as any does.
    std::int32_t speed = 0;
    /// Where it blows to.
    Angle heading;
};

template <typename Visit>
void eachField(const Wind& wind, Visit visit) {
    visit("speed", wind.speed);
    visit("heading", wind.heading);
}
static_assert(sizeof(Wind) == 8);

}  // namespace orb::sim
