#pragma once

#include <memory>
#include <string>

#include "io/formats/fbi.h"
#include "session/game_tables.h"
#include "sim/fight/weapon_type.h"
#include "sim/units/unit_type.h"

namespace orb::unitview {

/// A weapon or explosion by its name in any case; null when no table declares it. Every number is
/// finite and within what `sim/fight/weapon_type.h` allows, whatever the table says.
std::shared_ptr<const sim::WeaponType> makeWeaponType(const GameTables& tables,
                                                      const std::string& name);

/// What a unit's definition says of its weapons, its explosions and what weapons do to it.
void takeWeapons(sim::UnitType& type, const GameTables& tables, const io::FbiUnitInfo& fbi);

}  // namespace orb::unitview
