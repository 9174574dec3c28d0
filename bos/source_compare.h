#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bos/compiler.h"

namespace orb::unitview::bos {

/// How a script's source and its bytecode relate, from alike to not there.
enum class ScriptStatus : std::uint8_t {
    identical,
    constantsRounded,  ///< constants from literals in [ ] and < > differ by one unit
    constants,         ///< constants differ, and nothing else
    code,
    missingInSource,
    missingInBytecode,
};

/// "identical", "constants-rounded", "constants", "code", "missing in source", "missing in
/// bytecode".
std::string_view statusText(ScriptStatus status);

struct ScriptComparison {
    std::string name;
    ScriptStatus status = ScriptStatus::identical;
    std::size_t words = 0;      ///< in the bytecode, or in the source where that alone has it
    std::size_t differing = 0;  ///< words, missing and additional ones included
};

/// A source compared with bytecode.
struct SourceComparison {
    /// False when the source has mistakes; only the diagnostics say something then.
    bool ok = false;
    /// Every script is identical, and nothing else differs.
    bool isIdentical = false;
    /// The same words at the same places.
    bool isSameCode = false;
    /// Those of the usual settings that fit the bytecode best.
    BosOptions options;
    std::vector<ScriptComparison> scripts;
    bool scriptOrderDiffers = false;
    bool piecesDiffer = false;
    bool staticVarsDiffer = false;
    bool hasTrailingText = false;
    std::vector<BosDiagnostic> diagnostics;
    /// Which code of the bytecode each line stands for, in those scripts that are identical.
    std::vector<CobLineSpan> lineSpans;
    /// As in BosCompilation.
    std::vector<std::string> files;
    SourceSymbols symbols;
};

/// Compiles a source with the settings in use, those of its own settings line first, and compares
/// the best result with the bytecode script by script. Parameters as for compileBos.
SourceComparison compareSource(const io::CobFile& cob, std::string_view source,
                               const std::string& path, const io::AbstractVirtualFileSystem* files);

}  // namespace orb::unitview::bos
