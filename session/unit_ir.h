#pragma once

#include <optional>
#include <string>

#include "io/byte_cursor.h"
#include "io/formats/cob_file.h"
#include "io/formats/model3do.h"
#include "io/formats/tdf.h"

namespace orb::pipeline {

/// A unit in one JSON document: definition, model and, when it has one, its compiled script.
struct UnitIr {
    std::string unitName;
    /// The root of a definition text with its [UNITINFO] section.
    io::TdfSection definition;
    io::Model3doObject model;
    std::optional<io::CobFile> script;
};

/// Reads an intermediate representation document ("schemaVersion" "1.0.0", "assetType"
/// "ta_unit_ir"). Throws std::runtime_error that names the first member in error, such as
/// "model.children[2].position must be an array of 3 numbers", or with the JSON reader's text.
UnitIr parseUnitIr(io::ByteView file);

}  // namespace orb::pipeline
