#pragma once

#include <cstdint>
#include <vector>

#include "sim/ground/cell.h"
#include "sim/units/unit.h"

namespace orb::sim {

struct WorldParts;
struct TickScratch;

/// A unit whose radar, sonar or jammer works, with the squares of how far they reach; 0 for none.
struct Emitter {
    std::int32_t player = 0;
    GroundPoint place;
    std::uint64_t radar = 0;
    std::uint64_t sonar = 0;
    std::uint64_t radarJam = 0;
    std::uint64_t sonarJam = 0;
};

/// A unit that is looked at, and who has found it: see `UnitSight`.
struct Sweep {
    std::uint32_t slot = 0;
    std::uint16_t foundBy = 0;
};

/// Whether its radar, sonar or jammer works now.
bool emits(const WorldParts& world, const Unit& unit);

/// Looks with radar and sonar at units in turn, and at all where emitters were switched.
void sweep(WorldParts& world, TickScratch& scratch);

}  // namespace orb::sim
