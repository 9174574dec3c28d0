#pragma once

#include "samples/builder/files.h"
#include "samples/builder/source_text.h"

namespace orb::samples {

/// Distributes a root's files over archives and loose files as `script` (a pack.txt) says, and
/// damages what it wants damaged. The result holds the archives and loose files by name.
FileSet packRoot(SourceText& script, FileSet files);

}  // namespace orb::samples
