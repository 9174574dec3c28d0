#include "sim/motion/landing.h"

#include <algorithm>

#include "sim/rules.h"
#include "sim/scripts/script_host.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

/// Wings and wheels: aircraft are switched on in the air and off on the ground.
void switchOn(WorldParts& world, Unit& unit, bool on) {
    if (unit.isActive == on) return;
    unit.isActive = on;
    startScriptIfThere(world, unit, on ? UnitScript::activate : UnitScript::deactivate);
}

}  // namespace

bool canLandAt(const WorldParts& world, const Unit& unit, GroundPoint place) {
    const UnitType& type = *unit.type;
    return testGround(groundOf(world), type,
                      footprintAt(place, type.footprintX, type.footprintZ)) == SiteFault::none;
}

std::optional<GroundPoint> landingPlace(const WorldParts& world, const Unit& unit,
                                        GroundPoint around) {
    const UnitType& type = *unit.type;
    return freePlaceNear(groundOf(world), type, around, std::max(type.footprintX, type.footprintZ),
                         rules::kLandingRings);
}

void takeOff(WorldParts& world, Unit& unit) {
    releaseCells(world, unit);
    unit.flight.stage = FlightStage::flying;
    switchOn(world, unit, true);
}

void beginLanding(WorldParts& world, Unit& unit) {
    unit.flight.stage = FlightStage::landing;
    unit.motion.speed = {};
    takeCells(world, unit);
}

void touchDown(WorldParts& world, Unit& unit) {
    unit.flight = {};
    unit.pitch = unit.roll = {};
    switchOn(world, unit, false);
}

void sitDown(WorldParts& world, Unit& unit) {
    touchDown(world, unit);
    unit.flight.stage = FlightStage::perched;
    unit.motion.speed = {};
}

}  // namespace orb::sim
