#pragma once

#include "io/formats/cob_file.h"
#include "samples/builder/source_text.h"

namespace orb::samples {

/// Translates script text, whose instructions are the opcode table's names in lower case with
/// hyphens; samples/README.md lists the lines.
io::CobFile assembleScript(SourceText& source);

}  // namespace orb::samples
