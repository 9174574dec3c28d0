#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/progress.h"
#include "session/mounted_data.h"
#include "session/table_entry.h"
#include "session/unit_source.h"

/// Everything in the mounted data that units are made of, for reports and packs alike.
namespace orb::unitview {

/// What a file is to a unit.
enum class DependencyRole {
    definition,
    model,
    script,
    scriptSource,
    buildPicture,
    texture,
    weapon,
    weaponModel,
    weaponSprite,
    explosionSprite,
    soundCategory,
    sound,
    movementClass,
    corpse,
    feature,
    featureModel,
    buildOption,
    buildMenu,
};

/// "definition", "model", ..., as reports write it.
std::string_view nameOf(DependencyRole role);

/// A file that units need.
struct Dependency {
    /// As the archive or the disk spells it.
    std::string path;
    std::set<DependencyRole> roles;
    /// Names of units.
    std::set<std::string> usedBy;
    UnitSource source;
    std::uint64_t size = 0;
    /// A text table: units need sections of it rather than the file.
    bool isTable = false;
};

/// Something that units name and nobody has.
struct MissingDependency {
    DependencyRole role;
    /// Of a file its path, else the name that is referred to.
    std::string name;
    std::set<std::string> usedBy;
};

/// A file whose content cannot be followed further.
struct DamagedDependency {
    std::string path;
    std::string message;
};

/// A section of a text table that units need; it lives as long as the tables.
struct NeededSection {
    NamedTable GameTables::*table = nullptr;
    const TableEntry* entry = nullptr;
    std::set<DependencyRole> roles;
    std::set<std::string> usedBy;
};

struct UnitDependencies {
    /// As their definitions spell them: those that were asked for, then those that they build.
    std::vector<std::string> units;
    /// Each once, by path.
    std::vector<Dependency> files;
    /// By role, then by name.
    std::vector<MissingDependency> missing;
    std::vector<DamagedDependency> damaged;
    /// In the order in which they were met.
    std::vector<NeededSection> sections;

    std::uint64_t totalSize() const;
};

/// Follows what the units refer to; `recursive` also through all that they can build. Build lists
/// may be cyclic. Throws RequestError "FBI not found for unit: …", "FBI has no [UNITINFO] section:
/// …" or the text of a damaged archive for one of `units`; what is wrong further on is listed.
UnitDependencies findUnitDependencies(const MountedData& data, std::span<const std::string> units,
                                      bool recursive, const io::Progress& progress = {});

}  // namespace orb::unitview
