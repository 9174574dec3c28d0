#pragma once

#include <memory>
#include <string>

#include "session/loaded_unit.h"
#include "session/mounted_data.h"
#include "sim/ground/feature_type.h"
#include "sim/units/unit_type.h"

/// What the world of a map needs of units and features, out of their definitions.
namespace orb::unitview {

/// A feature by its name in any case; marked as missing when no table declares it.
sim::FeatureType makeFeatureType(const GameTables& tables, const std::string& name);

/// Footprint and limits of a unit are those of its movement class, when it has one that is known.
sim::UnitType makeUnitType(const GameTables& tables, const LoadedUnit& unit);

}  // namespace orb::unitview
