#include "sim/work/work.h"

#include <algorithm>

#include "sim/rules.h"
#include "sim/scripts/script_host.h"
#include "sim/work/generators.h"

namespace orb::sim {
namespace {

/// The work that brings back the hit points which a unit lacks.
std::int64_t workToMend(const Unit& target) {
    std::int64_t most = Amount::fromInt(target.type->maxHealth).raw();
    std::int64_t lacking = std::clamp<std::int64_t>(most - target.health.raw(), 0, most);
    // Both lose the same bits until the product fits.
    for (; most >= std::int64_t{1} << 31; most >>= 1) lacking >>= 1;
    return quotient(lacking * wholeWork(*target.type), most, Rounding::up);
}

std::int64_t leftToDo(const WorldParts& world, const Unit& target, std::int32_t player,
                      WorkWish::Kind kind) {
    const std::int64_t whole = wholeWork(*target.type);
    switch (kind) {
        case WorkWish::Kind::build:
            return whole - target.growth.done;
        case WorkWish::Kind::capture:
            return whole - capturedSoFar(world, target, player);
        case WorkWish::Kind::reclaim:
            return target.isBuilt() ? whole - target.growth.reclaimed : target.growth.done;
        case WorkWish::Kind::repair:
            break;
    }
    return std::clamp<std::int64_t>(workToMend(target), 1, whole);
}

Price partsOf(const UnitEconomy& economy, std::int64_t from, std::int64_t to, std::int64_t whole) {
    return {partOf(economy.buildMetal, to, whole) - partOf(economy.buildMetal, from, whole),
            partOf(economy.buildEnergy, to, whole) - partOf(economy.buildEnergy, from, whole)};
}

}  // namespace

Amount partOf(Amount amount, std::int64_t part, std::int64_t whole) {
    const std::int64_t each = amount.raw() / whole, rest = amount.raw() % whole;
    return Amount::fromRaw(each * part + rest * part / whole);
}

std::int64_t wholeWork(const UnitType& type) {
    return type.economy.buildTime * kWorkSteps;
}

std::int64_t wholeWork(const FeatureType& type) {
    const double worth = std::max(0.0, static_cast<double>(type.metal)) * rules::kReclaimPerMetal +
                         std::max(0.0, static_cast<double>(type.energy)) * rules::kReclaimPerEnergy;
    return static_cast<std::int64_t>(std::clamp<double>(worth, 1, kMaxBuildTime)) * kWorkSteps;
}

std::int64_t fullWork(const UnitType& type) {
    return type.economy.workPerTick * kWorkSteps;
}

std::int64_t fullWork(const WorldParts& world, const Unit& unit, const WorkWish& wish) {
    const Unit* const worker = wish.worker ? world.state.units.find(wish.worker) : &unit;
    return worker ? fullWork(*worker->type) : 0;
}

std::int64_t capturedSoFar(const WorldParts& world, const Unit& target, std::int32_t player) {
    const UnitGrowth& growth = target.growth;
    if (world.state.tick - growth.capturedAt > rules::kCaptureMemory) return 0;
    return growth.capturedBy == player ? growth.captured : -growth.captured;
}

Price priceOf(const WorldParts& world, std::int32_t player, const WorkWish& wish,
              std::int64_t& work) {
    const Unit* const target = world.state.units.find(wish.target);
    if (!target) return {};
    work = std::min(work, leftToDo(world, *target, player, wish.kind));
    const std::int64_t whole = wholeWork(*target->type);
    const UnitEconomy& economy = target->type->economy;
    const UnitGrowth& growth = target->growth;
    switch (wish.kind) {
        case WorkWish::Kind::build:
            return partsOf(economy, growth.done, growth.done + work, whole);
        case WorkWish::Kind::capture: {
            const std::int64_t before = capturedSoFar(world, *target, player);
            return {{}, partsOf(economy, before, before + work, whole).energy};
        }
        case WorkWish::Kind::repair: {
            // What was taken apart has given its metal away.
            const std::int64_t left = std::max<std::int64_t>(0, growth.reclaimed - work);
            return {partsOf(economy, left, growth.reclaimed, whole).metal,
                    partOf(economy.buildEnergy, work, whole)
                        .times(rules::kRepairEnergy, Rounding::down)};
        }
        case WorkWish::Kind::reclaim:
            break;
    }
    return {};
}

Fixed shareFor(const Player& player, const Price& price) {
    Fixed share = Fixed::fromInt(1);
    if (price.metal > Amount()) share = std::min(share, player.metal.share);
    if (price.energy > Amount()) share = std::min(share, player.energy.share);
    return share;
}

Player& playerOf(WorldParts& world, const Unit& unit) {
    return world.state.players.at(static_cast<std::size_t>(unit.player - 1));
}

void setWork(Unit& unit, std::int64_t done) {
    const std::int64_t whole = wholeWork(*unit.type);
    unit.growth.done = std::clamp<std::int64_t>(done, 0, whole);
    unit.buildFraction = Fixed::fromWideRaw(unit.growth.done * Fixed::kOne / whole);
}

void completeUnit(WorldParts& world, Unit& unit) {
    setWork(unit, wholeWork(*unit.type));
    world.tell(unit, Built{});
    if (unit.isActive) startScriptIfThere(world, unit, UnitScript::activate);
    tellGenerator(world, unit);
}

}  // namespace orb::sim
