#pragma once

#include <cstdint>

namespace orb::sim {

struct Projectile;
struct TickScratch;
struct WorldParts;

/// The shot of that id, while it flies; null else.
const Projectile* findShot(const WorldParts& world, std::uint32_t id);

/// Aims weapons that shoot at shots: each at the oldest enemy one that is meant for a place within
/// its coverage and that nobody else is after.
void aimInterceptors(WorldParts& world);

/// Tells interceptors where their targets are: before shots fly.
void guideInterceptors(WorldParts& world);
/// Lets those burst that have come to their targets, and these: after shots have flown.
void intercept(WorldParts& world, TickScratch& scratch);

}  // namespace orb::sim
