#pragma once

#include <cstdint>
#include <vector>

#include "sim/sight/sight_map.h"
#include "sim/units/units.h"

namespace orb::sim {

struct WorldParts;

/// Whether a player, from 1, sees a unit: one of his own, or one that does not hide and stands on a
/// tile that his units see.
bool sees(const WorldParts& world, std::int32_t player, const Unit& unit);

/// Whether his radar or sonar has it, as of the last tick; never his own.
bool hasOnRadar(std::int32_t player, const Unit& unit);

/// Whether weapons of a player may choose a unit by themselves: one that he sees or, when they are
/// aimed by radar, that this has found, and that does not hide.
bool mayAimAt(const WorldParts& world, std::int32_t player, const Unit& unit);

/// It hides from a player.
inline bool hidesFrom(std::int32_t player, const Unit& unit) {
    return unit.cloak.isOn && unit.player != player;
}

/// Lets a unit look around at once, as when it has come from elsewhere.
void lookAround(WorldParts& world, Unit& unit);
/// Takes away what a unit sees that leaves the map.
void closeEyes(WorldParts& world, Unit& unit);

/// Makes what is seen anew from the units' looks.
void rebuildSight(SightMap& map, const Units& units);

/// What a player knows of a tile.
enum class Knowledge : std::uint8_t { nothing, radar, sight };
/// Of all tiles, rows from the north-west. Jammers do not tell that they jam.
std::vector<Knowledge> knowledgeOf(const WorldParts& world, std::int32_t player);

}  // namespace orb::sim
