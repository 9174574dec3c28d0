#include "session/mounted_data.h"

#include <stdexcept>

#include "server/logger.h"

namespace orb::unitview {
namespace {

void logProgress(std::size_t index, std::size_t count, const std::string& archiveName) {
    LogLine(LogLevel::info) << "[mount] archive " << index + 1 << " of " << count << ": "
                            << archiveName;
}

}  // namespace

void MountedData::readTables(const LayerFilter& mayHaveChanged) {
    catalogue.read(files, mayHaveChanged);
    tables.read(files, mayHaveChanged);
}

std::unique_ptr<MountedData> mountDataRoots(const DataRootsRequest& request) {
    if (request.taDataPath.empty()) throw std::invalid_argument("taDataPath must not be empty");

    auto mounted = std::make_unique<MountedData>();
    mounted->result = io::buildLayers(mounted->files, request.modPaths, request.taDataPath,
                                      request.mapsPath, logProgress);
    mounted->roots = request.modPaths;
    mounted->roots.push_back(request.taDataPath);
    mounted->layers.push_back({"base", request.taDataPath, mounted->result.baseArchives});
    if (mounted->result.mapsLayered) {
        mounted->roots.push_back(request.mapsPath);
        mounted->layers.push_back({"maps", request.mapsPath, 0});
    }
    mounted->readTables([](const io::VfsLayer&) { return true; });
    return mounted;
}

std::unique_ptr<MountedData> withEmptyCaches(MountedData&& mounted) {
    auto fresh = std::make_unique<MountedData>();
    fresh->files = std::move(mounted.files);
    fresh->result = mounted.result;
    fresh->layers = std::move(mounted.layers);
    fresh->roots = std::move(mounted.roots);
    fresh->catalogue = std::move(mounted.catalogue);
    fresh->tables = std::move(mounted.tables);
    return fresh;
}

}  // namespace orb::unitview
