#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "io/byte_cursor.h"

namespace orb::samples {

/// Files by their path in a data root, "/" separated; ordered, so that every run packs them alike.
using FileSet = std::map<std::string, io::Bytes>;

/// Throws std::runtime_error "cannot read PATH".
io::Bytes readFile(const std::filesystem::path& path);

/// Writes a file, creating its directories. Throws std::runtime_error "cannot write PATH".
void writeFile(const std::filesystem::path& path, io::ByteView bytes);

}  // namespace orb::samples
