#include "sim/phases.h"

/// The phases that nothing happens in yet.
namespace orb::sim {

void stepEconomy(WorldParts&, TickScratch&) {}
void stepConstruction(WorldParts&, TickScratch&) {}
void stepFeatures(WorldParts&, TickScratch&) {}
void stepSight(WorldParts&, TickScratch&) {}

}  // namespace orb::sim
