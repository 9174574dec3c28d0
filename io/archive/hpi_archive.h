#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "io/archive/hpi_directory.h"
#include "io/archive/hpi_reader.h"
#include "io/byte_cursor.h"
#include "io/virtual_path.h"

namespace orb::io {

/// One HPI archive: its directory tree, read once, and the bytes of its files on request. Read-only
/// and without an open file between calls; safe to use from several threads.
class HpiArchive {
public:
    /// Reads header and directory. Throws std::runtime_error "Cannot open HPI file: ", "Not a valid
    /// HPI file (bad magic): ", "Unsupported HPI version: " or "HPI header read error: ", each with
    /// the path, or "HPI read error at offset <decimal>" when the directory lies outside the file.
    explicit HpiArchive(std::filesystem::path path);
    // Entries and index refer to the object in place.
    HpiArchive(const HpiArchive&) = delete;
    HpiArchive& operator=(const HpiArchive&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// Scrambling key of everything behind the header; 0 when the archive is not scrambled.
    std::uint8_t readKey() const { return readKey_; }
    bool isBank() const { return isBank_; }
    const HpiDirectory& root() const { return root_; }

    /// The file that `path` names, or null. Components match in any case; each directory on the way
    /// is the first of its name. The pointer lives as long as the archive.
    const HpiEntry* findFile(const VirtualPath& path) const { return findFile(path, nullptr); }
    /// The entries of the directory that `path` names, or null; those of the root when the path has
    /// no components. Appends the path as the archive spells it to `storedPath`, each name with a
    /// "/" behind it.
    const HpiEntries* findDirectory(const VirtualPath& path,
                                    std::string* storedPath = nullptr) const {
        return walk(path.components(), storedPath);
    }
    /// The file of this name that a path through `directory` (of this archive) finds, or null.
    const HpiEntry* findFileIn(const HpiEntries& directory, std::string_view name) const {
        return index_->findFile(directory, name);
    }
    /// The path of the file that `findFile(path)` finds as the archive spells it, "/" separated.
    std::optional<std::string> storedPath(const VirtualPath& path) const;

    /// The decoded content of a file entry (std::bad_variant_access for a directory). Opens the
    /// archive afresh; throws what opening and HpiReader::readFile throw.
    Bytes readFile(const HpiEntry& file) const;
    /// Opens the archive for reading many files in a row.
    HpiReader openReader() const { return {path_, readKey_}; }

private:
    void readHeader(HpiReader& reader);
    const HpiEntry* findFile(const VirtualPath& path, std::string* storedPath) const;
    const HpiEntries* walk(std::span<const std::string_view> names, std::string* storedPath) const;

    std::filesystem::path path_;
    std::uint8_t readKey_ = 0;
    std::uint32_t directoryStart_ = 0;
    std::uint32_t directoryEnd_ = 0;
    bool isBank_ = false;
    HpiDirectory root_;
    std::optional<HpiEntryIndex> index_;
};

}  // namespace orb::io
