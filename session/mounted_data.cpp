#include "session/mounted_data.h"

#include <stdexcept>

#include "io/vfs/hpi_file_system.h"
#include "server/logger.h"
#include "session/game_palette.h"

namespace orb::unitview {
namespace {

/// Logs each archive and tells who listens.
io::MountProgress mountProgress(const io::Progress& progress) {
    return [&progress](std::size_t index, std::size_t count, const std::string& archiveName) {
        LogLine(LogLevel::info) << "[mount] archive " << index + 1 << " of " << count << ": "
                                << archiveName;
        progress(archiveName, index, count);
    };
}

/// What is read besides the units.
constexpr std::size_t kReadSteps = 3;

}  // namespace

void MountedData::readAgain(const LayerFilter& mayHaveChanged, const io::Progress& progress) {
    pictures = DecodedPictures(files);
    progress("units", 0, kReadSteps);
    catalogue.read(files, mayHaveChanged);
    progress("game tables", 1, kReadSteps);
    tables.read(files, mayHaveChanged);
    progress("palette", 2, kReadSteps);
    readGamePalette(files, palette);
}

std::unique_ptr<MountedData> mountDataRoots(const DataRootsRequest& request,
                                            const io::Palette& palette,
                                            const io::Progress& progress) {
    if (request.taDataPath.empty()) throw std::invalid_argument("taDataPath must not be empty");

    auto mounted = std::make_unique<MountedData>();
    mounted->request = request;
    mounted->result = io::buildLayers(mounted->files, request.modPaths, request.taDataPath,
                                      request.mapsPath, mountProgress(progress));
    mounted->roots = request.modPaths;
    mounted->roots.push_back(request.taDataPath);
    mounted->layers.push_back(
        {io::DataRootKind::base, request.taDataPath, mounted->result.baseArchives});
    if (mounted->result.mapsLayered) {
        mounted->roots.push_back(request.mapsPath);
        mounted->layers.push_back({io::DataRootKind::maps, request.mapsPath, 0});
    }
    mounted->palette = palette;
    mounted->readAgain([](const io::VfsLayer&) { return true; }, progress);
    return mounted;
}

std::unique_ptr<MountedData> mountPack(const std::filesystem::path& pack,
                                       const std::filesystem::path& taDataPath,
                                       const io::Palette& palette, const io::Progress& progress) {
    auto mounted = std::make_unique<MountedData>();
    mounted->request.taDataPath = taDataPath;
    mounted->files.append({std::make_unique<io::HpiFileSystem>(pack),
                           io::FileLocation::Kind::archive, pack, io::DataRootKind::mod});
    mounted->result.baseArchives =
        io::mountRoot(mounted->files, {io::DataRootKind::base, taDataPath}, mountProgress(progress))
            .archives;
    mounted->roots = {taDataPath};
    mounted->palette = palette;
    mounted->readAgain([](const io::VfsLayer&) { return true; }, progress);
    return mounted;
}

}  // namespace orb::unitview
