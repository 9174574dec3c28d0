#pragma once

#include <filesystem>
#include <optional>
#include <span>

#include "io/byte_cursor.h"
#include "io/files/file_ops.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::unitview {

/// Whole new content for a file on disk: a loose one, or an archive.
struct FileReplacement {
    std::filesystem::path path;
    io::FileLocation::Kind kind = io::FileLocation::Kind::loose;
    /// The status of what is there, if anything.
    std::optional<std::filesystem::file_status> existing;
    io::Bytes content;
};

/// Writes all of the files or, when one cannot be written, none: those before it are put back or
/// removed, and so are folders made for them. All are written beside their places before the first
/// is moved into its own. Their folders, and `root`, which holds them, should be locked. Where the
/// process dies, io::finishWrite of the root moves the rest into place, unless there is room for no
/// new file beside one of them. Throws std::runtime_error with one of the texts of WriteResult, and
/// sets `failed` to the file that it tells of.
void replaceFiles(io::FileOps& ops, std::span<const FileReplacement> files,
                  const std::filesystem::path& root, std::filesystem::path& failed);

}  // namespace orb::unitview
