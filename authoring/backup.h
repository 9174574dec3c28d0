#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "io/files/file_ops.h"

/// Backups of the files that units come from: each the file as it was before its first edit. One
/// that was made is complete and stays until it is restored. Where another program has put another
/// file in its file's place since, as an update of a mod does, that one has not been edited yet.
namespace orb::unitview {

/// Where the backup of a file lies: beside it, ".orbbackup" appended to its name.
std::filesystem::path backupPath(const std::filesystem::path& file);

bool hasBackup(io::FileOps& ops, const std::filesystem::path& file);

/// The file has a backup, but is not what was written last over what that holds. False where that
/// is not known: for backups from elsewhere, and where file systems keep no notes.
bool isBackupOlder(io::FileOps& ops, const std::filesystem::path& file);

/// The file has a backup of its own.
inline bool hasOwnBackup(io::FileOps& ops, const std::filesystem::path& file) {
    return hasBackup(ops, file) && !isBackupOlder(ops, file);
}

/// A backup that was made for a write.
struct NewBackup {
    std::filesystem::path file;
    /// Where the one of an older file lies now, if there was one: "NAME.1.orbbackup".
    std::filesystem::path older;
};

/// Makes the backup of a file that has none of its own yet; none when it has. Throws
/// std::runtime_error "backup failed: " and the system's text.
std::optional<NewBackup> ensureBackup(io::FileOps& ops, const std::filesystem::path& file);

/// Takes back a backup made for a write that failed, so that the next write asks for consent again;
/// not where the file is no longer what the backup holds.
void takeBackBackup(io::FileOps& ops, const NewBackup& made);

/// Notes beside the backup what the file holds now and what is about to be written, as
/// io::fileVersion tells it.
void noteVersions(const std::filesystem::path& file, const std::string& now,
                  const std::string& next);

/// Puts the backup of a file in its place, which uses it up. What another program put there is kept
/// as a backup of its own. Returns the warning "restored but couldn't remove backup: …" when it is
/// still there, or "another program had replaced it: kept as …". Throws RequestError "no backup at
/// …" or "restore failed: …"; then the file is what it was.
std::optional<std::string> restoreFromBackup(io::FileOps& ops, const std::filesystem::path& file);

}  // namespace orb::unitview
