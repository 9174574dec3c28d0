#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "io/vfs/data_roots.h"
#include "model/gaf_index.h"
#include "model/texture_library.h"
#include "session/game_tables.h"
#include "session/unit_catalogue.h"

namespace orb::unitview {

/// Where the game data lies.
struct DataRootsRequest {
    /// The installed game; required.
    std::filesystem::path taDataPath;
    /// Folders that add or replace files, the first before the others.
    std::vector<std::filesystem::path> modPaths;
    std::filesystem::path mapsPath;
};

/// One line of the layer report.
struct LayerReport {
    std::string kind;
    std::filesystem::path path;
    std::uint32_t archiveCount = 0;
};

/// The data roots as mounted, with everything that was read from them at once.
struct MountedData {
    io::CompositeVirtualFileSystem files;
    io::MountResult result;
    std::vector<LayerReport> layers;
    /// The roots in mount order: mods, game directory, maps.
    std::vector<std::filesystem::path> roots;
    UnitCatalogue catalogue;
    GameTables tables;
    TextureLibrary textures{files};
    /// The entries of anims/*.gaf.
    GafIndex animations{files, "anims"};

    /// Reads catalogue and tables; later those layers only whose files may have changed.
    void readTables(const LayerFilter& mayHaveChanged);
};

/// Mounts the roots and reads catalogue and tables. Throws std::invalid_argument "taDataPath must
/// not be empty" or what listing a root raises.
std::unique_ptr<MountedData> mountDataRoots(const DataRootsRequest& request);

/// The same data, its layers in their places, without the pictures that were decoded before.
std::unique_ptr<MountedData> withEmptyCaches(MountedData&& mounted);

}  // namespace orb::unitview
