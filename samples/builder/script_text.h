#pragma once

#include <filesystem>
#include <string>

#include "io/byte_cursor.h"

namespace orb::samples {

/// Compiles a script source `directory`/`path` to a COB file; includes are looked for beside it.
/// Throws std::runtime_error "FILE:LINE: text" for the first mistake.
io::Bytes compileScript(const std::filesystem::path& directory, const std::string& path);

}  // namespace orb::samples
