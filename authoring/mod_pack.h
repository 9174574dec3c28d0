#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "authoring/pack_file.h"

namespace orb::unitview {

struct ModPackResult {
    WrittenPack pack;
    /// By path.
    std::vector<LeftOutFile> leftOut;
};

/// Packs what the game sees of a mounted mod folder (the first one where none is named): the files
/// of its archives, and its loose files where no archive has them. What only this program or the
/// system uses is left out. Throws RequestError: chooseModRoot's, requirePackDestination's and
/// writePack's, "cannot read: …" and the path of a file, or "too many folders in: …".
ModPackResult exportModPack(UnitViewSession& session,
                            const std::optional<std::filesystem::path>& modPath,
                            const PackRequest& request, const io::Progress& progress = {},
                            io::FileOps& ops = io::systemFileOps());

}  // namespace orb::unitview
