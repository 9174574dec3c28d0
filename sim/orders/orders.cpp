#include "sim/orders/orders.h"

#include <algorithm>

#include "cob/cob_vm.h"
#include "io/ascii.h"
#include "sim/cargo/cargo.h"
#include "sim/cargo/landing_pads.h"
#include "sim/fight/aim_points.h"
#include "sim/fight/aiming.h"
#include "sim/fight/attacks.h"
#include "sim/fight/obstacles.h"
#include "sim/motion/giving_way.h"
#include "sim/motion/ground_motion.h"
#include "sim/orders/formation.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/scripts/script_host.h"
#include "sim/sight/cloak.h"
#include "sim/units/births.h"
#include "sim/work/generators.h"
#include "sim/work/work.h"

namespace orb::sim {
namespace {

using Aim = OrderRule::Aim;

constexpr OrderRule walk(Aim aim) {
    return {.aim = aim, .needsMobility = true, .needsBuilt = true, .joinsQueue = true};
}
constexpr OrderRule workOn(Aim aim) {
    return {.aim = aim, .needsBuilt = true, .needsTools = true, .joinsQueue = true};
}
constexpr OrderRule carry(Aim aim) {
    return {.aim = aim, .needsBuilt = true, .needsHold = true, .joinsQueue = true};
}
constexpr OrderRule fly(Aim aim) {
    return {.aim = aim, .needsBuilt = true, .needsWings = true, .joinsQueue = true};
}
constexpr OrderRule shoot() {
    return {.aim = Aim::targetOrPlace, .needsWeapon = true, .needsBuilt = true, .joinsQueue = true};
}
constexpr OrderRule atOnce(Aim aim = Aim::none, bool needsBuilt = false) {
    return {.aim = aim, .needsBuilt = needsBuilt};
}

/// Orders that a factory hands on at most.
constexpr std::size_t kMaxRally = 16;
/// What one order to a factory builds at most.
constexpr std::int32_t kMaxProducts = 1'000;

const Feature* findFeature(const WorldParts& world, std::int64_t id) {
    return id > 0 && id <= 0xFFFFFFFF ? world.state.features.find(static_cast<std::uint32_t>(id))
                                      : nullptr;
}

std::uint8_t stateOf(const OrderRequest& request) {
    return static_cast<std::uint8_t>(std::clamp(request.value, 0.0, 2.0));
}

std::int32_t severityOf(const OrderRequest& request) {
    return static_cast<std::int32_t>(std::clamp(request.value, 0.0, double{rules::kMostSeverity}));
}

void finish(WorldParts& world, Unit& unit) {
    if (unit.isBuilt()) return;
    unit.health = Amount::fromInt(unit.type->maxHealth);
    completeUnit(world, unit);
}

/// Ordered again, it is called off.
void countDown(WorldParts& world, TickScratch& scratch, Unit& unit) {
    Tick& end = unit.labour.selfDestructAt;
    if (!unit.isBuilt())
        killUnit(world, scratch, unit, rules::kMostSeverity, DeathKind::selfDestruct);
    else
        end = end != 0 ? 0 : world.state.tick + std::max(1, unit.type->selfDestructTicks);
}

/// A factory whose yard it leaves begins another.
void leaveYard(WorldParts& world, const Unit& frame) {
    for (Unit& factory : world.state.units)
        if (factory.labour.site && factory.labour.site == frame.ref()) factory.labour.site = {};
}

void placeElsewhere(WorldParts& world, Unit& unit, const OrderRequest& request) {
    leaveHold(world, unit);
    leaveYard(world, unit);
    unit.chase.isAway = false;
    moveUnitTo(world, unit, standingPlace(*unit.type, *request.place));
    if (request.hasHeading) unit.heading = request.heading;
    if (unit.type->canFly)
        unit.pitch = unit.roll = {};
    else if (!unit.type->isBuilding)
        settleOnGround(world, unit);
    unit.motion.speed = {};
    unit.motion.beginAnew();
    if (unit.type->economy.extracts())
        unit.labour.groundMetal = groundMetal(world.frame, unit.cells());
    if (unit.isBuilt()) tellGenerator(world, unit);
}

void startNamedScript(WorldParts& world, Unit& unit, const OrderRequest& request) {
    if (unitview::CobInstance* const instance = world.state.scripts.of(unit))
        unitview::CobVm(*instance).startScript(request.script, request.arguments);
}

void damageUnit(WorldParts&, TickScratch& scratch, Unit& unit, const OrderRequest& request) {
    Damage damage;
    damage.victim = unit.ref();
    damage.amount =
        std::clamp(Amount::fromNumber(request.value), Amount(), Amount::fromInt(kMaxDamage));
    if (request.place)
        damage.heading =
            headingOf(unit.place.x - request.place->x, unit.place.z - request.place->z);
    scratch.damage.push_back(damage);
}

void actAtOnce(WorldParts& world, TickScratch& scratch, Unit& unit, const OrderRequest& request) {
    switch (request.kind) {
        case OrderKind::stop:
            unit.orders.clear();
            unit.chase.isAway = false;
            return unit.motion.beginAnew();
        case OrderKind::activate:
        case OrderKind::deactivate:
            return switchUnit(world, unit, request.kind == OrderKind::activate);
        case OrderKind::cloak:
        case OrderKind::decloak:
            return setCloak(unit, request.kind == OrderKind::cloak);
        case OrderKind::moveState:
            unit.standing.move = stateOf(request);
            return;
        case OrderKind::fireState:
            unit.standing.fire = stateOf(request);
            return;
        case OrderKind::selfDestruct:
            return countDown(world, scratch, unit);
        case OrderKind::damage:
            return damageUnit(world, scratch, unit, request);
        case OrderKind::kill:
            return killUnit(world, scratch, unit, severityOf(request), DeathKind::killed);
        case OrderKind::finish:
            return finish(world, unit);
        case OrderKind::place:
            return placeElsewhere(world, unit, request);
        case OrderKind::script:
            return startNamedScript(world, unit, request);
        case OrderKind::remove:
            return removeUnit(world, unit);
        default:
            return;
    }
}

bool mayBuild(const UnitType& builder, const UnitType& product) {
    return std::ranges::any_of(builder.buildOptions, [&](const std::string& option) {
        return io::equalsIgnoringCase(option, product.name);
    });
}

/// It has an order of that kind at that unit; of nobody in particular without one.
bool isToDo(const Unit& unit, OrderKind kind, const Unit* target) {
    return std::ranges::any_of(unit.orders, [&](const Order& order) {
        return order.kind == kind && (!target || order.target == target->ref());
    });
}

/// Whether what the order names is there, and somebody else who can be got at.
bool isTargetThere(const WorldParts& world, const Unit& unit, const OrderRequest& request) {
    if (request.feature && !findFeature(world, *request.feature)) return false;
    if (!request.target) return true;
    const Unit* const target = world.state.units.withId(*request.target);
    if (request.kind == OrderKind::unload)
        return target && (target->carrier == unit.ref() ||
                          (request.isQueued && isToDo(unit, OrderKind::load, target)));
    if (request.kind == OrderKind::load) return target;  // see below
    const bool mustBePresent = request.kind != OrderKind::guard;
    return target && target != &unit && (!mustBePresent || target->isPresent());
}

UnitWish::Attack attackOf(const WorldParts& world, const OrderRequest& request) {
    UnitWish::Attack attack;
    attack.slot = request.slot;
    attack.isCommand = request.kind == OrderKind::fire;
    if (request.target)
        attack.target = world.state.units.withId(*request.target)->ref();
    else
        attack.place = {request.place->x, world.frame.terrain.groundHeight(*request.place),
                        request.place->z};
    return attack;
}

/// One of the weapons that are meant and able reaches from where the unit is.
bool reachesFromHere(const WorldParts& world, const Unit& unit, const UnitWish::Attack& attack) {
    const Unit* const target = world.state.units.find(attack.target);
    const AimTarget aim =
        target ? AimTarget{hitCenter(world, *target), target} : AimTarget{attack.place, nullptr};
    for (std::size_t slot = 0; slot < kWeaponSlots; ++slot)
        if (faultOf(world, unit, attack, slot) == WeaponFault::none &&
            isInRange(world, unit, *unit.type->weapons[slot], aim))
            return true;
    return false;
}

OrderRefusal testWeapons(const WorldParts& world, const Unit& unit,
                         const UnitWish::Attack& attack) {
    switch (faultOf(world, unit, attack)) {
        case WeaponFault::notThere:
            return OrderRefusal::noWeapon;
        case WeaponFault::onlyOnCommand:
            return OrderRefusal::onlyOnCommand;
        case WeaponFault::cannotReach:
            return OrderRefusal::cannotReach;
        case WeaponFault::none:
            break;
    }
    return OrderRefusal::none;
}

bool patrols(const Unit& unit) {
    return std::ranges::any_of(unit.orders,
                               [](const Order& order) { return order.kind == OrderKind::patrol; });
}

/// Who patrols alone between one place and another begins where he is: two orders.
bool hasRoom(const Unit& unit, const OrderRequest& request) {
    const std::size_t more = request.kind == OrderKind::patrol && !patrols(unit) ? 2 : 1;
    return !request.isQueued || unit.orders.size() + more <= kMaxOrders;
}

/// Of those that act at once.
OrderAnswer testDeed(const WorldParts& world, const Unit& unit, const OrderRequest& request) {
    if (request.kind == OrderKind::place)
        return OrderAnswer(testMove(world, unit, *request.place, request.isForced));
    if (request.kind == OrderKind::script) {
        const unitview::CobInstance* const instance = world.state.scripts.of(unit);
        if (instance && isFullOfThreads(*instance)) return OrderRefusal::tooManyThreads;
    }
    return OrderRefusal::none;
}

/// Whoever is aboard of somebody does nothing, and is not hurt.
bool isOutOfReach(const Unit& unit, const OrderRequest& request) {
    return unit.carrier &&
           (orderRule(request.kind).joinsQueue || request.kind == OrderKind::damage);
}

bool isHoldFull(const Unit& unit) {
    return unit.hold.cargo.size() >= static_cast<std::size_t>(unit.type->hold.capacity);
}

OrderHindrance testLoad(const Unit& unit, const Unit& load, bool isQueued) {
    if (&load == &unit) return OrderHindrance::itself;
    if (load.carrier) return OrderHindrance::aboard;
    if (load.player != unit.player) return OrderHindrance::ofOtherPlayer;
    if (!canBeCarried(*load.type)) return OrderHindrance::cannotBeCarried;
    if (!fitsHold(*unit.type, *load.type)) return OrderHindrance::tooLarge;
    if (!load.isBuilt()) return OrderHindrance::targetNotBuilt;
    if (!load.hold.cargo.empty()) return OrderHindrance::carriesOthers;
    const bool makesRoom = isQueued && isToDo(unit, OrderKind::unload, nullptr);
    return isHoldFull(unit) && !makesRoom ? OrderHindrance::holdFull : OrderHindrance::none;
}

/// What keeps a unit that could do so otherwise from working on its target.
OrderHindrance hindranceOf(const WorldParts& world, const Unit& unit, const OrderRequest& request) {
    const bool isOfUnits = request.kind == OrderKind::unload || request.target;
    if (!isOfUnits) return OrderHindrance::none;
    const Unit* const target = request.target ? world.state.units.withId(*request.target) : nullptr;
    if (request.kind == OrderKind::unload) {
        const bool takesOne = request.isQueued && isToDo(unit, OrderKind::load, nullptr);
        return unit.hold.cargo.empty() && !takesOne ? OrderHindrance::holdEmpty
                                                    : OrderHindrance::none;
    }
    const bool isOwn = target->player == unit.player;
    switch (request.kind) {
        case OrderKind::load:
            return testLoad(unit, *target, request.isQueued);
        case OrderKind::repair:
            return isOwn ? OrderHindrance::none : OrderHindrance::ofOtherPlayer;
        case OrderKind::capture:
            if (isOwn) return OrderHindrance::ofSamePlayer;
            return target->isBuilt() ? OrderHindrance::none : OrderHindrance::targetNotBuilt;
        case OrderKind::land:
            if (!isOwn) return OrderHindrance::ofOtherPlayer;
            if (!hasPads(*target->type)) return OrderHindrance::noPad;
            return target->isBuilt() ? OrderHindrance::none : OrderHindrance::targetNotBuilt;
        default:
            return OrderHindrance::none;
    }
}

/// What a factory does not do itself but its products.
bool isHandedOn(const Unit& unit, OrderKind kind) {
    return (kind == OrderKind::move || kind == OrderKind::patrol) && unit.type->sendsProducts;
}

/// Whether a unit has the tools for what it is to do.
bool canWork(const UnitType& type, const OrderRequest& request) {
    if (type.economy.workPerTick == 0) return false;
    if (request.kind == OrderKind::build && !request.product) return false;
    switch (request.kind) {
        case OrderKind::build:
            return !(type.isBuilding && request.product->isBuilding) &&
                   (request.isUnrestricted || mayBuild(type, *request.product));
        case OrderKind::reclaim:
            return type.canReclaim;
        case OrderKind::capture:
            return type.canCapture;
        default:
            return true;
    }
}

OrderAnswer testOrder(const WorldParts& world, const Unit* unit, const OrderRequest& request) {
    const OrderRule& rule = orderRule(request.kind);
    if (!unit || unit->isDying) return OrderRefusal::noSuchUnit;
    if (!isTargetThere(world, *unit, request)) return OrderRefusal::noSuchTarget;
    if (isHandedOn(*unit, request.kind))
        return request.isQueued && unit->rally.size() >= kMaxRally ? OrderRefusal::queueFull
                                                                   : OrderRefusal::none;
    if (rule.needsMobility && !unit->type->canMove) return OrderRefusal::cannotMove;
    if (rule.needsTools && !canWork(*unit->type, request)) return OrderRefusal::cannotWork;
    if (rule.needsHold && unit->type->hold.capacity == 0) return OrderRefusal::cannotWork;
    if (rule.needsWings && !(unit->type->canFly && unit->type->canMove))
        return OrderRefusal::cannotWork;
    if (request.kind == OrderKind::build && !unit->type->isBuilding && !request.place)
        return OrderRefusal::needsPlace;
    if (rule.needsWeapon)
        if (const auto refusal = testWeapons(world, *unit, attackOf(world, request));
            refusal != OrderRefusal::none)
            return refusal;
    if (request.kind == OrderKind::cloak && !unit->type->senses.canCloak)
        return OrderRefusal::cannotCloak;
    if (rule.needsBuilt && !unit->isBuilt()) return OrderRefusal::notBuilt;
    if (rule.needsWeapon && !unit->type->canMove &&
        !reachesFromHere(world, *unit, attackOf(world, request)))
        return OrderRefusal::outOfRange;
    if (isOutOfReach(*unit, request)) return OrderRefusal::carried;
    if (const OrderHindrance why = hindranceOf(world, *unit, request); why != OrderHindrance::none)
        return OrderAnswer(why);
    if (!rule.joinsQueue) return testDeed(world, *unit, request);
    return hasRoom(*unit, request) ? OrderRefusal::none : OrderRefusal::queueFull;
}

/// The place of a type among what was ever ordered. What it needs to walk is made now, not when it
/// is born within a tick.
std::uint32_t productOf(WorldParts& world, const std::shared_ptr<const UnitType>& type) {
    auto& products = world.frame.products;
    const auto known = std::ranges::find(products, type);
    const auto index = static_cast<std::uint32_t>(known - products.begin());
    if (known == products.end()) products.push_back(type);
    movementClassOf(world, *type);
    return index;
}

Order orderOf(WorldParts& world, const OrderRequest& request) {
    Order order;
    order.kind = request.kind;
    order.slot = request.slot;
    if (request.place) {
        order.place = order.gathering = *request.place;
        order.altitude = floorHeight(world, *request.place, Medium::air);
    }
    if (request.feature && findFeature(world, *request.feature))
        order.feature = static_cast<std::uint32_t>(*request.feature);
    if (request.product) {
        order.product = productOf(world, request.product);
        order.count = std::clamp(request.count, 1, kMaxProducts);
    }
    if (request.target)
        if (const Unit* const target = world.state.units.withId(*request.target))
            order.target = target->ref();
    return order;
}

/// For its products that are ready from now on.
void handOn(Unit& factory, const Order& order, bool isQueued) {
    if (!isQueued) factory.rally.clear();
    factory.rally.push_back(order);
}

void queueOrder(Unit& unit, const Order& order, bool isQueued) {
    const bool isOwnWill = unit.orders.size() == 1 && unit.orders[0].source == OrderSource::chase;
    if (!isQueued || isOwnWill) unit.orders.clear();
    if (unit.orders.empty()) unit.chase.isAway = false;
    if (unit.orders.empty()) unit.motion.beginAnew();
    if (orderRule(order.kind).needsWeapon)  // what was told of the last attack is told again
        for (WeaponState& weapon : unit.weapons) weapon.toldFailure = 0;
    if (order.kind == OrderKind::patrol && !patrols(unit)) {
        Order start = order;
        start.place = start.gathering = unit.place;
        unit.orders.push_back(order);
        unit.orders.push_back(start);
    } else {
        unit.orders.push_back(order);
    }
}

}  // namespace

const OrderRule& orderRule(OrderKind kind) {
    static constexpr std::array<OrderRule, 26> kRules = {{
        walk(Aim::place),         // move
        walk(Aim::place),         // patrol
        atOnce(),                 // stop
        shoot(),                  // attack
        shoot(),                  // fire
        walk(Aim::target),        // guard
        workOn(Aim::target),      // repair
        workOn(Aim::target),      // capture
        carry(Aim::target),       // load
        carry(Aim::place),        // unload
        fly(Aim::target),         // land
        workOn(Aim::product),     // build
        workOn(Aim::target),      // reclaim
        atOnce(Aim::none, true),  // activate
        atOnce(Aim::none, true),  // deactivate
        atOnce(Aim::none, true),  // cloak
        atOnce(Aim::none, true),  // decloak
        atOnce(),                 // moveState
        atOnce(),                 // fireState
        atOnce(),                 // selfDestruct
        atOnce(Aim::maybePlace),  // damage
        atOnce(),                 // kill
        atOnce(),                 // finish
        atOnce(Aim::place),       // place
        atOnce(),                 // script
        atOnce(),                 // remove
    }};
    static_assert(static_cast<std::size_t>(OrderKind::remove) + 1 == kRules.size());
    return kRules.at(static_cast<std::size_t>(kind));
}

std::vector<OrderAnswer> giveOrder(WorldParts& world, TickScratch& scratch,
                                   std::span<const std::int64_t> unitIds,
                                   const OrderRequest& request) {
    std::vector<OrderAnswer> answers;
    std::vector<Unit*> takers;
    answers.reserve(unitIds.size());
    for (const std::int64_t id : unitIds) {
        Unit* const unit = world.state.units.withId(id);
        answers.push_back(testOrder(world, unit, request));
        if (!answers.back().isTaken()) continue;
        if (isHandedOn(*unit, request.kind)) {
            handOn(*unit, orderOf(world, request), request.isQueued);
        } else if (orderRule(request.kind).joinsQueue) {
            takers.push_back(unit);
        } else {
            actAtOnce(world, scratch, *unit, request);
        }
    }
    const Order order = orderOf(world, request);
    const bool spreads = request.kind == OrderKind::move || request.kind == OrderKind::patrol;
    const std::vector<GroundPoint> places =
        spreads ? formation(world, takers, order.place) : std::vector<GroundPoint>();
    for (std::size_t i = 0; i < takers.size(); ++i) {
        Order own = order;
        if (spreads) own.place = places[i];
        queueOrder(*takers[i], own, request.isQueued);
    }
    return answers;
}

void switchUnit(WorldParts& world, Unit& unit, bool on) {
    unitview::UnitLifecycle& lifecycle = world.state.scripts.lifecycle();
    unitview::LifecycleUnit known{unit.type->name, static_cast<std::int32_t>(unit.id), 1.0F,
                                  unit.isActive};
    if (on)
        lifecycle.activate(known);
    else
        lifecycle.deactivate(known);
    unit.isActive = known.active;
}

void clearYard(WorldParts& world, Unit& building) {
    forEachCell(building.cells(), [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        if (owner.kind() != CellOwner::Kind::mobile) return;
        if (Unit* const unit = world.state.units.withId(owner.id()))
            makeRoom(world, *unit, building);
    });
}

}  // namespace orb::sim
