#include "sim/orders/orders.h"

#include <algorithm>

#include "cob/cob_vm.h"
#include "io/ascii.h"
#include "sim/cargo/cargo.h"
#include "sim/motion/giving_way.h"
#include "sim/orders/formation.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/scripts/script_host.h"
#include "sim/units/births.h"
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
constexpr OrderRule shoot() {
    return {.aim = Aim::targetOrPlace, .needsWeapon = true, .needsBuilt = true, .joinsQueue = true};
}
constexpr OrderRule atOnce(Aim aim = Aim::none, bool needsBuilt = false) {
    return {.aim = aim, .needsBuilt = needsBuilt};
}
constexpr OrderRule toCome(Aim aim = Aim::none) {
    return {.aim = aim, .isKnown = false};
}

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

void placeElsewhere(WorldParts& world, Unit& unit, const OrderRequest& request) {
    leaveHold(world, unit);
    if (unit.type->canFly) unit.pitch = unit.roll = {};
    if (request.place) moveUnitTo(world, unit, *request.place);
    if (request.hasHeading) unit.heading = request.heading;
    unit.motion.speed = {};
    unit.motion.beginAnew();
}

void startNamedScript(WorldParts& world, Unit& unit, const OrderRequest& request) {
    if (unitview::CobInstance* const instance = world.state.scripts.of(unit))
        unitview::CobVm(*instance).startScript(request.script, request.arguments);
}

void damageUnit(WorldParts&, TickScratch& scratch, Unit& unit, const OrderRequest& request) {
    Damage damage;
    damage.victim = unit.ref();
    damage.amount = Amount::fromNumber(request.value);
    if (request.place)
        damage.heading =
            headingOf(unit.place.x - request.place->x, unit.place.z - request.place->z);
    scratch.damage.push_back(damage);
}

void actAtOnce(WorldParts& world, TickScratch& scratch, Unit& unit, const OrderRequest& request) {
    switch (request.kind) {
        case OrderKind::stop:
            unit.orders.clear();
            return;
        case OrderKind::activate:
        case OrderKind::deactivate:
            return switchUnit(world, unit, request.kind == OrderKind::activate);
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

bool hasWeapon(const UnitType& type, std::int8_t slot) {
    const auto isThere = [&](const auto& weapon) { return weapon != nullptr; };
    return slot < 0 ? std::ranges::any_of(type.weapons, isThere)
                    : isThere(type.weapons.at(static_cast<std::size_t>(slot)));
}

/// Whether a unit can have somebody aboard, and whom it is to load.
bool canCarry(const WorldParts& world, const Unit& unit, const OrderRequest& request) {
    const Unit* const load = request.target ? world.state.units.withId(*request.target) : nullptr;
    if (request.kind != OrderKind::load) return unit.type->hold.capacity > 0;
    return load && load != &unit && load->player == unit.player &&
           fitsHold(*unit.type, *load->type);
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

OrderRefusal testOrder(const WorldParts& world, const Unit* unit, const OrderRequest& request) {
    const OrderRule& rule = orderRule(request.kind);
    if (!unit || unit->isDying) return OrderRefusal::noSuchUnit;
    if (request.target && !world.state.units.withId(*request.target))
        return OrderRefusal::noSuchTarget;
    if (request.feature && !findFeature(world, *request.feature)) return OrderRefusal::noSuchTarget;
    if (request.kind == OrderKind::move && unit->type->sendsProducts) return OrderRefusal::none;
    if (rule.needsMobility && !unit->type->canMove) return OrderRefusal::cannotMove;
    if (rule.needsTools && !canWork(*unit->type, request)) return OrderRefusal::cannotWork;
    if (rule.needsHold && !canCarry(world, *unit, request)) return OrderRefusal::cannotWork;
    if (request.kind == OrderKind::build && !unit->type->isBuilding && !request.place)
        return OrderRefusal::needsPlace;
    if (rule.needsWeapon && !hasWeapon(*unit->type, request.slot)) return OrderRefusal::noWeapon;
    if (rule.needsBuilt && !unit->isBuilt()) return OrderRefusal::notBuilt;
    if (rule.joinsQueue && request.isQueued && unit->orders.size() >= kMaxOrders)
        return OrderRefusal::queueFull;
    return OrderRefusal::none;
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
        order.altitude = world.frame.terrain.groundHeight(*request.place);
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

/// Where its products go that are ready from now on.
void setRally(Unit& factory, GroundPoint place) {
    factory.labour.rally = place;
    factory.labour.hasRally = true;
}

void queueOrder(Unit& unit, const Order& order, bool isQueued) {
    if (!isQueued) unit.orders.clear();
    // Who patrols alone between one place and another begins where he is.
    if (order.kind == OrderKind::patrol &&
        std::ranges::none_of(unit.orders,
                             [](const Order& other) { return other.kind == OrderKind::patrol; })) {
        Order start = order;
        start.place = start.gathering = unit.place;
        unit.orders.push_back(order);
        unit.orders.push_back(start);
    } else {
        unit.orders.push_back(order);
    }
    if (!isQueued) unit.motion.beginAnew();
}

}  // namespace

const OrderRule& orderRule(OrderKind kind) {
    static constexpr std::array<OrderRule, 25> kRules = {{
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
        workOn(Aim::product),     // build
        workOn(Aim::target),      // reclaim
        atOnce(Aim::none, true),  // activate
        atOnce(Aim::none, true),  // deactivate
        toCome(),                 // cloak
        toCome(),                 // decloak
        atOnce(),                 // moveState
        atOnce(),                 // fireState
        atOnce(),                 // selfDestruct
        atOnce(),                 // damage
        atOnce(),                 // kill
        atOnce(),                 // finish
        atOnce(Aim::place),       // place
        atOnce(),                 // script
        atOnce(),                 // remove
    }};
    static_assert(static_cast<std::size_t>(OrderKind::remove) + 1 == kRules.size());
    return kRules.at(static_cast<std::size_t>(kind));
}

std::vector<OrderRefusal> giveOrder(WorldParts& world, TickScratch& scratch,
                                    std::span<const std::int64_t> unitIds,
                                    const OrderRequest& request) {
    std::vector<OrderRefusal> answers;
    std::vector<Unit*> takers;
    std::vector<bool> takes(world.state.units.slotCount());
    answers.reserve(unitIds.size());
    for (const std::int64_t id : unitIds) {
        Unit* const unit = world.state.units.withId(id);
        answers.push_back(testOrder(world, unit, request));
        if (answers.back() != OrderRefusal::none) continue;
        if (request.kind == OrderKind::move && unit->type->sendsProducts) {
            setRally(*unit, *request.place);
        } else if (orderRule(request.kind).joinsQueue) {
            // Who is named twice gets it once.
            if (!takes[unit->slot()]) takers.push_back(unit);
            takes[unit->slot()] = true;
        } else
            actAtOnce(world, scratch, *unit, request);
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
