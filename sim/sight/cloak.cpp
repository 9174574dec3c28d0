#include "sim/sight/cloak.h"

#include "sim/rules.h"
#include "sim/tick_scratch.h"
#include "sim/work/work.h"
#include "sim/world_parts.h"

namespace orb::sim {
namespace {

bool isEnemyNear(const WorldParts& world, const Unit& unit) {
    return world.derived.buckets.anyWithin(
        world.state.units, unit.place, unit.type->senses.uncloakDistance, [&](const Unit& other) {
            return other.player != unit.player && other.isPresent() && other.isBuilt();
        });
}

Amount cloakPrice(const Unit& unit) {
    const UnitSenses& senses = unit.type->senses;
    return unit.motion.speed == Fixed() ? senses.cloakCost : senses.movingCloakCost;
}

/// Those who do not hide yet want a second's price in stock, so that they do not come and go.
bool canPay(WorldParts& world, const Unit& unit) {
    const Player& player = playerOf(world, unit);
    const Amount price = cloakPrice(unit);
    if (price == Amount()) return true;
    return unit.cloak.isOn ? player.energy.share == Fixed::fromInt(1)
                           : player.energy.amount >= price;
}

bool looks(const WorldParts& world, const Unit& unit) {
    return (world.state.tick + static_cast<Tick>(unit.id)) % rules::kCloakLookEvery == 0;
}

}  // namespace

void setCloak(Unit& unit, bool isWanted) {
    unit.cloak.isWanted = isWanted;
    if (!isWanted) unit.cloak.isOn = false;
}

void findOut(Unit& unit, Tick now) {
    if (!unit.cloak.isWanted) return;
    unit.cloak.isOn = false;
    unit.cloak.foundOutUntil = now + rules::kFoundOutTicks;
}

Amount cloakUpkeep(const Unit& unit) {
    return unit.cloak.isOn ? cloakPrice(unit) : Amount();
}

void stepCloaks(WorldParts& world, TickScratch&) {
    const Tick now = world.state.tick;
    for (Unit& unit : world.state.units) {
        UnitCloak& cloak = unit.cloak;
        if (!cloak.isWanted) continue;
        if (!unit.isPresent() || !unit.isBuilt() || unit.isStunned(now)) {
            cloak.isOn = false;
            continue;
        }
        if (!cloak.isOn && now < cloak.foundOutUntil) continue;
        const bool isFound = !canPay(world, unit) ||
                             ((!cloak.isOn || looks(world, unit)) && isEnemyNear(world, unit));
        if (isFound)
            findOut(unit, now);
        else
            cloak.isOn = true;
    }
}

}  // namespace orb::sim
