#include "sim/world_parts.h"

#include <algorithm>

#include "sim/sight/sight.h"

namespace orb::sim {

WorldFrame::WorldFrame(Terrain ground)
    : terrain(std::move(ground)),
      vents(terrain.heights().size()),
      metal(terrain.heights().size(), std::uint8_t{rules::kSurfaceMetal}) {}

WorldState::WorldState(const Terrain& terrain)
    : routes(terrain), occupancy(terrain.cellsX(), terrain.cellsZ()) {}

WorldDerived::WorldDerived(const Terrain& terrain)
    : buckets(terrain.cellsX(), terrain.cellsZ()), sight(terrain) {}

WorldParts::WorldParts(Terrain ground, std::size_t threads)
    : frame(std::move(ground)), state(frame.terrain), derived(frame.terrain), workers(threads) {}

void noteFootprint(WorldDerived& derived, const UnitType& type) {
    derived.largestFootprint =
        std::max({derived.largestFootprint, type.footprintX, type.footprintZ});
}

void dropDerived(WorldParts& world) {
    world.derived.buckets.rebuild(world.state.units);
    rebuildSight(world.derived.sight, world.state.units);
    world.derived.largestFootprint = 1;
    for (const Unit& unit : world.state.units) noteFootprint(world.derived, *unit.type);
    world.state.routes.dropDerived();
}

}  // namespace orb::sim
