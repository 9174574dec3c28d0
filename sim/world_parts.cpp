#include "sim/world_parts.h"

namespace orb::sim {

WorldFrame::WorldFrame(Terrain ground)
    : terrain(std::move(ground)), vents(terrain.heights().size()) {}

WorldState::WorldState(const Terrain& terrain)
    : routes(terrain), occupancy(terrain.cellsX(), terrain.cellsZ()) {}

WorldDerived::WorldDerived(const Terrain& terrain) : buckets(terrain.cellsX(), terrain.cellsZ()) {}

WorldParts::WorldParts(Terrain ground, std::size_t threads)
    : frame(std::move(ground)), state(frame.terrain), derived(frame.terrain), workers(threads) {}

void dropDerived(WorldParts& world) {
    world.derived.buckets.rebuild(world.state.units);
    world.state.routes.dropDerived();
}

}  // namespace orb::sim
