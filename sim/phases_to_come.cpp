#include "sim/phases.h"

/// The phases that nothing happens in yet.
namespace orb::sim {

void stepFeatures(WorldParts&, TickScratch&) {}

}  // namespace orb::sim
