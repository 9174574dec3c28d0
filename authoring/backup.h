#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "io/files/file_ops.h"

/// Backups of the files that units come from: each the file as it was before its first edit. One
/// that was made is complete and stays until it is restored.
namespace orb::unitview {

/// Where the backup of a file lies: beside it, ".orbbackup" appended to its name.
std::filesystem::path backupPath(const std::filesystem::path& file);

bool hasBackup(io::FileOps& ops, const std::filesystem::path& file);

/// Makes the backup of a file that has none yet; false when it has. Throws std::runtime_error
/// "backup failed: " and the system's text.
bool ensureBackup(io::FileOps& ops, const std::filesystem::path& file);

/// Takes back a backup made for a write that failed, so that the next write asks for consent again;
/// not where the file is no longer what the backup holds.
void takeBackBackup(io::FileOps& ops, const std::filesystem::path& file);

/// Puts the backup of a file in its place, which uses it up. Returns the warning "restored but
/// couldn't remove backup: …" when it is still there. Throws RequestError "no backup at …" or
/// "restore failed: …"; then the file is what it was.
std::optional<std::string> restoreFromBackup(io::FileOps& ops, const std::filesystem::path& file);

}  // namespace orb::unitview
