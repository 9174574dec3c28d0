#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "io/byte_cursor.h"

namespace orb::io {

/// A text that tells one content of a file of any size from another: by its size, its first and its
/// last megabyte.
std::string fileVersion(ByteView content);

/// That of the file as it is on disk; empty when it cannot be read or is none, none when there is
/// no such file.
std::optional<std::string> fileVersion(const std::filesystem::path& file);

}  // namespace orb::io
