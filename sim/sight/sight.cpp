#include "sim/sight/sight.h"

#include <algorithm>

#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/sight/cloak.h"
#include "sim/sight/radar.h"

namespace orb::sim {
namespace {

/// Over any map's ground; what is higher sees no farther.
constexpr std::int32_t kHighestEye = 8'191;

bool hasEyes(const Unit& unit) {
    return unit.isBuilt() && unit.isPresent() && unit.type->sightDistance > 0;
}

/// From where a unit would look now.
Look lookOf(const WorldParts& world, const Unit& unit) {
    if (!hasEyes(unit)) return {};
    const SightMap& map = world.derived.sight;
    const GroundPoint place = world.frame.terrain.clamped(unit.place);
    Look look;
    look.player = unit.player;
    look.tileX = map.tileOf(place.x);
    look.tileZ = map.tileOf(place.z);
    look.distance = std::min(unit.type->sightDistance, kMaxSightTiles * kTilePixels);
    const std::int32_t lowest = map.ground().at(look.tileX, look.tileZ) + rules::kLeastEyeHeight;
    look.eye = std::clamp((unit.altitude + unit.type->height).floor(), lowest, kHighestEye);
    return look;
}

/// Whether a unit looks anew that has looked as `now`. Who only goes on does so every few ticks.
bool isDue(const WorldParts& world, const Unit& unit, const Look& now) {
    const Look& before = unit.sight.look;
    if (before.player != now.player || before.distance != now.distance) return true;
    if (before.tileX == now.tileX && before.tileZ == now.tileZ) return false;
    return (world.state.tick + static_cast<Tick>(unit.id)) % rules::kLookAroundEvery == 0;
}

void lookAroundDue(WorldParts& world, TickScratch& scratch) {
    SightWork& work = scratch.sight;
    work.looks.clear();
    for (const Unit& unit : world.state.units)
        if (const Look now = lookOf(world, unit); isDue(world, unit, now))
            work.looks.push_back({unit.slot(), now, 0});
    if (work.seen.size() < work.looks.size()) work.seen.resize(work.looks.size());
    work.workers.resize(world.workers.count());
    constexpr std::size_t kLooksPerBlock = 4;
    const TileHeights& ground = world.derived.sight.ground();
    world.workers.forEach(
        work.looks.size(), kLooksPerBlock, [&](std::size_t item, std::size_t worker) {
            LookAround& look = work.looks[item];
            look.tested = findSeen(ground, look.look, work.workers[worker], work.seen[item]);
        });
    for (std::size_t i = 0; i < work.looks.size(); ++i) {
        const auto& [slot, look, tested] = work.looks[i];
        world.derived.sight.replace(slot, look.player, work.seen[i]);
        world.state.units.at(slot)->sight.look = look;
        scratch.counts.tilesSeen += tested;
    }
}

}  // namespace

bool sees(const WorldParts& world, std::int32_t player, const Unit& unit) {
    if (unit.player == player) return true;
    if (player < 1 || player > kPlayerCount || unit.carrier || unit.cloak.isOn) return false;
    const SightMap& map = world.derived.sight;
    const GroundPoint place = world.frame.terrain.clamped(unit.place);
    return map.isSeen(player, map.tileOf(place.x), map.tileOf(place.z));
}

bool hasOnRadar(std::int32_t player, const Unit& unit) {
    return player >= 1 && player <= kPlayerCount && unit.isPresent() &&
           (unit.sight.foundBy >> (player - 1) & 1) != 0;
}

bool mayAimAt(const WorldParts& world, std::int32_t player, const Unit& unit) {
    if (sees(world, player, unit)) return true;
    return !unit.cloak.isOn && hasOnRadar(player, unit) &&
           (world.state.found.aimsByRadar >> (player - 1) & 1) != 0;
}

void lookAround(WorldParts& world, Unit& unit) {
    SightScratch scratch;
    std::vector<TileRun> seen;
    const Look look = lookOf(world, unit);
    if (look == unit.sight.look) return;
    findSeen(world.derived.sight.ground(), look, scratch, seen);
    world.derived.sight.replace(unit.slot(), look.player, seen);
    unit.sight.look = look;
}

void closeEyes(WorldParts& world, Unit& unit) {
    std::vector<TileRun> nothing;
    world.derived.sight.replace(unit.slot(), 0, nothing);
    unit.sight.look = {};
}

void rebuildSight(SightMap& map, const Units& units) {
    map.clear();
    SightScratch scratch;
    std::vector<TileRun> seen;
    for (const Unit& unit : units) {
        if (!unit.sight.look) continue;
        findSeen(map.ground(), unit.sight.look, scratch, seen);
        map.replace(unit.slot(), unit.sight.look.player, seen);
    }
}

std::vector<Knowledge> knowledgeOf(const WorldParts& world, std::int32_t player) {
    const SightMap& map = world.derived.sight;
    const std::int32_t width = map.ground().width, depth = map.ground().depth;
    std::vector<Knowledge> known(map.ground().heights.size());
    const auto at = [&](std::int32_t x, std::int32_t z) -> Knowledge& {
        return known[static_cast<std::size_t>(z) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)];
    };
    for (const Unit& unit : world.state.units) {
        if (unit.player != player || !unit.type->senses.emits() || !emits(world, unit)) continue;
        const std::int32_t far = std::max(unit.type->senses.radar, unit.type->senses.sonar);
        const GroundPoint place = world.frame.terrain.clamped(unit.place);
        const auto first = [&](Fixed middle) {
            return std::max(0, (middle.floor() - far) / kTilePixels);
        };
        const auto last = [&](Fixed middle, std::int32_t count) {
            return std::min(count - 1, (middle.floor() + far) / kTilePixels);
        };
        for (std::int32_t z = first(place.z); far > 0 && z <= last(place.z, depth); ++z)
            for (std::int32_t x = first(place.x); x <= last(place.x, width); ++x) {
                const auto middle = [](std::int32_t tile) {
                    return Fixed::fromInt(tile * kTilePixels + kTilePixels / 2);
                };
                if (squaredDistance(place.x, place.z, middle(x), middle(z)) <=
                    squaredLength(Fixed::fromInt(far)))
                    at(x, z) = Knowledge::radar;
            }
    }
    for (std::int32_t z = 0; z < depth; ++z)
        for (std::int32_t x = 0; x < width; ++x)
            if (map.isSeen(player, x, z)) at(x, z) = Knowledge::sight;
    return known;
}

void stepSight(WorldParts& world, TickScratch& scratch) {
    stepCloaks(world, scratch);
    lookAroundDue(world, scratch);
    sweep(world, scratch);
}

}  // namespace orb::sim
