#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>

#include "io/files/file_ops.h"
#include "session/unit_view_session.h"

namespace orb::unitview {

struct NewMod {
    std::filesystem::path path;
    /// False when the folder was there already, empty.
    bool created = false;
    /// Of all roots together, when it was mounted.
    std::optional<std::size_t> unitCount;
};

/// Makes a mod folder with the subfolders of units' files, in a folder that is there, and mounts it
/// before the other mods if wanted; the loaded unit stays. Whatever fails, nothing is left of it.
/// Throws RequestError "data roots not set" when it cannot be mounted, "mod folder lies in the game
/// directory: …", "folder is not empty: …", "create dir: …" or "mount failed: …".
NewMod createModFolder(UnitViewSession& session, const std::filesystem::path& path, bool mount,
                       io::FileOps& ops = io::systemFileOps());

}  // namespace orb::unitview
