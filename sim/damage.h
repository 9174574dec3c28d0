#pragma once

#include <cstdint>

#include "sim/angle.h"
#include "sim/fixed.h"
#include "sim/unit_ref.h"

namespace orb::sim {

/// Something that is to be done to a unit: in a queue of the tick, in the order of its causes.
struct Damage {
    UnitRef victim;
    Amount amount;
    /// The direction of the push.
    Angle heading;
    UnitRef by;
};

}  // namespace orb::sim
