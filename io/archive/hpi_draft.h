#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "io/archive/hpi_chunk.h"
#include "io/byte_cursor.h"
#include "io/virtual_path.h"

namespace orb::io {

/// What an archive is to hold, before its bytes are laid out.
struct HpiDraft {
    struct File {
        /// Decoded length in bytes.
        std::uint32_t size = 0;
        std::uint8_t compressionFlag = 1;
        /// Index of its data among the blobs; files may share one.
        std::size_t blob = 0;
    };

    struct Directory;
    struct Child {
        std::string name;
        File file;
        /// Null for a file.
        std::unique_ptr<Directory> directory = nullptr;
    };

    struct Directory {
        std::vector<Child> children;
        /// The first sub-directory of each lower-cased name.
        std::unordered_map<std::string, Directory*> directoriesByFoldedName;

        /// A new sub-directory behind the present children, whatever their names.
        Directory& append(std::string_view name);
        /// The first sub-directory of that name in any case, appended when there is none.
        Directory& subdirectory(std::string_view name);
    };

    Directory root;
    /// Each appends the data of a file as they are to stand in the archive.
    std::vector<std::function<void(ByteWriter&)>> blobs;

    /// Appends a file to the directory that its path names. Throws std::runtime_error "HPI path not
    /// writable: <path>" for a path that no reader would find.
    void addFile(const VirtualPath& path, const File& file);
};

/// Appends a file's content in chunks, their size table in front.
void appendHpiChunks(ByteWriter& out, ByteView content, HpiMethod method = HpiMethod::zlib);

/// Throws std::runtime_error "HPI archive too large" for what 32 bits do not hold.
std::uint32_t checkedHpiSize(std::uint64_t size);

/// The whole archive, not scrambled by position; `version` is that of the header. Memory is
/// reserved for `expectedSize` bytes. Throws "HPI archive too large" and what the blobs throw.
Bytes layOutHpi(const HpiDraft& draft, std::uint32_t version, std::uint64_t expectedSize);

}  // namespace orb::io
