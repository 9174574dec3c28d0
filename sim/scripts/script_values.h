#pragma once

#include <cstdint>
#include <optional>

#include "sim/world_parts.h"

namespace orb::sim {

/// What a script reads under the number `id`, of its own unit or, with an argument, of the map or
/// of another unit; unknown numbers and units read 0. Reads the world only.
std::int32_t scriptValue(const WorldParts& world, const Unit& self, std::int32_t id,
                         std::int32_t argument);

/// Whether scripts can set it; those are never read of other units.
bool isSettable(std::int32_t id);

/// Does what a script has set; serial.
void setScriptValue(WorldParts& world, Unit& unit, std::int32_t id, std::int32_t value);

}  // namespace orb::sim
