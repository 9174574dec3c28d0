#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "sim/cargo/hold.h"
#include "sim/cargo/pads.h"
#include "sim/fight/weapon_state.h"
#include "sim/ground/cell.h"
#include "sim/motion/flight.h"
#include "sim/numbers/angle.h"
#include "sim/numbers/tick.h"
#include "sim/orders/chase_state.h"
#include "sim/orders/order.h"
#include "sim/sight/unit_sight.h"
#include "sim/units/unit_ref.h"
#include "sim/units/unit_type.h"
#include "sim/ways/route.h"

namespace orb::sim {

/// How far somebody is who goes somewhere.
enum class Arrival : std::uint8_t {
    underWay,
    atGoal,
    /// The goal cannot be reached; this is as near as it gets.
    elsewhere,
    /// Something has stood in its way for too long.
    givenUp,
};

/// Where a unit is going and how that goes.
struct UnitMotion {
    static constexpr Fixed kFarthest = Fixed::fromRaw(std::numeric_limits<std::int32_t>::max());

    /// In map pixels a tick, along its heading.
    Fixed speed;
    /// The movement class that its ways are looked up in.
    std::uint32_t movementClass = kNoMovementClass;
    /// How long it has not got on, in ticks; where others are in its way who get on themselves, no
    /// longer than they.
    std::int32_t blockedTicks = 0;
    /// How long it has not moved at all.
    std::int16_t stillTicks = 0;
    /// For how long it still goes back, so that others get through.
    std::int16_t backTicks = 0;
    /// Where it goes first, so as to come round others.
    std::optional<GroundPoint> detour;
    /// How long it has gone round others since it was last nearer to its goal than ever before, and
    /// how near that was.
    std::int16_t detourTicks = 0;
    /// When standing enemies first stopped it in that time, -1 before.
    Tick refusedSince = -1;
    Fixed nearest = kFarthest;
    /// Where all of its group go, or went last.
    std::optional<GroundPoint> gathering;
    /// On which side of the straight way it goes round others, until it is nearer to its goal than
    /// before: -1 is left, 1 right, 0 not chosen yet.
    std::int8_t hand = 0;
    /// It has somewhere to go in this tick; others stand, whatever their orders.
    bool hasGoal = false;
    /// How long its order has been going somewhere, up to a second.
    std::uint8_t legTicks = 0;
    /// How the way to its goal ended; for the order that it follows, which looks in the next tick.
    Arrival arrival = Arrival::underWay;

    /// Towards another goal.
    void beginAnew() {
        blockedTicks = 0;
        stillTicks = 0;
        backTicks = 0;
        detour.reset();
        hand = 0;
        detourTicks = 0;
        refusedSince = -1;
        nearest = kFarthest;
        legTicks = 0;
        arrival = Arrival::underWay;
    }

    bool operator==(const UnitMotion&) const = default;
};

/// What its script sets and reads back, apart from what is told elsewhere in the unit.
struct ScriptValues {
    bool isInBuildStance = false;
    bool isBusy = false;
    bool isYardOpen = false;
    bool wantsRoom = false;
    bool isArmored = false;
    /// What its script was last told: whether it moves, and what it stands in.
    bool toldMoving = false;
    std::int8_t toldSurface = -1;

    bool operator==(const ScriptValues&) const = default;
};

/// What was done to a unit by builders.
struct UnitGrowth {
    /// The work that has gone into it: see `kWorkSteps`.
    std::int64_t done = 0;
    /// When somebody last built it; before the first time it does not decay.
    Tick builtAt = 0;
    bool wasBegun = false;
    /// The work that a player has put into its capture, and when he last did.
    std::int64_t captured = 0;
    Tick capturedAt = 0;
    std::int32_t capturedBy = 0;
    /// The work that has gone into taking it apart since it is ready, less what was mended of it.
    std::int64_t reclaimed = 0;

    bool operator==(const UnitGrowth&) const = default;
};

/// How a unit works, pays and gives.
struct UnitLabour {
    /// What stands in its yard and is being built.
    UnitRef site;
    /// Its script was told StartBuilding.
    bool hasStarted = false;
    /// It was switched on in order to build.
    bool isOpen = false;
    /// That it waits for metal or energy was told.
    bool isStalled = false;
    /// The piece that what it builds stands on, and the one that its nano spray left last; -1 for
    /// none.
    std::int32_t padPiece = -1;
    std::int32_t nanoPiece = -1;
    /// How long it has waited for its site to be free.
    std::int32_t waitTicks = 0;
    /// The metal of the ground under it.
    std::int32_t groundMetal = 0;
    /// When it destroys itself, 0 for never.
    Tick selfDestructAt = 0;

    bool operator==(const UnitLabour&) const = default;
};

/// How a unit behaves without orders.
struct StandingOrders {
    static constexpr std::uint8_t kHoldsPlace = 0, kManoeuvres = 1, kRoams = 2;
    static constexpr std::uint8_t kHoldsFire = 0, kReturnsFire = 1, kFiresAtWill = 2;

    /// 0 holds its place, 1 and 2 go after enemies a little and far.
    std::uint8_t move = kRoams;
    /// 0 holds its fire, 1 returns it, 2 fires at will.
    std::uint8_t fire = kFiresAtWill;

    bool operator==(const StandingOrders&) const = default;
};

/// One unit: plain data, and all of its state but its running script.
struct Unit {
    /// Its slot plus 1: for scripts and requests. 0 in a slot that nobody has.
    std::uint32_t id = 0;
    std::uint32_t generation = 0;
    std::shared_ptr<const UnitType> type;
    /// From 1.
    std::int32_t player = 1;
    GroundPoint place;
    /// Above the map's zero, like heights of the ground.
    Fixed altitude;
    Angle heading;
    /// The tilt: nose up, and the left side up.
    Angle pitch;
    Angle roll;
    Amount health = Amount::fromInt(1);
    /// 1 is ready.
    Fixed buildFraction = Fixed::fromInt(1);
    bool isActive = true;
    /// Its end is in the queue of damage; nothing else happens to it.
    bool isDying = false;
    StandingOrders standing;
    UnitChase chase;
    ScriptValues values;
    UnitMotion motion;
    UnitFlight flight;
    UnitHold hold;
    UnitPads pads;
    UnitGrowth growth;
    UnitLabour labour;
    UnitSight sight;
    UnitCloak cloak;
    std::vector<Order> orders;
    /// Of a factory: what its products do when they are ready; where nothing is said, they come
    /// out.
    std::vector<Order> rally;
    std::array<WeaponState, kWeaponSlots> weapons;
    /// The piece that it is aimed at and hit round, as its script said at its birth; -1 for none.
    std::int32_t sweetSpot = -1;
    UnitRef lastAttacker;
    Tick lastAttackedAt = -1;
    /// It does nothing before this tick.
    Tick stunnedUntil = 0;
    std::int32_t kills = 0;
    /// What it is aboard of, and at which of its pieces; -1 is in the hold.
    UnitRef carrier;
    std::int32_t carrierPiece = -1;

    UnitRef ref() const { return {id - 1, generation}; }
    std::uint32_t slot() const { return id - 1; }
    bool isBuilt() const { return buildFraction >= Fixed::fromInt(1); }
    bool isStunned(Tick now) const { return now < stunnedUntil; }
    /// It is there to act and to be acted on.
    bool isPresent() const { return !isDying && !carrier; }
    CellRect cells() const { return footprintAt(place, type->footprintX, type->footprintZ); }
    Vector position() const { return {place.x, altitude, place.z}; }
};

template <typename Visit>
void eachField(const UnitMotion& motion, Visit visit) {
    visit("speed", motion.speed);
    visit("movementClass", motion.movementClass);
    visit("blockedTicks", motion.blockedTicks);
    visit("stillTicks", motion.stillTicks);
    visit("backTicks", motion.backTicks);
    visit("detour", motion.detour);
    visit("hand", motion.hand);
    visit("detourTicks", motion.detourTicks);
    visit("refusedSince", motion.refusedSince);
    visit("nearest", motion.nearest);
    visit("gathering", motion.gathering);
    visit("hasGoal", motion.hasGoal);
    visit("legTicks", motion.legTicks);
    visit("arrival", motion.arrival);
}
static_assert(sizeof(UnitMotion) == 56);

template <typename Visit>
void eachField(const ScriptValues& values, Visit visit) {
    visit("isInBuildStance", values.isInBuildStance);
    visit("isBusy", values.isBusy);
    visit("isYardOpen", values.isYardOpen);
    visit("wantsRoom", values.wantsRoom);
    visit("isArmored", values.isArmored);
    visit("toldMoving", values.toldMoving);
    visit("toldSurface", values.toldSurface);
}
static_assert(sizeof(ScriptValues) == 7);

template <typename Visit>
void eachField(const UnitGrowth& growth, Visit visit) {
    visit("done", growth.done);
    visit("builtAt", growth.builtAt);
    visit("wasBegun", growth.wasBegun);
    visit("captured", growth.captured);
    visit("capturedAt", growth.capturedAt);
    visit("capturedBy", growth.capturedBy);
    visit("reclaimed", growth.reclaimed);
}
static_assert(sizeof(UnitGrowth) == 40);

template <typename Visit>
void eachField(const UnitLabour& labour, Visit visit) {
    visit("site", labour.site);
    visit("hasStarted", labour.hasStarted);
    visit("isOpen", labour.isOpen);
    visit("isStalled", labour.isStalled);
    visit("padPiece", labour.padPiece);
    visit("nanoPiece", labour.nanoPiece);
    visit("waitTicks", labour.waitTicks);
    visit("groundMetal", labour.groundMetal);
    visit("selfDestructAt", labour.selfDestructAt);
}
static_assert(sizeof(UnitLabour) == 32);

template <typename Visit>
void eachField(const StandingOrders& standing, Visit visit) {
    visit("move", standing.move);
    visit("fire", standing.fire);
}
static_assert(sizeof(StandingOrders) == 2);

/// All but orders, sight and cloak, which are in other parts.
template <typename Visit>
void eachField(const Unit& unit, Visit visit) {
    visit("id", unit.id);
    visit("generation", unit.generation);
    visit("type", unit.type);
    visit("player", unit.player);
    visit("place", unit.place);
    visit("altitude", unit.altitude);
    visit("heading", unit.heading);
    visit("pitch", unit.pitch);
    visit("roll", unit.roll);
    visit("health", unit.health);
    visit("buildFraction", unit.buildFraction);
    visit("isActive", unit.isActive);
    visit("isDying", unit.isDying);
    visit("standing", unit.standing);
    visit("chase", unit.chase);
    visit("values", unit.values);
    visit("motion", unit.motion);
    visit("flight", unit.flight);
    visit("hold", unit.hold);
    visit("pads", unit.pads);
    visit("growth", unit.growth);
    visit("labour", unit.labour);
    visit("rally", unit.rally);
    visit("weapons", unit.weapons);
    visit("sweetSpot", unit.sweetSpot);
    visit("lastAttacker", unit.lastAttacker);
    visit("lastAttackedAt", unit.lastAttackedAt);
    visit("stunnedUntil", unit.stunnedUntil);
    visit("kills", unit.kills);
    visit("carrier", unit.carrier);
    visit("carrierPiece", unit.carrierPiece);
}
static_assert(sizeof(Unit) == 672);

}  // namespace orb::sim
