#pragma once

#include <cstdint>
#include <optional>

#include "sim/world_parts.h"

namespace orb::sim {

// Units whose script names landing pads let aircraft of their player sit down on them and mend
// them. Who sits there moves with the piece; he is not aboard: he can be hit, and leaves at will.

/// A pad, taken by somebody.
struct Perch {
    UnitRef owner;
    /// Of the owner's model.
    std::int32_t piece = -1;
};

/// Aircraft can be sent to its pads.
bool hasPads(const UnitType& type);

/// It is on its way to a pad or sits on one; its own are nobody's then, or units would sit on each
/// other in a circle.
bool isLanding(const Unit& unit);

/// The pad that an aircraft has whose current order is to land; none while it has none.
std::optional<Perch> perchOf(const Units& units, const Unit& guest);

/// The same; takes one that is free where it has none.
std::optional<Perch> takePerch(WorldParts& world, const Unit& guest);

/// Moves who sits on a pad with it.
void ridePad(WorldParts& world, Unit& guest);

}  // namespace orb::sim
