#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "session/game_tables.h"
#include "session/unit_catalogue.h"

namespace orb::unitview {

/// What the game data say of a unit's movement class.
struct MovementClassInfo {
    std::string name;
    /// As moveinfo.tdf spells it; the name itself when it is not found.
    std::string resolvedName;
    bool found = false;
    std::int32_t footprintX = 0, footprintZ = 0;
    std::int32_t maxSlope = 0, maxWaterDepth = 0, minWaterDepth = 0, maxWaterSlope = 0;
    /// The class itself sets at least one of the slope or depth keys.
    bool hasAuthoredConstraint = false;
    std::string sourcePath;
    /// Where lower layers define the same class.
    std::vector<std::string> shadowedSources;
};

/// None when the definition names no class.
std::optional<MovementClassInfo> describeMovementClass(const GameTables& tables,
                                                       const std::string& name);

/// One kind of sound that a category gives a unit.
struct SoundEvent {
    std::string_view event;
    /// The first sound; empty when the category has none for the event.
    std::string name;
    /// How many sounds the event has.
    std::size_t count = 0;
};

/// All events in their fixed order, also for an unknown category.
std::vector<SoundEvent> describeSounds(const GameTables& tables, std::string_view category);

/// The names in the three weapon slots that are not empty, in slot order.
std::vector<std::string> weaponNames(const io::FbiUnitInfo& fbi);

/// The units of a side (of all when it is empty) whose name, title or display name holds `search` in any
/// case, in name order.
std::vector<const UnitDeclaration*> searchUnits(const UnitCatalogue& catalogue,
                                                std::string_view side, std::string_view search);

/// The name under which a unit is shown: its `name` key, else its unit name.
const std::string& displayName(const UnitDeclaration& unit);

}  // namespace orb::unitview
