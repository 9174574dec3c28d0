#include "session/mounted_data.h"

#include <stdexcept>

#include "io/vfs/hpi_file_system.h"
#include "server/logger.h"
#include "session/game_palette.h"

namespace orb::unitview {
namespace {

void logProgress(std::size_t index, std::size_t count, const std::string& archiveName) {
    LogLine(LogLevel::info) << "[mount] archive " << index + 1 << " of " << count << ": "
                            << archiveName;
}

}  // namespace

void MountedData::readAgain(const LayerFilter& mayHaveChanged) {
    pictures = DecodedPictures(files);
    catalogue.read(files, mayHaveChanged);
    tables.read(files, mayHaveChanged);
    readGamePalette(files, palette);
}

std::unique_ptr<MountedData> mountDataRoots(const DataRootsRequest& request,
                                            const io::Palette& palette) {
    if (request.taDataPath.empty()) throw std::invalid_argument("taDataPath must not be empty");

    auto mounted = std::make_unique<MountedData>();
    mounted->request = request;
    mounted->result = io::buildLayers(mounted->files, request.modPaths, request.taDataPath,
                                      request.mapsPath, logProgress);
    mounted->roots = request.modPaths;
    mounted->roots.push_back(request.taDataPath);
    mounted->layers.push_back(
        {io::DataRootKind::base, request.taDataPath, mounted->result.baseArchives});
    if (mounted->result.mapsLayered) {
        mounted->roots.push_back(request.mapsPath);
        mounted->layers.push_back({io::DataRootKind::maps, request.mapsPath, 0});
    }
    mounted->palette = palette;
    mounted->readAgain([](const io::VfsLayer&) { return true; });
    return mounted;
}

std::unique_ptr<MountedData> mountPack(const std::filesystem::path& pack,
                                       const std::filesystem::path& taDataPath,
                                       const io::Palette& palette) {
    auto mounted = std::make_unique<MountedData>();
    mounted->request.taDataPath = taDataPath;
    mounted->files.append({std::make_unique<io::HpiFileSystem>(pack),
                           io::FileLocation::Kind::archive, pack, io::DataRootKind::mod});
    mounted->result.baseArchives =
        io::mountRoot(mounted->files, {io::DataRootKind::base, taDataPath}, logProgress);
    mounted->roots = {taDataPath};
    mounted->palette = palette;
    mounted->readAgain([](const io::VfsLayer&) { return true; });
    return mounted;
}

}  // namespace orb::unitview
