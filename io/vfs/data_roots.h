#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/vfs/composite_virtual_file_system.h"

namespace orb::io {

/// Called before each archive is mounted: its index among the root's archives, their number, and
/// the archive's file name.
using MountProgress =
    std::function<void(std::size_t index, std::size_t count, const std::string& archiveName)>;

/// A folder of game data and the part that it plays.
struct DataRoot {
    DataRootKind kind = DataRootKind::base;
    std::filesystem::path path;
};

/// An archive that could not be mounted, and why.
struct UnreadableArchive {
    std::filesystem::path path;
    std::string message;
};

/// A data root as it was found.
struct MountedRoot {
    DataRoot root;
    std::uint32_t archives = 0;
    std::vector<UnreadableArchive> unreadable = {};
    /// False for a root that is not there, which is no failure.
    bool exists = false;
};

struct MountResult {
    /// Archives of all mod roots together.
    std::uint32_t modArchives = 0;
    std::uint32_t baseArchives = 0;
    bool mapsLayered = false;
    /// All of them in mount order; without the maps folder when that is the game directory.
    std::vector<MountedRoot> roots = {};
};

/// True for ".hpi", ".ufo", ".ccx", ".gpf" and ".gp3" in any case.
bool isArchiveExtension(std::string_view extension);

/// Where an archive stands among those of its root, by extension: ".gp3" 0, ".gpf" 1, ".ufo" 2,
/// ".ccx" 3, ".hpi" 4, anything else 5. Lower ranks shadow higher ones.
int archiveRank(const std::filesystem::path& path);

/// Appends the archives that lie directly in the root, by rank and then by name, and behind them
/// its loose files. An archive that cannot be mounted is left out with a warning in the log. A root
/// that is empty or does not exist has nothing; one that cannot be listed raises
/// std::filesystem::filesystem_error.
MountedRoot mountRoot(CompositeVirtualFileSystem& composite, const DataRoot& root,
                      const MountProgress& progress = {});

/// Fills an empty stack: the mods in the given order, the game directory, then the maps folder
/// unless it is empty, missing or the game directory itself.
MountResult buildLayers(CompositeVirtualFileSystem& composite,
                        std::span<const std::filesystem::path> modPaths,
                        const std::filesystem::path& taDataPath,
                        const std::filesystem::path& mapsPath, const MountProgress& progress = {});

}  // namespace orb::io
