#pragma once

#include <string>
#include <vector>

#include "bos/options.h"
#include "cob/cob_line_span.h"
#include "io/formats/cob_file.h"

namespace orb::unitview::bos {

/// Bytecode as source.
struct BosDisassembly {
    std::string source;
    /// Scripts that hold words which the language cannot express.
    std::vector<std::string> rawScripts;
    /// Which code each line of `source` stands for, in the file that was given.
    std::vector<CobLineSpan> lineSpans;
    /// Compiling `source` gives the same code, entry points, names and statics.
    bool isExact = false;
    bool hasTrailingText = false;
    BosOptions options;
};

/// Writes a file's scripts as a source that compiles back to them: the text is compiled to see, and
/// what differs is written as raw words. Where `choices` leaves the return without a value open, it
/// is the bare one if the file holds such returns; `options` of the result tells. Never throws.
BosDisassembly disassembleCob(const io::CobFile& cob, const BosOptionChoices& choices = {});

}  // namespace orb::unitview::bos
