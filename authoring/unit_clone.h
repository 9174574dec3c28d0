#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "authoring/unit_definition.h"
#include "authoring/unit_parts.h"

namespace orb::unitview {

struct CloneRequest {
    /// As for readDefinition.
    std::optional<std::string> name = {};
    /// None, or the unit's own name: the unit is brought into the mod as it is.
    std::optional<std::string> newName = {};
    /// As for chooseModRoot.
    std::optional<std::filesystem::path> modPath = {};
    /// Becomes the definition's `Name`.
    std::optional<std::string> displayName = {};
    /// What is copied beside the definition; else all under a new name, nothing under the same.
    std::optional<std::vector<UnitPart>> with = {};
    bool overwrite = false;
    bool allowBackupCreation = false;
};

struct CopiedFile {
    io::FileLocation from;
    io::FileLocation to;
};

struct CloneResult {
    std::string name;
    /// Copied, or to be copied once backups are consented to; the definition first.
    std::vector<CopiedFile> files;
    EditResult edit;
};

/// Copies a unit into a mod, all of its files or none. Under a new name the definition's `UnitName`
/// and, of the parts that are copied, the keys that it has for them change, and no other byte; what
/// already lies in the mod is not copied under the same name. Throws what readDefinition,
/// chooseModRoot, requireNewUnitName and editDefinition throw, and RequestError "unit exists: …" or
/// "file exists: …", which `overwrite` allows.
CloneResult cloneUnit(UnitViewSession& session, const CloneRequest& request,
                      io::FileOps& ops = io::systemFileOps());

}  // namespace orb::unitview
