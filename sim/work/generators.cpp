#include "sim/work/generators.h"

#include <algorithm>
#include <utility>

#include "sim/numbers/random.h"
#include "sim/rules.h"
#include "sim/scripts/script_host.h"

namespace orb::sim {
namespace {

Amount windYield(const Wind& wind, const UnitEconomy& economy) {
    const std::int32_t speed = std::clamp(wind.speed, 0, rules::kFullWind);
    return economy.windPower.times(Fixed::fromRatio(speed, rules::kFullWind, Rounding::nearest),
                                   Rounding::nearest);
}

/// Of a factor in millionths; both are far below 2^31.
Amount extracted(std::int32_t metal, std::int64_t millionths) {
    constexpr std::int64_t kMillion = 1'000'000;
    return Amount::fromRaw(quotient(metal * millionths * Fixed::kOne, kMillion, Rounding::nearest));
}

/// Energy a second of one generator; far more than any map's.
constexpr std::int32_t kMostTide = 65'535;
/// Of winds; far stronger than any map's.
constexpr std::int32_t kMostWindSpeed = 65'535;

/// The limits of a map's wind, the right way round.
std::pair<std::int32_t, std::int32_t> windLimits(const Conditions& conditions) {
    const std::int32_t least = std::clamp(conditions.minWind, 0, kMostWindSpeed);
    return {least, std::clamp(conditions.maxWind, least, kMostWindSpeed)};
}

std::int32_t windBetween(const WorldFrame& frame, Tick tick, std::int32_t least,
                         std::int32_t most) {
    return randomBetween({frame.seed, 0, tick, RandomPurpose::wind, 0}, least, most);
}

}  // namespace

std::int32_t groundMetal(const WorldFrame& frame, const CellRect& cells) {
    std::int32_t sum = 0;
    forEachCell(cells, [&](Cell cell) {
        if (frame.terrain.contains({cell, 1, 1})) sum += frame.metal[frame.indexOf(cell)];
    });
    return sum;
}

void tellGenerator(WorldParts& world, const Unit& unit) {
    const UnitEconomy& economy = unit.type->economy;
    const Wind& wind = world.state.wind;
    if (economy.turnsWithWind()) {
        const std::int32_t direction = (wind.heading - unit.heading).raw();
        startScriptIfThere(world, unit, UnitScript::setSpeed, {&wind.speed, 1});
        startScriptIfThere(world, unit, UnitScript::setDirection, {&direction, 1});
    } else if (economy.extracts()) {
        startScriptIfThere(world, unit, UnitScript::setSpeed, {&unit.labour.groundMetal, 1});
    }
}

Yield yieldOf(const WorldParts& world, const Unit& unit) {
    const UnitEconomy& economy = unit.type->economy;
    Yield yield;
    if (economy.turnsWithWind()) yield.energy += windYield(world.state.wind, economy);
    if (!unit.isActive) return yield;
    if (economy.isTidal)
        yield.energy +=
            Amount::fromInt(std::clamp(world.frame.conditions.tidalStrength, 0, kMostTide));
    yield.metal = economy.makesMetal + extracted(unit.labour.groundMetal, economy.extraction);
    return yield;
}

Wind firstWind(const WorldFrame& frame) {
    const auto [least, most] = windLimits(frame.conditions);
    return {windBetween(frame, 0, least, most),
            Angle::fromSteps(randomBetween({frame.seed, 0, 0, RandomPurpose::wind, 1}, 0, 65'535))};
}

void driftWind(WorldParts& world) {
    const auto [least, most] = windLimits(world.frame.conditions);
    Wind& wind = world.state.wind;
    const Tick tick = world.state.tick;
    const std::int32_t step = (most - least) / rules::kWindSteps;
    wind.speed = std::clamp(wind.speed + windBetween(world.frame, tick, -step, step), least, most);
    wind.heading = wind.heading + Angle::fromSteps(randomBetween(
                                      {world.frame.seed, 0, tick, RandomPurpose::wind, 1},
                                      -rules::kWindTurn, rules::kWindTurn));
    for (const Unit& unit : world.state.units)
        if (unit.isBuilt() && unit.isPresent() && unit.type->economy.turnsWithWind())
            tellGenerator(world, unit);
}

}  // namespace orb::sim
