#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "authoring/unit_definition.h"

namespace orb::unitview {

struct CorpseRequest {
    /// The unit that is to leave the wreck; as for readDefinition.
    std::optional<std::string> parentUnit = {};
    /// Else what the parent's `Corpse` says, else its name and "_dead".
    std::optional<std::string> name = {};
    /// Else where the parent's definition lies when that is a mod, else the first one.
    std::optional<std::filesystem::path> modPath = {};
    bool allowBackupCreation = false;
};

struct CorpseResult {
    std::string name;
    /// Written, or to be written once a backup is consented to: the wreck's definition, its feature
    /// and, where that has to name it, the parent's definition.
    std::vector<io::FileLocation> files;
    EditResult edit;
};

/// Gives a unit a wreck: a unit that does nothing and a map feature of the same name. The parent's
/// `Corpse` is set where it leads to nothing; `refusedForBase` when that is the base game's. Throws
/// what readDefinition, chooseModRoot and requireNewUnitName throw, and RequestError "corpse
/// exists: …", "file exists: …" or "FBI has no objectName for unit: …".
CorpseResult createCorpseStub(UnitViewSession& session, const CorpseRequest& request,
                              io::FileOps& ops = io::systemFileOps());

}  // namespace orb::unitview
