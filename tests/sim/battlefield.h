#pragma once

#include <gtest/gtest.h>

#include "bos/compiler.h"
#include "sim/fight/weapon_type.h"
#include "sim/ground.h"
#include "sim/orders/orders.h"
#include "sim/phases.h"
#include "sim/units/births.h"
#include "sim/world_state.h"
#include "tests/quiet_log.h"

namespace orb::sim {

inline Fixed px(double value) {
    return Fixed::fromNumber(value);
}

/// A world to fight in: flat and dry unless it is made otherwise, and no hill hides anything.
class Battlefield {
public:
    explicit Battlefield(const io::TntFile& map = flatMap(80, 80, 20, 0), std::size_t threads = 1)
        : world(Terrain(map), threads) {
        world.derived.sight.letHillsHide(false);
    }

    Unit& place(const std::shared_ptr<const UnitType>& type, std::int32_t player, double x,
                double z, double headingDegrees = 0) {
        return placeUnit(world, {.type = type,
                                 .player = player,
                                 .place = at(x, z),
                                 .heading = Angle::fromDegrees(headingDegrees),
                                 .isForced = true});
    }
    void give(const Unit& unit, const OrderRequest& order) {
        const std::int64_t id = unit.id;
        giveOrder(world, scratch, {&id, 1}, order);
        stepDamage(world, scratch);
    }
    void tick(int count = 1) {
        for (int i = 0; i < count; ++i) {
            scratch.begin(world.state.units.slotCount());
            for (const Phase& phase : kPhases) phase.step(world, scratch);
            ++world.state.tick;
        }
    }
    /// True when it happened within so many ticks.
    template <typename Detail>
    bool tickUntil(int most) {
        for (int i = 0; i < most; ++i) {
            tick();
            if (!all<Detail>().empty()) return true;
        }
        return false;
    }
    /// What was told of one kind since the last `forget`.
    template <typename Detail>
    std::vector<Detail> all() const {
        std::vector<Detail> details;
        for (const Event& event : world.events.events())
            if (const auto* detail = std::get_if<Detail>(&event.detail)) details.push_back(*detail);
        return details;
    }
    void forget() { world.events.clear(); }

    QuietLog quiet;
    WorldParts world;
    TickScratch scratch;
};

/// A turret on a post: it turns and lifts its barrel, and answers when it is there. Pieces in the
/// order base, turret, barrel, flare.
inline constexpr std::string_view kTurretScript = R"(
piece base, turret, barrel, flare;
static-var pushes;
Create() { pushes = 0; return (0); }
AimPrimary(heading, pitch)
{
    signal 2;
    set-signal-mask 2;
    turn turret to y-axis heading speed <300>;
    turn barrel to x-axis 0 - pitch speed <300>;
    wait-for-turn turret around y-axis;
    wait-for-turn barrel around x-axis;
    return (1);
}
AimFromPrimary(piecenum) { piecenum = barrel; return (0); }
QueryPrimary(piecenum) { piecenum = flare; return (0); }
HitByWeapon(anglex, anglez) { pushes = pushes + 1; return (0); }
Killed(severity, corpsetype)
{
    explode turret type FALL;
    if (severity <= 25) { corpsetype = 1; return (0); }
    if (severity <= 50) { corpsetype = 2; return (0); }
    corpsetype = 3;
    return (0);
}
)";

/// A building with the turret, its barrel 12 pixels up and its muzzle 26 pixels along it.
inline std::shared_ptr<UnitType> turretType(std::shared_ptr<const WeaponType> weapon,
                                            std::string_view script = kTurretScript) {
    auto type = std::make_shared<UnitType>();
    type->name = "TURRET";
    type->isBuilding = true;
    type->footprintX = type->footprintZ = 2;
    type->yard = yardOf("oooo", 2, 2);
    type->maxHealth = 100;
    type->height = px(20);
    type->sightDistance = kMaxSightTiles * kTilePixels;
    type->pieces = {"base", "turret", "barrel", "flare"};
    type->piecesAtRest = {
        {-1, {}}, {0, {{}, px(8), {}}}, {1, {{}, px(4), {}}}, {2, {{}, {}, px(26)}}};
    type->weapons[0] = std::move(weapon);
    if (!script.empty()) {
        const auto compiled = unitview::bos::compileBos(script, "turret.bos", nullptr);
        EXPECT_TRUE(compiled.ok);
        type->script = std::make_shared<io::CobFile>(compiled.code.cob);
        type->scripts = findScripts(*type->script);
    }
    return type;
}

/// What stands there and is shot at.
inline std::shared_ptr<UnitType> dummyType(std::int32_t health = 100) {
    auto type = turretType(nullptr, "");
    type->name = "DUMMY";
    type->maxHealth = health;
    type->pieces.clear();
    type->piecesAtRest.clear();
    return type;
}

inline std::shared_ptr<WeaponType> weaponType(Flight flight, double range = 400) {
    auto weapon = std::make_shared<WeaponType>();
    weapon->name = "GUN";
    weapon->flight = flight;
    weapon->isTurret = true;
    weapon->needsFreeLine = flight == Flight::straight;
    weapon->range = px(range);
    weapon->speed = weapon->startSpeed = px(12);
    weapon->turnPerTick = 1'500;
    weapon->reload = 30;
    weapon->tolerance = weapon->pitchTolerance = 300;
    weapon->damage = Amount::fromInt(40);
    return weapon;
}

}  // namespace orb::sim
