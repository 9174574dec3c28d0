#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "io/byte_cursor.h"

namespace orb::io {

/// One file for a new archive.
struct HpiInputFile {
    /// Inside the archive; both slashes separate components.
    std::string path;
    Bytes content;
    /// Set when `content` is a file's stored form (HpiReader::readBlob), which is then copied byte
    /// for byte: the size that it decodes to.
    std::optional<std::uint32_t> decodedSize = std::nullopt;
};

/// A whole archive, not scrambled by position, with every file in zlib chunks. Directories whose
/// paths differ in case only become one, spelled as first met; entries keep the order of the input.
/// Of two files with the same path readers find the first.
///
/// Throws std::runtime_error "HPI path not writable: <path>" for a path that no reader would find
/// (no components, "." or "..", a NUL, nested too deep), and "HPI archive too large" when offsets
/// or sizes exceed 32 bits.
Bytes writeHpi(std::span<const HpiInputFile> files);

}  // namespace orb::io
