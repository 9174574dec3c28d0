#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "authoring/unit_definition.h"
#include "bos/compiler.h"

namespace orb::unitview {

/// A script as its source.
struct ScriptText {
    std::string bos;
    bos::BosOptionChoices options;
};

/// What is to be saved of the loaded unit; what is none stays as it is.
struct SaveRequest {
    /// If given, a name of the loaded unit.
    std::optional<std::string> name = {};
    /// Keys of the definition, or its whole text.
    std::variant<std::monostate, std::vector<FbiChange>, std::string> definition;
    /// A script file, or a source to compile.
    std::variant<std::monostate, io::Bytes, ScriptText> script;
    /// A PNG of any size.
    std::optional<io::Bytes> picture = {};
    /// The edits of the model, if there are any; for this version of its file only, by default the
    /// one that was loaded or saved last.
    bool model = true;
    std::optional<std::string> ifModelVersion = {};
    /// The script, for this version of its source only; empty for one without a source.
    std::optional<std::string> ifScriptVersion = {};
    /// A file that belongs to the name which the definition gives a part now, and not before, may
    /// be replaced.
    bool overwrite = false;
    /// `checkOnly` is none of them.
    EditTerms terms = {};
};

struct SavedFile {
    /// "definition", "model", "script", "script-source" or "picture".
    std::string_view part;
    io::FileLocation location;
};

struct SaveResult {
    /// Written, or to be written once backups are consented to.
    std::vector<SavedFile> files;
    /// Of a source that was compiled.
    std::optional<std::vector<bos::BosDiagnostic>> diagnostics;
    EditResult edit;
    /// The version of the model's file now, when that is another one than its edits are for;
    /// nothing is written then.
    std::optional<std::string> modelVersion = {};
    /// That of the script's source now, when that is another one than it was asked to be (nothing
    /// is written then), or the one that was asked for has been replaced.
    std::optional<std::string> scriptVersion = {};
};

/// Saves parts of the loaded unit, all or none. Each is written where the game reads it; what it
/// reads from the base game goes into the mod of the definition, as a loose file. The names of the
/// files are those of the definition as it is saved. Throws RequestError "no unit loaded; call
/// load-unit first", "not the loaded unit: …", "unit was loaded from its IR document" for its model
/// and script, "file exists: …" for the file of a new name, kNoUnitInfo, "script does not compile:
/// N errors, …", what the readers of a script and a picture throw, and what editDefinition and
/// writing throw.
SaveResult saveUnit(UnitViewSession& session, const SaveRequest& request,
                    io::FileOps& ops = io::systemFileOps());

}  // namespace orb::unitview
