#pragma once

#include <memory>
#include <optional>
#include <string>

#include "io/formats/cob_file.h"
#include "io/text_encoding.h"
#include "session/unit_view_session.h"

namespace orb::unitview {

/// A script's source as its file has it.
struct ScriptSource {
    /// UTF-8.
    std::string text;
    io::TextEncoding encoding = io::TextEncoding::utf8;
    /// Tells this content of the file from others.
    std::string version;
};

/// A unit's script and, where the stack has it, the source beside it.
struct UnitScript {
    std::string unitName;
    std::shared_ptr<const io::CobFile> cob;
    /// "scripts/NAME.bos" for the script "scripts/NAME.cob", whether there is such a file or not.
    std::string sourcePath;
    std::optional<ScriptSource> source;
};

/// The script of the loaded unit, or of the one called `name`. Throws RequestError "no unit loaded;
/// call load-unit first", "data roots not set", "FBI not found for unit: …", "COB script not found:
/// …" or a reader's text.
UnitScript readUnitScript(const UnitViewSession& session, const std::optional<std::string>& name);

/// Where the source of the loaded unit's script lies or would lie; without a unit, where one
/// without a name does.
std::string scriptSourcePath(const UnitViewSession& session);

/// Where the includes of a source are looked for; null without data roots.
const io::AbstractVirtualFileSystem* includeFiles(const UnitViewSession& session);

}  // namespace orb::unitview
