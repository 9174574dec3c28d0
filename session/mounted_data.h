#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "io/formats/palette.h"
#include "io/game_paths.h"
#include "io/progress.h"
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
    io::DataRootKind kind = io::DataRootKind::base;
    std::filesystem::path path;
    std::uint32_t archiveCount = 0;
};

/// What is looked up and decoded when it is first asked for, and then kept. Borrows the files.
struct DecodedPictures {
    explicit DecodedPictures(const io::CompositeVirtualFileSystem& files)
        : textures(files), animations(files, io::kAnimationFiles) {}

    TextureLibrary textures;
    GafIndex animations;
};

/// The data roots as mounted, with everything that was read from them. Stays where it is: its
/// members refer to one another.
struct MountedData {
    MountedData() = default;
    MountedData(const MountedData&) = delete;
    MountedData& operator=(const MountedData&) = delete;
    ~MountedData() = default;

    /// What was asked for.
    DataRootsRequest request;
    io::CompositeVirtualFileSystem files;
    io::MountResult result;
    std::vector<LayerReport> layers;
    /// The roots in mount order: mods, game directory, maps.
    std::vector<std::filesystem::path> roots;
    UnitCatalogue catalogue;
    GameTables tables;
    io::Palette palette = io::greyscaleRamp();
    DecodedPictures pictures{files};

    /// Reads what was read from the files again, catalogue and tables only of those layers whose
    /// files may have changed, and forgets what was decoded.
    void readAgain(const LayerFilter& mayHaveChanged, const io::Progress& progress = {});
};

/// Mounts the roots and reads what belongs to them; colours that their palette lacks are those of
/// `palette`. Throws std::invalid_argument "taDataPath must not be empty" or what listing a root
/// raises.
std::unique_ptr<MountedData> mountDataRoots(const DataRootsRequest& request,
                                            const io::Palette& palette,
                                            const io::Progress& progress = {});

/// The same for one archive in front of the game directory, as it is for who gets it as a file.
/// Throws what opening the archive throws too.
std::unique_ptr<MountedData> mountPack(const std::filesystem::path& pack,
                                       const std::filesystem::path& taDataPath,
                                       const io::Palette& palette,
                                       const io::Progress& progress = {});

}  // namespace orb::unitview
