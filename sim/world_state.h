#pragma once

#include <string>

#include "sim/state_hash.h"
#include "sim/world_parts.h"

namespace orb::sim {

/// Equal for worlds that go on in the same way.
StateHash hashState(const WorldParts& world);

/// What is hashed, as lines of text for a comparison: the first line that differs names the field.
std::string dumpState(const WorldParts& world);

}  // namespace orb::sim
