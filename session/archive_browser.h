#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/archive/hpi_archive.h"
#include "io/progress.h"

/// Looking into one archive and taking files out of it, mounted or not.
namespace orb::unitview {

/// A relative path of an archive is looked for in every data root, in mount order.
std::filesystem::path resolveArchivePath(const std::filesystem::path& path,
                                         std::span<const std::filesystem::path> roots);

/// One file of an archive; the entry lives as long as the archive.
struct ArchiveFile {
    /// "/" separated, as stored.
    std::string path;
    const io::HpiFileEntry* entry = nullptr;
};

/// True when a path from an archive may become one on disk: every component stays below the
/// destination on every platform.
bool isSafePath(std::string_view path);

/// The file that a path names. Throws RequestError "not in archive: …".
ArchiveFile findArchiveFile(const io::HpiArchive& archive, const std::string& internalPath);

/// Every file below a directory of the archive (empty: all), depth first in directory order. Throws
/// RequestError "not in archive: …", or "archive paths too long" for a hostile archive.
std::vector<ArchiveFile> listArchiveFiles(const io::HpiArchive& archive,
                                          const std::string& directory);

struct ExtractedFile {
    std::filesystem::path path;
    std::size_t byteSize = 0;
};

/// Writes a file with this path below `destination`. Throws RequestError "unsafe file name", "file
/// exists: …" or the system's text.
ExtractedFile writeExtracted(const std::string& path, io::ByteView bytes,
                             const std::filesystem::path& destination, bool overwrite);

/// Writes one file into `destination` (created when missing) under its own name. Throws
/// RequestError "not in archive: …", "file exists: …", a name that cannot be written, or the
/// system's text.
ExtractedFile extractArchiveFile(const io::HpiArchive& archive, const std::string& internalPath,
                                 const std::filesystem::path& destination, bool overwrite);

struct ExtractionResult {
    struct Skipped {
        std::string internalPath;
        std::string reason;
    };
    std::size_t fileCount = 0;
    std::uint64_t byteSize = 0;
    std::vector<Skipped> skipped;
};

/// Writes every file below `directory` (empty: all) to its own path below `destination`. A file
/// that cannot be read or written is skipped with the reason; so are files that an earlier one of
/// the same name hides, and those beyond HpiReader::maxDecodedBytes in all.
ExtractionResult extractArchiveDirectory(const io::HpiArchive& archive,
                                         const std::string& directory,
                                         const std::filesystem::path& destination, bool overwrite,
                                         const io::Progress& progress = {});

}  // namespace orb::unitview
