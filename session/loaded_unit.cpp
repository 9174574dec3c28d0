#include "session/loaded_unit.h"

#include <stdexcept>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/content_version.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "model/piece_list.h"
#include "server/logger.h"
#include "session/model_file.h"
#include "session/request_error.h"
#include "session/unit_ir.h"

namespace orb::unitview {
namespace {

void takeDefinition(LoadedUnit& unit, io::TdfSection definition, const std::string& path) {
    auto info = io::parseFbiUnitInfo(definition);
    if (!info) throw std::runtime_error("FBI has no [UNITINFO] section: " + path);
    unit.definition = std::move(definition);
    unit.fbi = std::move(*info);
}

void logLoaded(const LoadedUnit& unit) {
    std::size_t vertices = 0, textured = 0, colored = 0;
    const auto pieces = flattenPieces(unit.model);
    for (const auto& [piece, parent] : pieces) {
        vertices += piece->vertices.size();
        for (const auto& primitive : piece->primitives)
            ++(primitive.textureName ? textured : colored);
    }
    const std::size_t scripts = unit.cob ? unit.cob->scripts.size() : 0;
    LogLine line(LogLevel::info);
    line << "[load-unit] " << unit.name << " loaded from "
         << (unit.loadedFromIR ? "its IR document" : "the game files")
         << ": pieces=" << pieces.size() << " scripts=" << scripts;
    if (unit.loadedFromIR)
        line << " vertices=" << vertices << " primitives=" << textured + colored
             << " (textured=" << textured << " colored=" << colored << ")";
}

/// How a unit is read.
struct Reading {
    bool isLogged = true;
    /// Where faults go that would otherwise end it.
    UnitFaults* faults = nullptr;
};

std::optional<LoadedUnit> loadFromIr(const io::CompositeVirtualFileSystem& files,
                                     const std::string& name, const Reading& reading) {
    const std::string path = io::kUnitIrFiles.path(name);
    try {
        const auto bytes = files.readFile(path);
        if (!bytes) return std::nullopt;
        if (reading.isLogged)
            LogLine(LogLevel::info) << "[load-unit] IR document found for " << name << ": " << path;
        pipeline::UnitIr document = pipeline::parseUnitIr(*bytes);
        if (!io::equalsIgnoringCase(document.unitName, name))
            throw std::runtime_error(fmt::format("unitName must be \"{}\"", name));
        LoadedUnit unit;
        unit.name = document.unitName;
        unit.loadedFromIR = true;
        unit.source = findSource(files, path);
        takeDefinition(unit, std::move(document.definition), path);
        unit.model = std::move(document.model);
        if (document.script)
            unit.cob = std::make_shared<const io::CobFile>(std::move(*document.script));
        return unit;
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        if (reading.isLogged)
            LogLine(LogLevel::warn) << "Failed to load IR for " << name << ": " << error.what()
                                    << " — falling back to VFS";
        return std::nullopt;
    }
}

std::shared_ptr<const io::CobFile> readScript(const io::CompositeVirtualFileSystem& files,
                                              const LoadedUnit& unit, bool isLogged) {
    const std::string path = scriptPath(unit.fbi, unit.name);
    const auto bytes = files.readFile(path);
    if (bytes) return std::make_shared<const io::CobFile>(io::parseCob(*bytes));
    if (isLogged)
        LogLine(LogLevel::warn) << "COB not found for " << unit.name << " (script: " << path << ")";
    return nullptr;
}

/// Reads one of the unit's files; false when it cannot be and that is noted. "Not found" of the
/// unit itself is no fault of a file.
template <typename Read>
bool readPart(const Reading& reading, std::string UnitFaults::*part, Read&& read) {
    try {
        read();
        return true;
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        if (!reading.faults) throw;
        reading.faults->*part = error.what();
        return false;
    }
}

LoadedUnit loadFromGameFiles(const io::CompositeVirtualFileSystem& files,
                             const UnitCatalogue& catalogue, const std::string& name,
                             const Reading& reading) {
    const std::string fbiPath = definitionPath(files, catalogue, name);
    LoadedUnit unit;
    unit.name = name;
    std::optional<io::Bytes> text;
    const bool isRead = readPart(reading, &UnitFaults::definition, [&] {
        text = files.readFile(fbiPath);
        if (text) takeDefinition(unit, io::parseTdf(io::asText(*text)), fbiPath);
    });
    if (isRead && !text) throw unitNotFound(name);
    unit.source = findSource(files, fbiPath);
    if (!isRead) return unit;

    if (!unit.fbi.unitName.empty()) unit.name = unit.fbi.unitName;
    readPart(reading, &UnitFaults::model, [&] {
        if (unit.fbi.objectName.empty())
            throw std::runtime_error("FBI has no objectName for unit: " + name);
        const io::Bytes file = readModelFile(files, unit.fbi.objectName);
        unit.model = io::parse3do(file);
        unit.modelVersion = io::contentVersion(file);
        unit.modelSource = findModelSource(files, unit.fbi.objectName);
    });
    readPart(reading, &UnitFaults::script,
             [&] { unit.cob = readScript(files, unit, reading.isLogged); });
    return unit;
}

LoadedUnit assembleUnit(const io::CompositeVirtualFileSystem& files, const UnitCatalogue& catalogue,
                        const std::string& name, const Reading& reading) {
    auto fromIr = loadFromIr(files, name, reading);
    return fromIr ? std::move(*fromIr) : loadFromGameFiles(files, catalogue, name, reading);
}

}  // namespace

RequestError unitNotFound(const std::string& name) {
    return RequestError("FBI not found for unit: " + name);
}

std::string LoadedUnit::definitionName() const {
    // An IR document is no definition file.
    return source && !loadedFromIR ? fileStem(source->location) : name;
}

LoadedUnit loadUnitFiles(const io::CompositeVirtualFileSystem& files,
                         const UnitCatalogue& catalogue, const std::string& name) {
    LoadedUnit unit = assembleUnit(files, catalogue, name, {});
    logLoaded(unit);
    return unit;
}

LoadedUnit readUnitFiles(const io::CompositeVirtualFileSystem& files,
                         const UnitCatalogue& catalogue, const std::string& name,
                         UnitFaults* faults) {
    return assembleUnit(files, catalogue, name, {.isLogged = false, .faults = faults});
}

std::string definitionPath(const io::CompositeVirtualFileSystem& files,
                           const UnitCatalogue& catalogue, const std::string& name) {
    const std::string* const preferred = catalogue.preferredPath(name);
    std::string path = preferred ? *preferred : io::kUnitFiles.path(name);
    if (files.locate(path)) return path;
    const UnitDeclaration* const declaration = catalogue.find(name);
    return declaration ? io::kUnitFiles.path(declaration->fileStem) : path;
}

std::string_view scriptName(const io::FbiUnitInfo& fbi, std::string_view unitName) {
    std::string_view script = unitName;
    if (!fbi.script.empty()) script = fbi.script;
    if (!fbi.scriptName.empty()) script = fbi.scriptName;
    return io::kScriptFiles.stem(script);
}

std::string scriptPath(const io::FbiUnitInfo& fbi, std::string_view unitName) {
    return io::kScriptFiles.path(scriptName(fbi, unitName));
}

}  // namespace orb::unitview
