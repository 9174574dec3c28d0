#pragma once

#include <memory>
#include <string>

#include "session/game_tables.h"
#include "sim/weapon_type.h"

namespace orb::unitview {

/// A weapon or explosion by its name in any case; null when no table declares it. Every number is
/// finite and within what `sim/weapon_type.h` allows, whatever the table says.
std::shared_ptr<const sim::WeaponType> makeWeaponType(const GameTables& tables,
                                                      const std::string& name);

}  // namespace orb::unitview
