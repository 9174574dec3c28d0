#include "io/vfs/data_roots.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <tuple>
#include <vector>

#include "io/ascii.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "io/vfs/directory_file_system.h"
#include "io/vfs/hpi_file_system.h"
#include "server/logger.h"

namespace orb::io {
namespace fs = std::filesystem;
namespace {

/// In stacking order.
constexpr std::array<std::string_view, 5> kArchiveExtensions{".gp3", ".gpf", ".ufo", ".ccx",
                                                             ".hpi"};

int extensionRank(std::string_view extension) {
    const auto found =
        std::find_if(kArchiveExtensions.begin(), kArchiveExtensions.end(),
                     [&](std::string_view known) { return equalsIgnoringCase(known, extension); });
    return static_cast<int>(found - kArchiveExtensions.begin());
}

bool isPresent(const fs::path& root) {
    std::error_code ignored;
    return !root.empty() && fs::exists(root, ignored);
}

std::vector<fs::path> archivesIn(const fs::path& directory) {
    std::vector<fs::path> archives;
    requireMemoryToList();
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        std::error_code ignored;
        if (isArchiveExtension(textFromPath(entry.path().extension())) &&
            entry.is_regular_file(ignored))
            archives.push_back(entry.path());
    }
    std::sort(archives.begin(), archives.end(), [](const fs::path& a, const fs::path& b) {
        return std::tuple(archiveRank(a), textFromPath(a.filename())) <
               std::tuple(archiveRank(b), textFromPath(b.filename()));
    });
    return archives;
}

/// The path in one spelling, symbolic links left as they are.
fs::path comparable(const fs::path& path) {
    std::error_code ignored;
    return withoutEndSlash(fs::absolute(path, ignored).lexically_normal());
}

/// Naming the game directory among the mods makes no mod of its files.
DataRootKind modRootKind(const fs::path& mod, const fs::path& taDataPath) {
    std::error_code ignored;
    const bool isGame = comparable(mod) == comparable(taDataPath) ||
                        fs::equivalent(withoutEndSlash(mod), withoutEndSlash(taDataPath), ignored);
    return isGame ? DataRootKind::base : DataRootKind::mod;
}

}  // namespace

bool isArchiveExtension(std::string_view extension) {
    return extensionRank(extension) < static_cast<int>(kArchiveExtensions.size());
}

int archiveRank(const fs::path& path) {
    return extensionRank(textFromPath(path.extension()));
}

MountedRoot mountRoot(CompositeVirtualFileSystem& composite, const DataRoot& root,
                      const MountProgress& progress) {
    MountedRoot mounted{root};
    mounted.exists = isPresent(root.path);
    if (!mounted.exists) return mounted;
    const std::vector<fs::path> archives = archivesIn(root.path);
    for (std::size_t i = 0; i < archives.size(); ++i) {
        const std::string name = textFromPath(archives[i].filename());
        if (progress) progress(i, archives.size(), name);
        try {
            composite.append({std::make_unique<HpiFileSystem>(archives[i]),
                              FileLocation::Kind::archive, archives[i], root.kind});
            ++mounted.archives;
        } catch (const std::exception& error) {
            rethrowOutOfMemory(error);
            LogLine(LogLevel::warn) << "Failed to mount " << name << ": " << error.what();
            mounted.unreadable.push_back({archives[i], error.what()});
        }
    }
    composite.append({std::make_unique<DirectoryFileSystem>(root.path), FileLocation::Kind::loose,
                      root.path, root.kind});
    return mounted;
}

MountResult buildLayers(CompositeVirtualFileSystem& composite, std::span<const fs::path> modPaths,
                        const fs::path& taDataPath, const fs::path& mapsPath,
                        const MountProgress& progress) {
    MountResult result;
    const auto mount = [&](const DataRoot& root) {
        result.roots.push_back(mountRoot(composite, root, progress));
        return result.roots.back().archives;
    };
    for (const fs::path& mod : modPaths)
        result.modArchives += mount({modRootKind(mod, taDataPath), mod});
    result.baseArchives = mount({DataRootKind::base, taDataPath});
    if (mapsPath.empty() || comparable(mapsPath) == comparable(taDataPath)) return result;
    mount({DataRootKind::maps, mapsPath});
    result.mapsLayered = result.roots.back().exists;
    return result;
}

}  // namespace orb::io
