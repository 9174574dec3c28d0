#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "io/archive/hpi_archive.h"
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

/// A file for a new archive that is compressed here and now, so that until the archive is written
/// only its stored form takes memory. Throws std::runtime_error "HPI archive too large" for a
/// content of more than 32 bits.
HpiInputFile compressedHpiFile(std::string path, ByteView content, HpiMethod method);

/// A whole archive, not scrambled by position, with every file in chunks compressed by `method`.
/// Directories whose paths differ in case only become one, spelled as first met; entries keep the
/// order of the input. Of two files with the same path readers find the first.
///
/// Throws std::runtime_error "HPI path not writable: <path>" for a path that no reader would find
/// (no components, "." or "..", a NUL, nested too deep), and "HPI archive too large" when offsets
/// or sizes exceed 32 bits.
Bytes writeHpi(std::span<const HpiInputFile> files, HpiMethod method = HpiMethod::zlib);

/// New content for a file inside an archive.
struct HpiReplacement {
    /// Both slashes separate components.
    std::string_view path;
    ByteView content;
};

/// The archive with the contents of some files replaced; a file is added where a path names none.
/// No two paths may name the same file. All other entries keep their data byte for byte, and names,
/// order, empty directories, files hidden behind others of their name and the version (also of a
/// bank) stay as they are; the scrambling by position is gone. Needs memory for the new archive and
/// its largest file.
///
/// Throws what writeHpi throws, the reader's "HPI read error at offset <decimal>" when any file's
/// data lie outside the archive, and std::runtime_error "HPI files overlap" when files share parts
/// of their data.
Bytes rewriteHpi(const HpiArchive& archive, std::span<const HpiReplacement> files);

}  // namespace orb::io
