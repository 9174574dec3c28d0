#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <optional>

#include "io/byte_cursor.h"

namespace orb::io {

/// The content of a regular file, or its first `maxBytes`; none when it cannot be opened. Throws
/// std::runtime_error "file too large: …" where that would be more than any file of the game.
std::optional<Bytes> readLooseFile(const std::filesystem::path& path,
                                   std::size_t maxBytes = std::numeric_limits<std::size_t>::max());

}  // namespace orb::io
