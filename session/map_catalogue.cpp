#include "session/map_catalogue.h"

#include <map>
#include <stdexcept>

#include "io/ascii.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "io/vfs/file_beginning.h"
#include "io/virtual_path.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

void logUnreadable(const std::string& path, const char* error) {
    LogLine(LogLevel::warn) << "[maps] cannot read " << path << ": " << error;
}

std::optional<io::OtaFile> readDescription(const io::CompositeVirtualFileSystem& files,
                                           const std::string& name) {
    const std::string path = io::kMapDescriptionFiles.path(name);
    try {
        const auto text = files.readFile(path);
        if (text) return io::parseOta(io::asText(*text));
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        logUnreadable(path, error.what());
    }
    return std::nullopt;
}

std::optional<io::TntSize> readCells(const io::CompositeVirtualFileSystem& files,
                                     const std::string& name) {
    const std::string path = io::kMapFiles.path(name);
    try {
        const auto header = io::readBeginning(files, path, io::kTntHeaderSize);
        if (header) return io::readTntSize(*header);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        logUnreadable(path, error.what());
    }
    return std::nullopt;
}

/// Every map's name as stored, by its upper-cased name, with the kinds of files that it has.
std::map<std::string, MapEntry> findMaps(const io::CompositeVirtualFileSystem& files) {
    std::map<std::string, MapEntry> maps;
    const auto collect = [&](const io::GameFiles& kind, bool MapEntry::*has) {
        for (const std::string& file : files.listFiles(kind.folder, kind.extension)) {
            const std::string name(kind.stem(file));
            MapEntry& entry = maps[io::upperCased(name)];
            if (entry.name.empty()) entry.name = name;
            entry.*has = true;
        }
    };
    collect(io::kMapFiles, &MapEntry::hasTerrain);
    collect(io::kMapDescriptionFiles, &MapEntry::hasDescription);
    return maps;
}

void describe(MapEntry& entry, const io::OtaFile& description) {
    const struct {
        std::string_view key;
        std::string MapEntry::*field;
    } kFields[] = {{"missionname", &MapEntry::title},
                   {"missiondescription", &MapEntry::description},
                   {"size", &MapEntry::size},
                   {"numplayers", &MapEntry::players},
                   {"planet", &MapEntry::planet}};
    for (const auto& [key, field] : kFields) entry.*field = headerText(description, key);
    entry.schemas = schemaTypes(description);
}

}  // namespace

std::vector<MapEntry> listMaps(const io::CompositeVirtualFileSystem& files) {
    std::vector<MapEntry> result;
    for (auto& [upperCasedName, entry] : findMaps(files)) {
        const io::GameFiles& kind = entry.hasTerrain ? io::kMapFiles : io::kMapDescriptionFiles;
        auto source = findSource(files, kind.path(entry.name));
        if (!source) continue;  // it has vanished meanwhile
        entry.source = std::move(*source);
        if (entry.hasTerrain) entry.cells = readCells(files, entry.name);
        if (entry.hasDescription)
            if (const auto description = readDescription(files, entry.name))
                describe(entry, *description);
        result.push_back(std::move(entry));
    }
    return result;
}

MapFiles readMapFiles(const io::CompositeVirtualFileSystem& files, const std::string& name) {
    const std::string path = io::kMapFiles.path(name);
    const auto source = findSource(files, path);
    const auto bytes = source && io::isPlainComponent(name) ? files.readFile(path) : std::nullopt;
    if (!bytes) throw std::runtime_error("map not found: " + name);
    return {fileStem(source->location), io::parseTnt(*bytes), readDescription(files, name)};
}

std::string headerText(const io::OtaFile& description, std::string_view key) {
    return std::string(description.header.getString(key).value_or(""));
}

std::vector<std::string> schemaTypes(const io::OtaFile& description) {
    std::vector<std::string> types;
    for (const auto& [number, schema] : description.schemas) {
        types.resize(number);
        types.emplace_back(schema.values.getString("type").value_or(""));
    }
    return types;
}

}  // namespace orb::unitview
