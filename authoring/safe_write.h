#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "io/byte_cursor.h"
#include "io/files/file_ops.h"
#include "io/vfs/virtual_file_system.h"

/// Writing the files that units come from. Whatever fails or dies on the way, the file is
/// afterwards the old or the new one as a whole, and a backup that was made is complete and stays.
namespace orb::unitview {

enum class WriteOutcome { ok = 0, needsBackupConsent = 1, error = 2 };

struct WriteResult {
    WriteOutcome outcome = WriteOutcome::ok;
    /// The loose file or the archive that was, or would be, written.
    std::filesystem::path resolvedPath;
    /// The reason of an error: "backup failed: ", "create dir: " or "rename failed: " and the
    /// system's text; "open for write: ", "write failed: ", "open temp failed: " or "write temp
    /// failed: " and the path; "archive rewrite failed: " and the archive writer's text.
    std::string message;
};

/// Where the backup of a file lies: beside it, ".orbbackup" appended to its name.
std::filesystem::path backupPath(const std::filesystem::path& file);

/// Writes a loose file, or replaces or adds an entry of an archive by rewriting that as a whole.
///
/// The first write of a file that exists makes its backup, of an entry that of the whole archive;
/// without `allowBackupCreation` nothing is written then. A backup is never replaced. A symbolic
/// link stays one: the file that it leads to is written, the backup lies beside the link.
WriteResult writeSource(io::FileOps& ops, const io::FileLocation& target, io::ByteView bytes,
                        bool allowBackupCreation);

/// Puts the backup of a file in its place, which uses it up. Returns the warning "restored but
/// couldn't remove backup: …" when it is still there. Throws RequestError "no backup at …" or
/// "restore failed: …"; then the file is what it was.
std::optional<std::string> restoreFromBackup(io::FileOps& ops, const std::filesystem::path& file);

}  // namespace orb::unitview
