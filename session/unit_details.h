#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "session/game_tables.h"
#include "session/loaded_unit.h"
#include "session/mounted_data.h"
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

/// A weapon that a unit's definition names.
struct WeaponSlot {
    std::string name;
    /// Null when no table declares it.
    const TableEntry* weapon = nullptr;
};

/// What the mounted data say of a loaded unit beside its own files; borrows from them.
struct UnitDetails {
    std::optional<MovementClassInfo> movementClass;
    /// The slots that are not empty, in their order.
    std::vector<WeaponSlot> weapons;
    std::vector<SoundEvent> sounds;
    /// The base game's definition of a unit that a mod defines too, or null.
    const io::FbiUnitInfo* baseline = nullptr;
};
UnitDetails describeUnit(const LoadedUnit& unit, const MountedData& data);

/// The units of a side (of all when it is empty) whose name, title or display name holds `search`
/// in any case, in name order.
std::vector<const UnitDeclaration*> searchUnits(const UnitCatalogue& catalogue,
                                                std::string_view side, std::string_view search);

/// The name under which a unit is shown: its `name` key, else its unit name.
const std::string& displayName(const UnitDeclaration& unit);

/// The name that a unit's build picture goes by: its `buildpic` key, else its unit name. Borrows
/// from its arguments.
const std::string& buildPictureName(const std::string& buildPic, const std::string& unitName);

}  // namespace orb::unitview
