#pragma once

#include <filesystem>

#include "samples/builder/art_text.h"
#include "samples/builder/files.h"

namespace orb::samples {

/// What pack.txt, which steers the packing, is called in every source directory.
inline constexpr const char* kPackFile = "pack.txt";

/// Builds the files of one data root: NAME.EXT.txt becomes NAME.EXT, everything else but pack.txt
/// is taken as it is; a script NAME.bos is, and becomes NAME.cob, too. Models are added to
/// `models`, where pictures of later roots find them too. Throws std::runtime_error, naming file
/// and line, for a source with a mistake.
FileSet buildRootFiles(const std::filesystem::path& directory, const NamedPalette& palette,
                       ModelSet& models);

}  // namespace orb::samples
