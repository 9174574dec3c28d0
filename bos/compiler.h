#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "bos/generator.h"
#include "bos/options.h"
#include "bos/symbols.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::unitview::bos {

/// What compiling a source gives.
struct BosCompilation {
    /// False when the diagnostics hold an error; there is no code then.
    bool ok = false;
    std::vector<BosDiagnostic> diagnostics;
    GeneratedCode code;
    SourceSymbols symbols;
    /// The paths of the source and of what it includes, as line spans count them.
    std::vector<std::string> files;
    /// The options in effect.
    BosOptions options;
};

/// Compiles a source. What `choices` leaves open its settings line decides, then the defaults.
/// `path` is its virtual path, `files` where its includes are looked for (null: nowhere).
BosCompilation compileBos(std::string_view source, const std::string& path,
                          const io::AbstractVirtualFileSystem* files,
                          const BosOptionChoices& choices = {});

}  // namespace orb::unitview::bos
