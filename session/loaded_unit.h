#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "io/formats/cob_file.h"
#include "io/formats/fbi.h"
#include "io/formats/model3do.h"
#include "session/request_error.h"
#include "session/unit_catalogue.h"
#include "session/unit_source.h"

namespace orb::unitview {

/// A unit assembled from its files.
struct LoadedUnit {
    std::string name;
    bool loadedFromIR = false;
    /// Where the definition came from; none when no layer can tell.
    std::optional<UnitSource> source;
    /// The definition as written, and typed with defaults filled in.
    io::TdfSection definition;
    io::FbiUnitInfo fbi;
    io::Model3doObject model;
    /// The model's file; none when no layer can tell, or an IR document holds the model itself.
    std::optional<UnitSource> modelSource;
    /// Tells the content of that file from others.
    std::string modelVersion;
    /// None when the unit has no script file.
    std::shared_ptr<const io::CobFile> cob;

    /// The definition's [UNITINFO] section.
    const io::TdfSection& unitInfo() const { return *definition.child(io::kUnitInfoSection); }

    /// The name that leads to its definition file, which may declare another `UnitName`.
    std::string definitionName() const;
};

/// Why files of a unit cannot be used, each in its reader's words; empty: they can.
struct UnitFaults {
    std::string definition;
    std::string model;
    std::string script;
};

/// "FBI not found for unit: …".
RequestError unitNotFound(const std::string& name);

/// Assembles a unit from its intermediate representation document, or from the game files when
/// there is none or it is wrong. `name` is a unit name or the stem of its definition file, in any
/// case. Throws std::runtime_error "FBI not found for unit: …", "FBI has no [UNITINFO] section: …",
/// "FBI has no objectName for unit: …", "3DO not found: …" or a file reader's text.
LoadedUnit loadUnitFiles(const io::CompositeVirtualFileSystem& files,
                         const UnitCatalogue& catalogue, const std::string& name);

/// The same for a look at a unit that nobody loads: nothing is logged. With `faults`, what cannot
/// be read is left out and told there; only "FBI not found for unit: …" is thrown then.
LoadedUnit readUnitFiles(const io::CompositeVirtualFileSystem& files,
                         const UnitCatalogue& catalogue, const std::string& name,
                         UnitFaults* faults);

/// The path of a unit's definition file in the stack: the file of its own name, else the one that
/// declares it, else where it would lie.
std::string definitionPath(const io::CompositeVirtualFileSystem& files,
                           const UnitCatalogue& catalogue, const std::string& name);

/// The name of the script that a definition asks for, without ".cob": `scriptname`, else `script`,
/// else the unit's own name. Borrows from its arguments.
std::string_view scriptName(const io::FbiUnitInfo& fbi, std::string_view unitName);

/// The path of that script's file, "scripts/NAME.cob".
std::string scriptPath(const io::FbiUnitInfo& fbi, std::string_view unitName);

}  // namespace orb::unitview
