#pragma once

#include <optional>
#include <string>
#include <vector>

#include "io/formats/ota.h"
#include "io/formats/tnt.h"
#include "session/unit_source.h"

namespace orb::unitview {

/// One map of the mounted data, as its files tell of it.
struct MapEntry {
    /// The files' name without its extension, as stored.
    std::string name;
    /// The ground is there; a map without cannot be loaded.
    bool hasTerrain = false;
    bool hasDescription = false;
    /// What the description says; empty without one.
    std::string title, description, size, players, planet;
    /// `schemaTypes` of the description.
    std::vector<std::string> schemas;
    /// None when the ground is not there or cannot be read.
    std::optional<io::TntSize> cells;
    /// Of the ground, else of the description.
    UnitSource source;
};

/// The maps of all layers, those of one name once, in the byte order of the upper-cased names.
/// Files that cannot be read are logged; what they would tell is left out.
std::vector<MapEntry> listMaps(const io::CompositeVirtualFileSystem& files);

/// The files of a map.
struct MapFiles {
    /// As stored.
    std::string name;
    io::TntFile ground;
    std::optional<io::OtaFile> description;
};

/// Reads a map by its name in any case. Throws std::runtime_error "map not found: …" or what
/// reading the ground throws; a description that cannot be read is logged and left out.
MapFiles readMapFiles(const io::CompositeVirtualFileSystem& files, const std::string& name);

/// A value of the description's header as written; empty when it is absent.
std::string headerText(const io::OtaFile& description, std::string_view key);

/// What a description calls its schemas; schema i is the i-th, and empty when it is missing.
std::vector<std::string> schemaTypes(const io::OtaFile& description);

}  // namespace orb::unitview
