#include "sim/orders/work_orders.h"

#include <algorithm>
#include <array>

#include "sim/cargo/cargo.h"
#include "sim/fight/damage.h"
#include "sim/motion/giving_way.h"
#include "sim/orders/orders.h"
#include "sim/rules.h"
#include "sim/scripts/script_host.h"
#include "sim/units/births.h"
#include "sim/work/yards.h"

namespace orb::sim {
namespace {

using Kind = WorkWish::Kind;

CellRect cellsAt(const UnitType& type, GroundPoint place) {
    return footprintAt(place, type.footprintX, type.footprintZ);
}

/// Who stands beside it reaches it in any case.
Fixed reachOf(const UnitType& type) {
    const std::int32_t beside =
        std::max(type.footprintX, type.footprintZ) * kCellPixels / 2 + kCellPixels;
    return std::max(type.economy.buildDistance, Fixed::fromInt(beside));
}

/// Brings a unit near enough to work on those cells; none when it is there.
std::optional<OrderProgress> approach(Unit& unit, const CellRect& cells, UnitWish& wish) {
    if (distanceFrom(cells, unit.place) <= reachOf(*unit.type)) {
        unit.motion.arrival = Arrival::underWay;
        return std::nullopt;
    }
    if (!unit.type->canMove || unit.motion.arrival == Arrival::elsewhere)
        return failedFor(OrderFailure::noWay);
    if (unit.motion.arrival == Arrival::givenUp) return failedFor(OrderFailure::blocked);
    wish.goal = wish.gathering = cells.center();
    return kUnderWay;
}

/// Lets the script take out the tools; true when the unit can work.
bool takeToolsOut(WorldParts& world, Unit& unit, const Vector& target, UnitWish& wish) {
    wish.isAtWork = true;
    if (!unit.labour.hasStarted) {
        unit.labour.hasStarted = true;
        const Vector way = target - unit.position();
        const std::array<std::int32_t, 2> direction{(headingOf(way.x, way.z) - unit.heading).raw(),
                                                    pitchOf(way).steps()};
        startScriptIfThere(world, unit, UnitScript::startBuilding, direction);
        if (unit.type->indexOf(UnitScript::startBuilding) >= 0) return false;
    }
    return unit.values.isInBuildStance || unit.type->indexOf(UnitScript::startBuilding) < 0;
}

/// Works on a unit from beside it.
OrderProgress workOn(WorldParts& world, Unit& unit, Kind kind, const Unit& target, UnitWish& wish) {
    if (const auto way = approach(unit, target.cells(), wish)) return *way;
    if (takeToolsOut(world, unit, target.position(), wish)) wish.work = {kind, target.ref(), 0};
    return kUnderWay;
}

OrderProgress workOnFeature(WorldParts& world, Unit& unit, const Feature& feature, UnitWish& wish) {
    const FeatureType& type = world.frame.featureTypes[feature.type];
    const CellRect cells = footprintAt(feature.place, type.footprintX, type.footprintZ);
    if (const auto way = approach(unit, cells, wish)) return *way;
    const Vector place{feature.place.x, feature.altitude, feature.place.z};
    if (takeToolsOut(world, unit, place, wish)) wish.work = {Kind::reclaim, {}, feature.id};
    return kUnderWay;
}

/// Off the cells by the shortest way that stays on the map.
void leave(const WorldParts& world, const Unit& unit, const CellRect& cells, UnitWish& wish) {
    const std::int32_t own = std::max(unit.type->footprintX, unit.type->footprintZ);
    const auto px = [](std::int32_t twiceCells) {
        return Fixed::fromInt(twiceCells * kCellPixels / 2);
    };
    const Fixed west = px(2 * cells.corner.x - own - 1), north = px(2 * cells.corner.z - own - 1);
    const Fixed east = px(2 * (cells.corner.x + cells.width) + own + 1);
    const Fixed south = px(2 * (cells.corner.z + cells.depth) + own + 1);
    Fixed nearest;
    for (const GroundPoint& place :
         {GroundPoint{west, unit.place.z}, GroundPoint{east, unit.place.z},
          GroundPoint{unit.place.x, north}, GroundPoint{unit.place.x, south}}) {
        const Fixed way = lengthOf(place.x - unit.place.x, place.z - unit.place.z);
        if (!world.frame.terrain.contains(place) || (wish.goal && way >= nearest)) continue;
        wish.goal = wish.gathering = place;
        nearest = way;
    }
}

/// What stands on a site that is to be built on: it is taken away, asked to leave or waited for.
OrderProgress clearSite(WorldParts& world, Unit& unit, const UnitType& product,
                        const CellRect& cells, UnitWish& wish) {
    const auto occupied = failedFor(OrderFailure::cannotDo, SiteFault::occupied);
    CellOwner inTheWay;
    forEachCell(cells, [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        if (inTheWay == CellOwner() && takesCell(product, cells, cell) && owner != ownerOf(unit))
            inTheWay = owner;
    });
    if (inTheWay.kind() == CellOwner::Kind::building) return occupied;
    if (inTheWay.kind() == CellOwner::Kind::feature) {
        const Feature* const feature = world.state.features.find(inTheWay.id());
        if (!feature || !world.frame.featureTypes[feature->type].isReclaimable) return occupied;
        return workOnFeature(world, unit, *feature, wish);
    }
    if (++unit.labour.waitTicks > rules::kSiteWaitTicks) return occupied;
    if (Unit* const other = world.state.units.withId(inTheWay.id()); other && other != &unit)
        makeRoom(world, *other, unit);
    else
        leave(world, unit, cells, wish);
    return kUnderWay;
}

/// What somebody else of the same player has begun there.
const Unit* frameAt(const WorldParts& world, const Unit& unit, const UnitType& product,
                    const CellRect& cells) {
    const Unit* found = nullptr;
    forEachCell(cells, [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        if (owner.isUnit() && !found) found = world.state.units.withId(owner.id());
    });
    const bool isIt = found && found->type.get() == &product && !found->isBuilt() &&
                      found->player == unit.player && found->cells() == cells;
    return isIt ? found : nullptr;
}

bool isWhole(const Unit& unit) {
    return unit.isBuilt() && unit.health >= Amount::fromInt(unit.type->maxHealth);
}

/// Those who guard each other in a row are followed so far.
constexpr int kMostGuards = 8;

Kind mending(const Unit& target) {
    return target.isBuilt() ? Kind::repair : Kind::build;
}

/// What somebody works on.
struct Job {
    Kind kind = Kind::build;
    const Unit* target = nullptr;
    const Feature* feature = nullptr;
};

Job mendingJob(const Unit* target) {
    return target && target->isPresent() && !isWhole(*target) ? Job{mending(*target), target}
                                                              : Job();
}

Job jobOf(const WorldParts& world, const Order& order) {
    const Unit* const target = world.state.units.find(order.target);
    switch (order.kind) {
        case OrderKind::build:
        case OrderKind::repair:
            return mendingJob(target);
        case OrderKind::reclaim:
            if (order.feature != 0)
                return {Kind::reclaim, nullptr, world.state.features.find(order.feature)};
            return {Kind::reclaim, target && target->isPresent() ? target : nullptr};
        case OrderKind::capture:
            return {Kind::capture, target && target->isPresent() ? target : nullptr};
        default:
            return {};
    }
}

/// The job of a unit, or of whom it guards.
Job jobOf(const WorldParts& world, const Unit& unit) {
    const Unit* worker = &unit;
    for (int i = 0; worker && i < kMostGuards; ++i) {
        if (const Unit* const site = world.state.units.find(worker->labour.site))
            return mendingJob(site);
        if (worker->orders.empty()) return {};
        const Order& order = worker->orders.front();
        if (order.kind != OrderKind::guard) return jobOf(world, order);
        worker = world.state.units.find(order.target);
        if (worker && !isWhole(*worker)) return {};
    }
    return {};
}

bool canDo(const WorldParts& world, const Unit& unit, const Job& job) {
    if (job.target == &unit) return false;
    switch (job.kind) {
        case Kind::reclaim:
            return unit.type->canReclaim &&
                   (!job.feature || world.frame.featureTypes[job.feature->type].isReclaimable);
        case Kind::capture:
            return unit.type->canCapture && job.target && job.target->player != unit.player &&
                   job.target->isBuilt();
        default:
            return true;
    }
}

/// There is room for the worth of a feature.
bool isWanted(const Player& player, const FeatureType& type) {
    return type.reclaimsItself() &&
           ((type.metal > 0 && player.metal.amount < player.metal.storage) ||
            (type.energy > 0 && player.energy.amount < player.energy.storage));
}

/// No definition reaches farther; all cells within it are looked at.
Fixed choreReach(const UnitType& type) {
    return std::min(reachOf(type), Fixed::fromInt(512));
}

/// The nearest unit that a builder can mend from where it is.
const Unit* findToMend(const WorldParts& world, TickScratch& scratch, const Unit& unit) {
    const Fixed reach = choreReach(*unit.type);
    const Fixed largest = Fixed::fromInt(world.derived.largestFootprint * kCellPixels);
    world.derived.buckets.findWithin(world.state.units, unit.place, reach + largest, scratch.found);
    const Unit* nearest = nullptr;
    Fixed least = reach;
    for (const std::uint32_t slot : scratch.found) {
        const Unit& other = *world.state.units.at(slot);
        if (&other == &unit || other.player != unit.player || !mendingJob(&other).target) continue;
        const Fixed distance = distanceFrom(other.cells(), unit.place);
        if (distance > least || (nearest && distance == least)) continue;
        nearest = &other;
        least = distance;
    }
    scratch.found.clear();
    return nearest;
}

/// The same of a feature that blocks, to reclaim.
std::uint32_t findToReclaim(const WorldParts& world, const Unit& unit) {
    const Fixed reach = choreReach(*unit.type);
    const std::int32_t cells = reach.floor() / kCellPixels;
    const Cell middle{unit.place.x.floor() / kCellPixels, unit.place.z.floor() / kCellPixels};
    const Player& player = world.state.players.at(static_cast<std::size_t>(unit.player - 1));
    std::uint32_t nearest = 0;
    Fixed least = reach;
    forEachCell({{middle.x - cells, middle.z - cells}, 2 * cells + 1, 2 * cells + 1},
                [&](Cell cell) {
                    if (!world.frame.terrain.contains({cell, 1, 1})) return;
                    const CellOwner owner = world.state.occupancy.ownerOf(cell);
                    if (owner.kind() != CellOwner::Kind::feature) return;
                    const Fixed distance = distanceFrom({cell, 1, 1}, unit.place);
                    if (distance > least || (nearest != 0 && distance == least)) return;
                    const Feature* const feature = world.state.features.find(owner.id());
                    if (!feature || !isWanted(player, world.frame.featureTypes[feature->type]))
                        return;
                    nearest = feature->id;
                    least = distance;
                });
    return nearest;
}

bool isOpen(const Unit& factory) {
    return factory.values.isInBuildStance || factory.type->indexOf(UnitScript::activate) < 0;
}

/// What was begun in the yard is not wanted any more; what is ready goes.
void giveUpSite(WorldParts& world, TickScratch& scratch, Unit& factory) {
    Unit* const frame = world.state.units.find(factory.labour.site);
    factory.labour.site = {};
    if (!frame) return;
    if (frame->isBuilt())
        rollOut(world, factory, *frame);
    else
        killUnit(world, scratch, *frame, 0, DeathKind::killed);
}

}  // namespace

OrderProgress buildOnSite(WorldParts& world, Unit& unit, Order& order, UnitWish& wish) {
    const UnitType& product = *world.frame.products.at(order.product);
    const Unit* const frame = world.state.units.find(order.target);
    if (order.target && (!frame || frame->isDying))
        return product.becomesFeature ? kDone : failedFor(OrderFailure::targetGone);
    if (frame) return frame->isBuilt() ? kDone : workOn(world, unit, Kind::build, *frame, wish);

    const CellRect cells = cellsAt(product, order.place);
    if (const auto way = approach(unit, cells, wish)) return *way;
    const SiteFault fault =
        testUnit(world, {.type = world.frame.products.at(order.product), .place = order.place});
    if (const Unit* const begun = frameAt(world, unit, product, cells);
        begun && fault == SiteFault::occupied) {
        order.target = begun->ref();
        return kUnderWay;
    }
    if (fault == SiteFault::occupied) return clearSite(world, unit, product, cells, wish);
    if (fault != SiteFault::none) return failedFor(OrderFailure::cannotDo, fault);
    if (world.state.units.isFull()) return failedFor(OrderFailure::unitLimit);
    unit.labour.waitTicks = 0;
    const GroundPoint middle = cells.center();
    const Vector target{middle.x, world.frame.terrain.groundHeight(middle), middle.z};
    if (takeToolsOut(world, unit, target, wish)) wish.work = WorkWish{};
    return kUnderWay;
}

OrderProgress buildInYard(WorldParts& world, TickScratch& scratch, Unit& unit, Order& order,
                          UnitWish& wish) {
    const UnitType& product = *world.frame.products.at(order.product);
    UnitLabour& labour = unit.labour;
    if (!unit.isActive) switchUnit(world, unit, true);
    labour.isOpen = true;
    if (!isOpen(unit)) return kUnderWay;

    Unit* const frame = world.state.units.find(labour.site);
    if (frame && frame->type->name != product.name) {
        giveUpSite(world, scratch, unit);
        return kUnderWay;
    }
    if (!frame || frame->isDying) {
        labour.site = {};
        if (world.state.units.isFull()) return failedFor(OrderFailure::unitLimit);
        labour.padPiece = queryPiece(world, unit, UnitScript::queryBuildInfo);
        if (isPadFree(world, unit, product)) wish.work = WorkWish{};
        return kUnderWay;
    }
    if (frame->isBuilt()) {
        rollOut(world, unit, *frame);
        labour.site = {};
        return --order.count > 0 ? kUnderWay : kDone;
    }
    wish.isAtWork = true;
    if (!labour.hasStarted) {
        labour.hasStarted = true;
        startScriptIfThere(world, unit, UnitScript::startBuilding);
    }
    wish.work = {Kind::build, labour.site, 0};
    return kUnderWay;
}

OrderProgress repair(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const target = world.state.units.find(order.target);
    if (!target || !target->isPresent()) return failedFor(OrderFailure::targetGone);
    if (target->player != unit.player) return failedFor(OrderFailure::cannotDo);
    if (isWhole(*target)) return kDone;
    return workOn(world, unit, mending(*target), *target, wish);
}

OrderProgress reclaim(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    if (order.feature != 0) {
        const Feature* const feature = world.state.features.find(order.feature);
        if (!feature) return kDone;
        if (!world.frame.featureTypes[feature->type].isReclaimable)
            return failedFor(OrderFailure::cannotDo);
        return workOnFeature(world, unit, *feature, wish);
    }
    const Unit* const target = world.state.units.find(order.target);
    if (!target || target->isDying) return kDone;
    if (!target->isPresent()) return failedFor(OrderFailure::targetGone);
    if (target == &unit) return failedFor(OrderFailure::cannotDo);
    return workOn(world, unit, Kind::reclaim, *target, wish);
}

OrderProgress capture(WorldParts& world, Unit& unit, const Order& order, UnitWish& wish) {
    const Unit* const target = world.state.units.find(order.target);
    if (!target || !target->isPresent()) return failedFor(OrderFailure::targetGone);
    if (target->player == unit.player) return kDone;
    // A frame is its builder's, who would go on with it.
    if (!target->isBuilt()) return failedFor(OrderFailure::cannotDo);
    return workOn(world, unit, Kind::capture, *target, wish);
}

bool help(WorldParts& world, Unit& unit, const Unit& ward, UnitWish& wish) {
    if (unit.type->economy.workPerTick == 0 || ward.player != unit.player) return false;
    const Job job = isWhole(ward) ? jobOf(world, ward) : mendingJob(&ward);
    if (!canDo(world, unit, job)) return false;
    if (job.feature) return workOnFeature(world, unit, *job.feature, wish) == kUnderWay;
    return job.target && workOn(world, unit, job.kind, *job.target, wish) == kUnderWay;
}

void findChore(WorldParts& world, TickScratch& scratch, Unit& unit) {
    const Tick turn = world.state.tick + static_cast<Tick>(unit.id);
    if (unit.type->economy.workPerTick == 0 || turn % rules::kChoreEvery != 0 ||
        unit.orders.front().kind != OrderKind::patrol || unit.orders.size() >= kMaxOrders)
        return;
    Order chore;
    chore.source = OrderSource::chore;
    if (const Unit* const target = findToMend(world, scratch, unit)) {
        chore.kind = OrderKind::repair;
        chore.target = target->ref();
    } else if (const std::uint32_t id = unit.type->canReclaim ? findToReclaim(world, unit) : 0) {
        chore.kind = OrderKind::reclaim;
        chore.feature = id;
    } else {
        return;
    }
    unit.orders.insert(unit.orders.begin(), chore);
    unit.motion.beginAnew();
}

void putToolsAway(WorldParts& world, TickScratch& scratch, Unit& unit, const UnitWish& wish) {
    UnitLabour& labour = unit.labour;
    if (labour.hasStarted && !wish.isAtWork) {
        labour.hasStarted = false;
        labour.nanoPiece = -1;
        startScriptIfThere(world, unit, UnitScript::stopBuilding);
    }
    const bool builds = !unit.orders.empty() && unit.orders.front().kind == OrderKind::build;
    if (!labour.isOpen || builds) return;
    giveUpSite(world, scratch, unit);
    labour.isOpen = false;
    switchUnit(world, unit, false);
}

}  // namespace orb::sim
