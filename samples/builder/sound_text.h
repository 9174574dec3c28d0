#pragma once

#include "samples/builder/files.h"
#include "samples/builder/source_text.h"

namespace orb::samples {

/// One .wav file for each line "NAME FREQUENCY:MILLISECONDS...", by file name.
FileSet parseSounds(SourceText& source);

}  // namespace orb::samples
