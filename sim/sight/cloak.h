#pragma once

#include "sim/units/unit.h"

namespace orb::sim {

struct WorldParts;
struct TickScratch;

/// Tells a unit to hide whenever it can, or not to.
void setCloak(Unit& unit, bool isWanted);

/// Others have found out where it is: it does not hide for a while.
void findOut(Unit& unit, Tick now);

/// What hiding costs it now, of energy a second.
Amount cloakUpkeep(const Unit& unit);

/// Who hides, or is found out: those who cannot pay for it, or who have an enemy too near.
void stepCloaks(WorldParts& world, TickScratch& scratch);

}  // namespace orb::sim
