#include "sim/sight/radar.h"

#include <algorithm>

#include "sim/fight/aiming.h"
#include "sim/rules.h"
#include "sim/state_hash.h"
#include "sim/tick_scratch.h"
#include "sim/world_parts.h"

namespace orb::sim {
namespace {

std::uint16_t bitOf(std::int32_t player) {
    return static_cast<std::uint16_t>(1U << (player - 1));
}

std::uint64_t squareOf(std::int32_t distance) {
    return squaredLength(Fixed::fromInt(distance));
}

/// Lists who emits, and notes what stands for them.
void listEmitters(WorldParts& world, std::vector<Emitter>& emitters, FoundState& found) {
    emitters.clear();
    HashSink who;
    found.aimsByRadar = 0;
    for (const Unit& unit : world.state.units) {
        if (!unit.type->senses.emits() || !emits(world, unit)) continue;
        const UnitSenses& senses = unit.type->senses;
        if (senses.aimsByRadar)
            found.aimsByRadar = static_cast<std::uint16_t>(found.aimsByRadar | bitOf(unit.player));
        emitters.push_back({unit.player, unit.place, squareOf(senses.radar), squareOf(senses.sonar),
                            squareOf(senses.radarJam), squareOf(senses.sonarJam)});
        who.number({}, unit.id);
        who.number({}, unit.generation);
        who.number({}, unit.player);
    }
    found.emitters = who.value();
}

/// The players whose radar or sonar has a unit. A jammer hides what is near it from all but its own
/// player.
std::uint16_t foundBy(const WorldParts& world, const std::vector<Emitter>& emitters,
                      const Unit& unit) {
    if (unit.type->senses.isStealthy) return 0;
    const bool isForRadar = !isUnderWater(world, unit), isForSonar = isInWater(world, unit);
    unsigned byRadar = 0, bySonar = 0, radarLeft = ~0U, sonarLeft = ~0U;
    for (const Emitter& emitter : emitters) {
        const std::uint64_t distance =
            squaredDistance(emitter.place.x, emitter.place.z, unit.place.x, unit.place.z);
        const unsigned bit = bitOf(emitter.player);
        const auto reaches = [&](std::uint64_t square) { return square > 0 && distance <= square; };
        if (isForRadar && reaches(emitter.radar)) byRadar |= bit;
        if (isForSonar && reaches(emitter.sonar)) bySonar |= bit;
        if (reaches(emitter.radarJam)) radarLeft &= bit;
        if (reaches(emitter.sonarJam)) sonarLeft &= bit;
    }
    const unsigned others = ~static_cast<unsigned>(bitOf(unit.player));
    return static_cast<std::uint16_t>(((byRadar & radarLeft) | (bySonar & sonarLeft)) & others);
}

}  // namespace

bool emits(const WorldParts& world, const Unit& unit) {
    const Player& player = world.state.players.at(static_cast<std::size_t>(unit.player - 1));
    const bool isPaid =
        unit.type->economy.energyUse <= Amount() || player.energy.share == Fixed::fromInt(1);
    return unit.isActive && isPaid && unit.isBuilt() && unit.isPresent() &&
           !unit.isStunned(world.state.tick);
}

void sweep(WorldParts& world, TickScratch& scratch) {
    std::vector<Emitter>& emitters = scratch.sight.emitters;
    std::vector<Sweep>& sweeps = scratch.sight.sweeps;
    FoundState found;
    listEmitters(world, emitters, found);
    const bool isAnew = found.emitters != world.state.found.emitters;
    world.state.found = found;
    const auto isDue = [&](const Unit& unit) {
        return isAnew || !unit.sight.wasSwept ||
               (world.state.tick + static_cast<Tick>(unit.id)) % rules::kSweepEvery == 0;
    };
    sweeps.clear();
    for (const Unit& unit : world.state.units)
        if (unit.isPresent() && isDue(unit)) sweeps.push_back({unit.slot(), 0});
    if (!emitters.empty()) {
        constexpr std::size_t kUnitsPerBlock = 64;
        world.workers.forEach(sweeps.size(), kUnitsPerBlock, [&](std::size_t item, std::size_t) {
            sweeps[item].foundBy =
                foundBy(world, emitters, *world.state.units.at(sweeps[item].slot));
        });
        scratch.counts.pairs += sweeps.size() * emitters.size();
    }
    for (const auto& [slot, by] : sweeps) {
        UnitSight& sight = world.state.units.at(slot)->sight;
        sight.foundBy = by;
        sight.wasSwept = true;
    }
}

}  // namespace orb::sim
