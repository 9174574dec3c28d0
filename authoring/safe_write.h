#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "io/byte_cursor.h"
#include "io/files/file_ops.h"
#include "io/vfs/virtual_file_system.h"

/// Writing the files that units come from. Whatever fails on the way, afterwards all files of a
/// write are the old or all are the new ones; whatever dies, each file is the old or the new one as
/// a whole.
namespace orb::unitview {

enum class WriteOutcome { ok = 0, needsBackupConsent = 1, error = 2 };

struct WriteResult {
    WriteOutcome outcome = WriteOutcome::ok;
    /// The loose file or the archive that was, or would be, written; of several the first, or the
    /// one that wants a backup or failed.
    std::filesystem::path resolvedPath;
    /// The reason of an error: "backup failed: ", "create dir: " or "rename failed: " and the
    /// system's text; "open for write: ", "write failed: ", "open temp failed: " or "write temp
    /// failed: " and the path; "archive rewrite failed: " and the archive writer's text.
    std::string message;
};

/// New content for a loose file, or for an entry of an archive, which need not be there yet.
struct FileWrite {
    io::FileLocation target;
    io::Bytes content;
};

/// Writes loose files, and replaces or adds entries of archives by rewriting each archive once as a
/// whole. No two writes may have the same target.
///
/// The first write of a file that exists makes its backup, of an entry that of the whole archive;
/// without `allowBackupCreation` nothing is written then. A backup is never replaced; that of an
/// older file gets another name. A symbolic
/// link stays one: the file that it leads to is written, the backup lies beside the link. Where the
/// process dies on the way, io::finishWrite of `root` ends the write of several files; it holds
/// them, as a mod does, or one of the other roots does.
WriteResult writeSources(io::FileOps& ops, std::span<const FileWrite> writes,
                         bool allowBackupCreation, const std::filesystem::path& root,
                         std::span<const std::filesystem::path> otherRoots = {});

}  // namespace orb::unitview
