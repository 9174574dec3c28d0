#pragma once

#include <vector>

#include "bos/options.h"
#include "bos/syntax_tree.h"
#include "cob/cob_line_span.h"
#include "io/formats/cob_file.h"

namespace orb::unitview::bos {

/// The options that a program's code depends on.
struct OptionUse {
    bool linearScale = false;
    bool angularScale = false;
    bool implicitReturn = false;
    bool valuelessReturn = false;
    bool argumentOrder = false;
};

/// What a program is translated to.
struct GeneratedCode {
    io::CobFile cob;
    /// Every word of every script belongs to one span. Files count as in DiagnosticList.
    std::vector<CobLineSpan> lineSpans;
    /// For each word of code: it is the value of a literal in [ ] or < >.
    std::vector<bool> isScaled;
    /// With others of the options that are not in use the code would be the same.
    OptionUse use;
};

/// Gives names their meaning and writes the code of every script, in the order of the source. The
/// result is of use only when `diagnostics` holds no errors.
GeneratedCode generateCode(const Program& program, const BosOptions& options,
                           DiagnosticList& diagnostics);

}  // namespace orb::unitview::bos
