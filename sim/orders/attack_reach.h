#pragma once

#include <cstdint>

#include "sim/units/unit_type.h"

namespace orb::sim {

/// How near to its target a unit goes so that all weapons that an order means reach it, with some
/// room to spare; `slot` -1 is all of them.
Fixed attackReach(const UnitType& type, std::int8_t slot);

}  // namespace orb::sim
