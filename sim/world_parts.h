#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sim/event_log.h"
#include "sim/fight/projectiles.h"
#include "sim/ground/conditions.h"
#include "sim/ground/features.h"
#include "sim/ground/fires.h"
#include "sim/ground/occupancy.h"
#include "sim/ground/terrain.h"
#include "sim/scripts/running_scripts.h"
#include "sim/sight/sight_map.h"
#include "sim/units/players.h"
#include "sim/units/unit_buckets.h"
#include "sim/units/units.h"
#include "sim/ways/routes.h"
#include "sim/work/wind.h"
#include "sim/workers.h"

namespace orb::sim {

// What the world is made of, by how long it counts. What phases hand to each other within a tick is
// in tick_scratch.h.

/// Stays as it was loaded; types are added between ticks only.
struct WorldFrame {
    explicit WorldFrame(Terrain ground);

    std::size_t indexOf(Cell cell) const {
        return static_cast<std::size_t>(cell.z) * static_cast<std::size_t>(terrain.cellsX()) +
               static_cast<std::size_t>(cell.x);
    }

    Terrain terrain;
    Conditions conditions;
    /// What random numbers hang from.
    std::uint64_t seed = 1;
    std::vector<FeatureType> featureTypes;
    /// A flag a cell.
    std::vector<bool> vents;
    /// A byte a cell: what extractors get out of the ground.
    std::vector<std::uint8_t> metal;
    /// What was ever ordered to be built; orders name them by their places.
    std::vector<std::shared_ptr<const UnitType>> products;
};

/// All that the next tick depends on. `hashState` and `dumpState` go through it.
struct WorldState {
    explicit WorldState(const Terrain& terrain);

    Tick tick = 0;
    Units units;
    RunningScripts scripts;
    Features features;
    Fires fires;
    Players players;
    Wind wind;
    Projectiles projectiles;
    FoundState found;
    /// Queue, ways and searches are state; the graphs among it are derived, see there.
    Routes routes;
    /// Follows from the rest but for who came first; see there. Not hashed.
    Occupancy occupancy;
};

/// What follows from the state and is kept because it is asked for often. Dropping all of it at any
/// tick changes nothing: `dropDerived` does.
struct WorldDerived {
    explicit WorldDerived(const Terrain& terrain);

    UnitBuckets buckets;
    SightMap sight;
    /// Cells along the longer side of the largest unit that there has been. Searches for what
    /// reaches somewhere look so much farther; who finds more than is needed tests more.
    std::int32_t largestFootprint = 1;
};

/// What phases work on: `step…(WorldParts&, TickScratch&)`.
struct WorldParts {
    WorldFrame frame;
    WorldState state;
    WorldDerived derived;
    EventLog events;
    /// The scripts whose absence was told, with the names of the types that lack them.
    std::set<std::pair<std::string, UnitScript>> toldMissing;
    /// They share the parallel phases.
    Workers workers;

    WorldParts(Terrain ground, std::size_t threads);

    void tell(const Unit& unit, EventDetail detail) {
        events.add({state.tick, unit.id, unit.type, std::move(detail)});
    }
    void tellMissing(const Unit& unit, UnitScript script) {
        if (toldMissing.emplace(unit.type->name, script).second)
            tell(unit, ScriptMissing{std::string(nameOf(script))});
    }
};

/// Looks whether a type is larger than what there was.
void noteFootprint(WorldDerived& derived, const UnitType& type);

/// Makes all derived data anew.
void dropDerived(WorldParts& world);

}  // namespace orb::sim
