#include "sim/scripts/script_values.h"

#include <algorithm>
#include <iterator>

#include "cob/unit_values.h"
#include "cob/wrapping.h"
#include "sim/orders/orders.h"
#include "sim/rules.h"
#include "sim/scripts/piece_pose.h"
#include "sim/units/births.h"

// Places on the ground are packed into one word: x in the upper half, z in the lower one, in whole
// map pixels. Heights and lengths are in 1/65536 pixel, which is what scripts move pieces by.

namespace orb::sim {
namespace {

using unitview::bits;
using unitview::wrapped;

std::int32_t packed(Fixed x, Fixed z) {
    return wrapped((bits(x.floor()) << 16) | (bits(z.floor()) & 0xFFFF));
}

Fixed packedX(std::int32_t word) {
    return Fixed::fromInt(static_cast<std::int16_t>(bits(word) >> 16));
}
Fixed packedZ(std::int32_t word) {
    return Fixed::fromInt(static_cast<std::int16_t>(bits(word)));
}

std::int32_t percent(std::int64_t part, std::int64_t whole) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(part * 100 / std::max<std::int64_t>(whole, 1), 0, 100));
}

std::int32_t healthOf(const Unit& unit) {
    return percent(unit.health.ceil(), unit.type->maxHealth);
}

std::int32_t buildPercentLeft(const Unit& unit) {
    constexpr std::int32_t kWhole = Fixed::kOne;
    const std::int32_t left = std::max(0, kWhole - unit.buildFraction.raw());
    if (left == 0) return 0;
    const std::int64_t percent = (std::int64_t{left} * 100 + kWhole / 2) / kWhole;
    return static_cast<std::int32_t>(std::max<std::int64_t>(1, percent));
}

std::int32_t modelPieceOf(const WorldParts& world, const Unit& self, std::int32_t cobPiece) {
    const unitview::CobInstance* const instance = world.state.scripts.of(self);
    return instance ? wrapped(instance->modelPieceIndex(bits(cobPiece))) : -1;
}

std::int32_t idOf(const WorldParts& world, UnitRef ref) {
    const Unit* const unit = world.state.units.find(ref);
    return unit ? static_cast<std::int32_t>(unit->id) : 0;
}

bool isOccupiedByOthers(const WorldParts& world, const Unit& unit) {
    const CellRect cells = unit.cells();
    return !allCells(cells, [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        return owner == CellOwner() || owner == ownerOf(unit);
    });
}

/// A yard that something stands in stays open.
void setYardOpen(WorldParts& world, Unit& unit, bool opens) {
    if (unit.values.isYardOpen == opens || !unit.type->isBuilding) return;
    if (!opens && isOccupiedByOthers(world, unit)) return;
    releaseCells(world, unit);
    unit.values.isYardOpen = opens;
    takeCells(world, unit);
}

void setWantsRoom(WorldParts& world, Unit& unit, bool wants) {
    unit.values.wantsRoom = wants;
    if (wants) clearYard(world, unit);
}

// A row can be set, or be read of others; none is both, so that what one script sets in a tick
// cannot depend on whether another has read it already.
struct Row {
    std::int32_t id;
    std::int32_t (*get)(const WorldParts&, const Unit& self);
    /// Of a place, a piece or another unit: what `argument` is.
    std::int32_t (*getOf)(const WorldParts&, const Unit& self, std::int32_t argument) = nullptr;
    std::int32_t (*getOfUnit)(const WorldParts&, const Unit& self, const Unit& other) = nullptr;
    void (*set)(WorldParts&, Unit& unit, std::int32_t value) = nullptr;
};

using World = const WorldParts&;
using Self = const Unit&;
using Other = const Unit&;

constexpr Row settable(std::int32_t id, std::int32_t (*get)(World, Self),
                       void (*set)(WorldParts&, Unit&, std::int32_t)) {
    return {id, get, nullptr, nullptr, set};
}
constexpr Row own(std::int32_t id, std::int32_t (*get)(World, Self)) {
    return {id, get, nullptr, nullptr, nullptr};
}
constexpr Row of(std::int32_t id, std::int32_t (*getOf)(World, Self, std::int32_t)) {
    return {id, nullptr, getOf, nullptr, nullptr};
}
constexpr Row ofUnit(std::int32_t id, std::int32_t (*getOfUnit)(World, Self, Other)) {
    return {id, nullptr, nullptr, getOfUnit, nullptr};
}

std::uint8_t standing(std::int32_t value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 2));
}

// By rising id.
constexpr Row kRows[] = {
    // ACTIVATION switches; only requests run Activate and Deactivate.
    settable(
        1, [](World, Self self) { return self.isActive ? 1 : 0; },
        [](WorldParts&, Unit& unit, std::int32_t value) { unit.isActive = value != 0; }),
    settable(
        2, [](World, Self self) { return std::int32_t{self.standing.move}; },
        [](WorldParts&, Unit& unit, std::int32_t value) { unit.standing.move = standing(value); }),
    settable(
        3, [](World, Self self) { return std::int32_t{self.standing.fire}; },
        [](WorldParts&, Unit& unit, std::int32_t value) { unit.standing.fire = standing(value); }),
    own(4, [](World, Self self) { return healthOf(self); }),
    settable(
        5, [](World, Self self) { return self.values.isInBuildStance ? 1 : 0; },
        [](WorldParts&, Unit& unit, std::int32_t value) {
            unit.values.isInBuildStance = value != 0;
        }),
    settable(
        6, [](World, Self self) { return self.values.isBusy ? 1 : 0; },
        [](WorldParts&, Unit& unit, std::int32_t value) { unit.values.isBusy = value != 0; }),
    of(7,
       [](World world, Self self, std::int32_t piece) {
           const Vector place = pieceInWorld(world, self, modelPieceOf(world, self, piece));
           return packed(place.x, place.z);
       }),
    of(8,
       [](World world, Self self, std::int32_t piece) {
           return pieceInWorld(world, self, modelPieceOf(world, self, piece)).y.raw();
       }),
    ofUnit(9, [](World, Self, Other other) { return packed(other.place.x, other.place.z); }),
    ofUnit(10, [](World, Self, Other other) { return other.altitude.raw(); }),
    ofUnit(11, [](World, Self, Other other) { return other.type->height.raw(); }),
    // XZ_ATAN turns a piece of the body, so it is as the body sees it; XZ_HYPOT is a length.
    of(unitview::kXzAtan,
       [](World, Self self, std::int32_t word) {
           return std::int32_t{(headingOf(packedX(word), packedZ(word)) - self.heading).raw()};
       }),
    of(unitview::kXzHypot,
       [](World, Self, std::int32_t word) { return lengthOf(packedX(word), packedZ(word)).raw(); }),
    of(16,
       [](World world, Self, std::int32_t word) {
           const GroundPoint place{packedX(word), packedZ(word)};
           const Terrain& terrain = world.frame.terrain;
           return terrain.contains(place) ? terrain.groundHeight(place).raw() : 0;
       }),
    own(17, [](World, Self self) { return buildPercentLeft(self); }),
    settable(
        18, [](World, Self self) { return self.values.isYardOpen ? 1 : 0; },
        [](WorldParts& world, Unit& unit, std::int32_t value) {
            setYardOpen(world, unit, value != 0);
        }),
    settable(
        19, [](World, Self self) { return self.values.wantsRoom ? 1 : 0; },
        [](WorldParts& world, Unit& unit, std::int32_t value) {
            setWantsRoom(world, unit, value != 0);
        }),
    settable(
        20, [](World, Self self) { return self.values.isArmored ? 1 : 0; },
        [](WorldParts&, Unit& unit, std::int32_t value) { unit.values.isArmored = value != 0; }),
    own(21, [](World, Self self) { return std::int32_t{self.heading.raw()}; }),
    own(22, [](World world, Self self) { return idOf(world, self.weapons[0].target); }),
    own(23, [](World world, Self self) { return idOf(world, self.lastAttacker); }),
    own(32, [](World, Self self) { return self.kills / rules::kKillsOfVeteran; }),
    // One player's units are on this computer, all of them.
    ofUnit(68, [](World, Self, Other) { return 1; }),
    own(69, [](World, Self) { return 1; }),
    own(70,
        [](World world, Self) { return static_cast<std::int32_t>(world.state.units.highestId()); }),
    own(71, [](World, Self self) { return static_cast<std::int32_t>(self.id); }),
    ofUnit(72, [](World, Self, Other other) { return other.player; }),
    ofUnit(73, [](World, Self, Other other) { return buildPercentLeft(other); }),
    ofUnit(74, [](World, Self self, Other other) { return self.player == other.player ? 1 : 0; }),
    ofUnit(75, [](World, Self, Other) { return 1; }),
    own(76,
        [](World, Self self) {
            return static_cast<std::int32_t>(
                std::min<std::int64_t>(self.health.ceil(), 0x7FFFFFFF));
        }),
    // Headers that scripts are written with call this one CLOAKED too.
    own(77, [](World, Self self) { return self.cloak.isOn ? 1 : 0; }),
};

const Row* rowOf(std::int32_t id) {
    const Row* const found = std::ranges::lower_bound(kRows, id, {}, &Row::id);
    return found != std::end(kRows) && found->id == id ? found : nullptr;
}

}  // namespace

std::int32_t scriptValue(const WorldParts& world, const Unit& self, std::int32_t id,
                         std::int32_t argument) {
    const Row* const row = rowOf(id);
    if (!row) return 0;
    if (row->get) return row->get(world, self);
    if (row->getOf) return row->getOf(world, self, argument);
    // 0 stands for the unit itself.
    const Unit* const other = argument == 0 ? &self : world.state.units.withId(argument);
    return other ? row->getOfUnit(world, self, *other) : 0;
}

bool isSettable(std::int32_t id) {
    const Row* const row = rowOf(id);
    return row && row->set;
}

void setScriptValue(WorldParts& world, Unit& unit, std::int32_t id, std::int32_t value) {
    const Row* const row = rowOf(id);
    if (row && row->set) row->set(world, unit, value);
}

}  // namespace orb::sim
