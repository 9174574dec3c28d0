#include <algorithm>
#include <array>

#include "sim/fight/stockpile.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/sight/cloak.h"
#include "sim/work/generators.h"
#include "sim/work/work.h"

// Stocks are settled once a tick: what units give is added, what they ask for, be it upkeep or
// work, is summed, and where that is more than there is, all get the same share. Upkeep is paid at
// once, work by the phase that does it.

namespace orb::sim {
namespace {

/// What the units of one player give and ask for: rates per second, and prices of this tick.
struct Flow {
    Amount metalIncome;
    Amount energyIncome;
    Amount metalUpkeep;
    Amount energyUpkeep;
    Price work;
    Amount metalStorage;
    Amount energyStorage;
};
using Flows = std::array<Flow, kPlayerCount>;

bool trades(const Unit& unit) {
    return unit.isBuilt() && unit.isPresent();
}

/// Nobody has as much; sums of more would not fit.
constexpr Amount kMostAsked = Amount::fromInt(Amount::kMost);

void addAsked(Amount& sum, Amount price) {
    sum = std::min(kMostAsked, sum + price);
}

Flow& flowOf(Flows& flows, const Unit& unit) {
    return flows.at(static_cast<std::size_t>(unit.player - 1));
}

void addUnit(const WorldParts& world, const Unit& unit, Flow& flow) {
    const UnitEconomy& economy = unit.type->economy;
    flow.metalStorage += economy.metalStorage;
    flow.energyStorage += economy.energyStorage;
    if (unit.isStunned(world.state.tick)) return;
    flow.metalIncome += economy.metalMake;
    flow.energyIncome += economy.energyMake + yieldOf(world, unit).energy;
    flow.energyUpkeep += cloakUpkeep(unit);
    if (!unit.isActive) return;
    flow.metalUpkeep += economy.metalUse;
    if (economy.energyUse > Amount())
        flow.energyUpkeep += economy.energyUse;
    else
        flow.energyIncome -= economy.energyUse;
}

void addWork(const WorldParts& world, const Unit& unit, const UnitWish& wish, Flow& flow) {
    const Price stockpiles = stockpilePrice(world, unit);
    addAsked(flow.work.metal, stockpiles.metal);
    addAsked(flow.work.energy, stockpiles.energy);
    if (!wish.work) return;
    std::int64_t work = fullWork(world, unit, *wish.work);
    const Price price = priceOf(world, unit.player, *wish.work, work);
    addAsked(flow.work.metal, price.metal);
    addAsked(flow.work.energy, price.energy);
}

/// A thirtieth of what comes or goes in a second; what is lost by rounding comes later.
Amount partOfTick(Amount perSecond, std::int32_t& rest) {
    const std::int64_t thirtieths = perSecond.raw() + rest;
    rest = static_cast<std::int32_t>(thirtieths % kTicksPerSecond);
    return Amount::fromRaw(thirtieths / kTicksPerSecond);
}

/// `part / whole`, at most 1; all of it when nothing was asked for.
Fixed shareOf(Amount part, Amount whole) {
    if (whole <= part) return Fixed::fromInt(1);
    // Both lose the same bits until the product fits; a share has 16 itself.
    std::int64_t above = part.raw(), below = whole.raw();
    while (below >= std::int64_t{1} << 46) {
        above >>= 1;
        below >>= 1;
    }
    return Fixed::fromWideRaw(quotient(above * Fixed::kOne, below, Rounding::down));
}

void settle(Stock& stock, Amount income, Amount upkeepPerSecond, Amount work) {
    const Amount upkeep = partOfTick(upkeepPerSecond, stock.upkeepRest);
    stock.income = income;
    stock.drain = upkeepPerSecond + Amount::fromRaw(work.raw() * kTicksPerSecond);
    stock.gain(partOfTick(income, stock.incomeRest));
    stock.share = shareOf(stock.amount, upkeep + work);
    stock.pay(partlyPaid(upkeep, stock.share));
}

/// What is made of energy comes as far as that was paid.
Amount madeMetal(const WorldParts& world, const Unit& unit, const Player& player) {
    const Amount metal = yieldOf(world, unit).metal;
    return unit.type->economy.energyUse > Amount() ? partlyPaid(metal, player.energy.share) : metal;
}

/// Told once, until it goes on in full.
void noteStall(WorldParts& world, Unit& unit, bool isShort) {
    if (isShort && !unit.labour.isStalled) world.tell(unit, Stalled{});
    unit.labour.isStalled = isShort;
}

bool isShort(const WorldParts& world, const Unit& unit, const UnitWish& wish,
             const Player& player) {
    const Fixed whole = Fixed::fromInt(1);
    const UnitEconomy& economy = unit.type->economy;
    if (unit.isStunned(world.state.tick)) return false;
    if (unit.isActive && shareFor(player, {economy.metalUse, economy.energyUse}) < whole)
        return true;
    if (shareFor(player, stockpilePrice(world, unit)) < whole) return true;
    if (!wish.work) return false;
    std::int64_t work = fullWork(world, unit, *wish.work);
    return shareFor(player, priceOf(world, unit.player, *wish.work, work)) < whole;
}

}  // namespace

Amount partlyPaid(Amount amount, Fixed share) {
    const std::int64_t whole = amount.raw() >> Fixed::kFractionBits;
    const std::int64_t fraction = amount.raw() & (Fixed::kOne - 1);
    return Amount::fromRaw(whole * share.raw() + (fraction * share.raw() >> Fixed::kFractionBits));
}

void stepEconomy(WorldParts& world, TickScratch& scratch) {
    if (world.state.tick % rules::kWindTicks == 0 && world.state.tick > 0) driftWind(world);
    Flows flows{};
    for (const Unit& unit : world.state.units)
        if (trades(unit)) {
            addUnit(world, unit, flowOf(flows, unit));
            addWork(world, unit, scratch.wishes[unit.slot()], flowOf(flows, unit));
        }
    Players& players = world.state.players;
    for (std::size_t i = 0; i < flows.size(); ++i) {
        const Flow& flow = flows[i];
        Player& player = players[i];
        player.metal.storage = std::max(player.metal.ownStorage, flow.metalStorage);
        player.energy.storage = std::max(player.energy.ownStorage, flow.energyStorage);
        settle(player.energy, flow.energyIncome, flow.energyUpkeep, flow.work.energy);
    }
    for (const Unit& unit : world.state.units)
        if (trades(unit) && !unit.isStunned(world.state.tick))
            flowOf(flows, unit).metalIncome += madeMetal(world, unit, playerOf(world, unit));
    for (std::size_t i = 0; i < flows.size(); ++i)
        settle(players[i].metal, flows[i].metalIncome, flows[i].metalUpkeep, flows[i].work.metal);
    for (Unit& unit : world.state.units)
        if (trades(unit))
            noteStall(world, unit,
                      isShort(world, unit, scratch.wishes[unit.slot()], playerOf(world, unit)));
}

}  // namespace orb::sim
