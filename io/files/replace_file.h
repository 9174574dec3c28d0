#pragma once

#include <filesystem>
#include <optional>
#include <system_error>

#include "io/byte_cursor.h"
#include "io/files/file_ops.h"

/// Giving files new contents so that, whatever fails or dies on the way, a file is afterwards the
/// old or the new one as a whole.
namespace orb::io {

/// Whether the bytes must be on the disk before a file takes its place.
enum class Durability {
    flushed,
    /// For files that can be made again, and many at a time.
    unflushed
};

/// Writes a file by way of a temporary sibling; its folder must be there. A file that exists must
/// be open to writing; a symbolic link stays one, and the file that it leads to is written. What
/// is no regular file is refused. Where the folder takes no new file, or refuses the renaming, the
/// file is written in place and its old bytes are put back when that fails. Throws
/// std::runtime_error "open for write: " or "write failed: " and the path.
void replaceFile(FileOps& ops, const std::filesystem::path& path, ByteView bytes,
                 Durability durability = Durability::flushed);

/// The step at which a replacement failed, and why.
struct ReplaceFailure {
    enum class Step { openTemporary, writeTemporary, moveIntoPlace };
    Step step;
    std::error_code error;
};

/// The temporary sibling by which a file gets new contents.
std::filesystem::path temporaryPath(const std::filesystem::path& target);

/// Writes the temporary of a target that is no link and need not exist yet, with the permissions of
/// what is there. After a failure there is none.
std::optional<ReplaceFailure> writeTemporary(
    FileOps& ops, const std::filesystem::path& target,
    const std::optional<std::filesystem::perms>& permissions, ByteView bytes,
    Durability durability = Durability::flushed);

/// Gives the temporary, which holds `bytes`, the target's name. Where that is refused the target is
/// written in place, and its old bytes are put back when that fails.
std::optional<ReplaceFailure> moveIntoPlace(FileOps& ops, const std::filesystem::path& target,
                                            ByteView bytes);

/// Both steps for one file, its folder locked.
std::optional<ReplaceFailure> replaceByTemporary(
    FileOps& ops, const std::filesystem::path& target,
    const std::optional<std::filesystem::perms>& permissions, ByteView bytes,
    Durability durability = Durability::flushed);

/// What a file holds after an attempt to overwrite it in place.
enum class Overwritten {
    done,
    /// It failed and the file is as it was.
    unchanged,
    /// It failed on the way and the old bytes could not be put back either.
    damaged
};

/// Overwrites a file whose place nothing can take; unless that is done, `error` says why not.
Overwritten overwriteInPlace(FileOps& ops, const std::filesystem::path& path, ByteView bytes,
                             std::error_code& error);

/// Opens a file as for writing, and leaves it as it is; `error` is set when that fails or the file
/// is no regular one.
void requireWritable(FileOps& ops, const std::filesystem::path& file,
                     const std::filesystem::file_status& status, std::error_code& error);

/// The status of the file there is, or none. `error` is set when that cannot be told.
std::optional<std::filesystem::file_status> statusOfExisting(FileOps& ops,
                                                             const std::filesystem::path& path,
                                                             std::error_code& error);

/// For what must not turn a write that is done into a failure.
void removeIfPossible(FileOps& ops, const std::filesystem::path& path);

/// Hands the names beside a path to the disk, where the platform can.
void syncFolderOf(FileOps& ops, const std::filesystem::path& path);

}  // namespace orb::io
