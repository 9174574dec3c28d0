#include <algorithm>
#include <cstdlib>

#include "sim/fight/damage.h"
#include "sim/fight/remains.h"
#include "sim/fight/weapons.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/scripts/piece_pose.h"
#include "sim/scripts/script_host.h"
#include "sim/units/births.h"
#include "sim/work/work.h"
#include "sim/work/yards.h"

// Each builder does the part of its work that its player can pay. What is built grows with it, what
// is left alone decays.

namespace orb::sim {
namespace {

/// Where a builder's new frame comes to be.
UnitBirth birthOf(const WorldParts& world, const Unit& unit, const Order& order) {
    UnitBirth birth;
    birth.type = world.frame.products.at(order.product);
    birth.player = unit.player;
    birth.buildFraction = Fixed();
    birth.healthPercent = 0;
    birth.isActive = birth.type->isActiveWhenBuilt;
    birth.place = order.place;
    if (!unit.type->isBuilding) return birth;
    const Vector pad = padOf(world, unit);
    birth.place = world.frame.terrain.clamped({pad.x, pad.z});
    birth.heading = padHeading(world, unit);
    birth.isForced = true;
    return birth;
}

/// What a factory was told to do without orders, other than it would by itself, its products do.
void handStandingOn(const Unit& factory, Unit& product) {
    const UnitType& type = *factory.type;
    if (factory.standing.move != type.moveState) product.standing.move = factory.standing.move;
    if (factory.standing.fire != type.fireState) product.standing.fire = factory.standing.fire;
}

/// Sets up the frame of what the unit's order is to build.
void beginFrame(WorldParts& world, TickScratch& scratch, Unit& unit) {
    if (unit.orders.empty() || world.state.units.isFull()) return;
    const UnitBirth birth = birthOf(world, unit, unit.orders.front());
    if (testUnit(world, birth) != SiteFault::none) return;
    Unit& frame = placeUnit(world, birth);
    frame.growth.wasBegun = true;
    frame.growth.builtAt = world.state.tick;
    if (unit.type->isBuilding) {
        unit.labour.site = frame.ref();
        handStandingOn(unit, frame);
    } else {
        unit.orders.front().target = frame.ref();
    }
    scratch.fit(world.state.units.slotCount());
}

/// Hit points come with the work, and go with it.
void changeHealth(Unit& target, std::int64_t from, std::int64_t to) {
    const std::int64_t whole = wholeWork(*target.type);
    const Amount most = Amount::fromInt(target.type->maxHealth);
    target.health += partOf(most, to, whole) - partOf(most, from, whole);
    target.health = std::clamp(target.health, Amount::fromRaw(1), most);
}

void build(WorldParts& world, Unit& target, std::int64_t work) {
    const std::int64_t before = target.growth.done;
    setWork(target, before + work);
    changeHealth(target, before, target.growth.done);
    target.growth.wasBegun = true;
    target.growth.builtAt = world.state.tick;
    if (target.isBuilt()) completeUnit(world, target);
}

void repair(Unit& target, std::int64_t work) {
    const Amount most = Amount::fromInt(target.type->maxHealth);
    target.health = std::min(most, target.health + partOf(most, work, wholeWork(*target.type)));
    target.growth.reclaimed = std::max<std::int64_t>(0, target.growth.reclaimed - work);
}

/// Who attacks it is of its own player now, who guards it of another.
void endOrdersAbout(WorldParts& world, const Unit& target) {
    const auto isOver = [&](const Unit& unit, const Order& order) {
        const bool attacks = order.kind == OrderKind::attack || order.kind == OrderKind::fire;
        return order.target == target.ref() &&
               (unit.player == target.player ? attacks : order.kind == OrderKind::guard);
    };
    for (Unit& unit : world.state.units) {
        if (unit.orders.empty()) continue;
        const Order first = unit.orders.front();
        std::erase_if(unit.orders, [&](const Order& order) { return isOver(unit, order); });
        if (!isOver(unit, first)) continue;
        unit.motion.beginAnew();
        if (first.source == OrderSource::given)
            world.tell(unit, OrderFailed{first.kind, OrderFailure::targetGone});
    }
}

void changeHands(WorldParts& world, Unit& target, std::int32_t player) {
    target.player = player;
    target.orders.clear();
    target.rally.clear();
    target.chase = {};
    target.lastAttacker = {};
    target.labour.selfDestructAt = 0;
    target.growth.captured = 0;
    target.growth.capturedBy = 0;
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot) {
        aimAt(world, target, slot, {});
        target.weapons[slot].stockpile = {};
    }
    target.motion.beginAnew();
    endOrdersAbout(world, target);
}

/// Of two players who are at it each undoes what the other has done.
void capture(WorldParts& world, const Unit& unit, Unit& target, std::int64_t work) {
    UnitGrowth& growth = target.growth;
    const std::int64_t done = capturedSoFar(world, target, unit.player) + work;
    if (done >= 0) growth.capturedBy = unit.player;
    growth.captured = std::abs(done);
    growth.capturedAt = world.state.tick;
    if (done < wholeWork(*target.type)) return;
    changeHands(world, target, unit.player);
    for (const UnitRef ref : target.hold.cargo)
        if (Unit* const aboard = world.state.units.find(ref))
            changeHands(world, *aboard, unit.player);
}

/// A frame goes back the way it came, and its metal to who takes it apart.
void reclaimFrame(WorldParts& world, const Unit& unit, Unit& target, std::int64_t work) {
    const std::int64_t whole = wholeWork(*target.type), before = target.growth.done;
    const std::int64_t after = std::max<std::int64_t>(0, before - work);
    const Amount metal = target.type->economy.buildMetal;
    playerOf(world, unit).metal.gain(partOf(metal, before, whole) - partOf(metal, after, whole));
    setWork(target, after);
    changeHealth(target, before, after);
    target.growth.builtAt = world.state.tick;
    target.growth.wasBegun = true;
}

/// What is ready goes on acting while it loses hit points; who is hurt is worth less.
void reclaimReady(WorldParts& world, const Unit& unit, Unit& target, std::int64_t work) {
    const std::int64_t whole = wholeWork(*target.type), before = target.growth.reclaimed;
    const std::int64_t after = target.growth.reclaimed = std::min(whole, before + work);
    const auto part = [&](Amount all) {
        return partOf(all, after, whole) - partOf(all, before, whole);
    };
    playerOf(world, unit).metal.gain(part(target.type->economy.buildMetal));
    target.health -= part(Amount::fromInt(target.type->maxHealth));
    if (after < whole && target.health > Amount()) return;
    // It leaves nothing behind, like a frame.
    target.health = Amount::fromRaw(1);
    setWork(target, 0);
}

void reclaimUnit(WorldParts& world, TickScratch& scratch, const Unit& unit, Unit& target,
                 std::int64_t work) {
    if (target.isBuilt())
        reclaimReady(world, unit, target, work);
    else
        reclaimFrame(world, unit, target, work);
    if (target.growth.done == 0) killUnit(world, scratch, target, 0, DeathKind::killed);
}

void reclaimFeature(WorldParts& world, const Unit& unit, std::uint32_t id, std::int64_t work) {
    Feature* const feature = world.state.features.find(id);
    if (!feature) return;
    const FeatureType& type = world.frame.featureTypes[feature->type];
    const std::int64_t whole = wholeWork(type), before = feature->reclaimed;
    feature->reclaimed = std::min(whole, before + work);
    Player& player = playerOf(world, unit);
    const auto part = [&](float worth) {
        const Amount all = Amount::fromNumber(std::max(0.0F, worth));
        return partOf(all, feature->reclaimed, whole) - partOf(all, before, whole);
    };
    player.metal.gain(part(type.metal));
    player.energy.gain(part(type.energy));
    if (feature->reclaimed == whole) replaceFeature(world, id, type.reclaimedFollower);
}

void doWork(WorldParts& world, TickScratch& scratch, Unit& unit, const WorkWish& wish) {
    std::int64_t work = fullWork(world, unit, wish);
    if (wish.feature != 0) return reclaimFeature(world, unit, wish.feature, work);
    Unit* const target = world.state.units.find(wish.target);
    if (!target || target->isDying) return;
    // Whoever waits for metal at a frame keeps it from decaying.
    if (wish.kind == WorkWish::Kind::build) target->growth.builtAt = world.state.tick;
    Player& player = playerOf(world, unit);
    const Fixed share = shareFor(player, priceOf(world, unit.player, wish, work));
    work = work * share.raw() >> Fixed::kFractionBits;
    const Price price = priceOf(world, unit.player, wish, work);
    if (work == 0 || price.metal > player.metal.amount || !player.energy.pay(price.energy)) return;
    player.metal.pay(price.metal);
    switch (wish.kind) {
        case WorkWish::Kind::build:
            return build(world, *target, work);
        case WorkWish::Kind::repair:
            return repair(*target, work);
        case WorkWish::Kind::capture:
            return capture(world, unit, *target, work);
        case WorkWish::Kind::reclaim:
            return reclaimUnit(world, scratch, unit, *target, work);
    }
}

void noteNanoPiece(WorldParts& world, Unit& unit) {
    if (world.state.tick % rules::kNanoTicks == 0)
        unit.labour.nanoPiece = queryPiece(world, unit, UnitScript::queryNanoPiece);
}

/// A frame that nobody has built for a while.
void decay(WorldParts& world, TickScratch& scratch, Unit& unit) {
    const UnitGrowth& growth = unit.growth;
    if (!growth.wasBegun || world.state.tick - growth.builtAt < rules::kDecayAfter) return;
    const std::int64_t before = growth.done;
    setWork(unit, before - std::max<std::int64_t>(1, wholeWork(*unit.type) / rules::kDecayTicks));
    changeHealth(unit, before, growth.done);
    if (growth.done == 0) killUnit(world, scratch, unit, 0, DeathKind::killed);
}

void heal(Unit& unit) {
    const Amount most = Amount::fromInt(unit.type->maxHealth);
    if (unit.health >= most) return;
    unit.health =
        std::min(most, unit.health + Amount::fromRaw(unit.type->healing.raw() / kTicksPerSecond));
}

void age(WorldParts& world, TickScratch& scratch, Unit& unit) {
    if (unit.isDying) return;
    if (!unit.isBuilt()) return decay(world, scratch, unit);
    if (unit.type->becomesFeature && unit.growth.wasBegun && unit.type->corpse >= 0)
        return bury(world, {unit.ref(), unit.type->corpse});
    heal(unit);
    const Tick end = unit.labour.selfDestructAt;
    if (end != 0 && world.state.tick >= end)
        killUnit(world, scratch, unit, rules::kMostSeverity, DeathKind::selfDestruct);
}

}  // namespace

void stepConstruction(WorldParts& world, TickScratch& scratch) {
    for (Unit& unit : world.state.units) {
        const std::optional<WorkWish> wish = scratch.wishes[unit.slot()].work;
        if (!wish || unit.isDying) continue;
        if (!wish->worker) noteNanoPiece(world, unit);
        if (wish->kind == WorkWish::Kind::build && !wish->target)
            beginFrame(world, scratch, unit);
        else
            doWork(world, scratch, unit, *wish);
    }
    for (Unit& unit : world.state.units) {
        carryOnPad(world, unit);
        age(world, scratch, unit);
    }
    for (Player& player : world.state.players) {
        player.metal.spill();
        player.energy.spill();
    }
}

}  // namespace orb::sim
