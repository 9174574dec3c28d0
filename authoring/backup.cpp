#include "authoring/backup.h"

#include <stdexcept>
#include <string>

#include "io/files/file_note.h"
#include "io/files/file_version.h"
#include "io/files/folder_lock.h"
#include "io/files/replace_file.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBackupSuffix = ".orbbackup";

std::string about(const char* what, const std::error_code& error) {
    return what + error.message();
}

/// Gives a complete copy the backup's name, which must be free. A second name for a file is the one
/// step that both fails when the name is taken and is done at once on every platform (a rename
/// would replace, an exclusive copy can stop halfway). Where the file system has no hard links the
/// name is looked up first.
void publishBackup(io::FileOps& ops, const fs::path& copy, const fs::path& backup,
                   std::error_code& error) {
    ops.hardLink(copy, backup, error);
    if (!error || error == std::errc::file_exists) return io::removeIfPossible(ops, copy);
    std::error_code status;
    if (ops.status(backup, status).type() != fs::file_type::not_found)
        return io::removeIfPossible(ops, copy);
    ops.rename(copy, backup, error);
    if (error) io::removeIfPossible(ops, copy);
}

void makeBackup(io::FileOps& ops, const fs::path& path, const fs::path& backup) {
    const fs::path copy = io::temporaryPath(backup);
    std::error_code error;
    ops.copy(path, copy, error);
    if (error)
        io::removeIfPossible(ops, copy);
    else
        publishBackup(ops, copy, backup, error);
    if (error) throw std::runtime_error(about("backup failed: ", error));
    // The backup's name must reach the disk before the file changes.
    io::syncFolderOf(ops, backup);
}

/// A free name for a backup that is not that of the file as it is now.
fs::path sparePath(io::FileOps& ops, const fs::path& file, std::error_code& error) {
    for (int number = 1;; ++number) {
        fs::path numbered = file;
        numbered += "." + std::to_string(number);
        const fs::path path = backupPath(numbered);
        const bool isTaken = io::statusOfExisting(ops, path, error).has_value();
        if (error || !isTaken) return path;
    }
}

/// Returns where it lies then.
fs::path stepAside(io::FileOps& ops, const fs::path& file) {
    std::error_code error;
    fs::path spare = sparePath(ops, file, error);
    if (!error) ops.rename(backupPath(file), spare, error);
    if (error) throw std::runtime_error(about("backup failed: ", error));
    return spare;
}

/// A second name, or else a copy.
fs::path keepCopy(io::FileOps& ops, const fs::path& file, std::error_code& error) {
    const fs::path target = ops.followLink(file, error);
    if (error) return {};
    fs::path spare = sparePath(ops, file, error);
    if (!error) ops.hardLink(target, spare, error);
    if (!error) return spare;
    error.clear();
    ops.copy(target, spare, error);
    return spare;
}

}  // namespace

fs::path backupPath(const fs::path& file) {
    fs::path path = file;
    path += kBackupSuffix;
    return path;
}

bool hasBackup(io::FileOps& ops, const fs::path& file) {
    std::error_code ignored;
    return fs::is_regular_file(ops.status(backupPath(file), ignored));
}

bool isBackupOlder(io::FileOps& ops, const fs::path& file) {
    if (!hasBackup(ops, file)) return false;
    const std::string note = io::fileNote(backupPath(file));
    const auto version = io::fileVersion(file);
    return !note.empty() && version && note.find(*version) == std::string::npos;
}

void noteVersions(const fs::path& file, const std::string& now, const std::string& next) {
    io::setFileNote(backupPath(file), now + " " + next);
}

std::optional<NewBackup> ensureBackup(io::FileOps& ops, const fs::path& file) {
    const io::FolderLock lock(file);
    // What a process left that died while it made this backup.
    io::removeIfPossible(ops, io::temporaryPath(backupPath(file)));
    NewBackup made{file, {}};
    if (hasBackup(ops, file)) {
        if (!isBackupOlder(ops, file)) return std::nullopt;
        made.older = stepAside(ops, file);
    }
    try {
        makeBackup(ops, file, backupPath(file));
    } catch (...) {
        std::error_code ignored;
        if (!made.older.empty()) ops.rename(made.older, backupPath(file), ignored);
        throw;
    }
    return made;
}

void takeBackBackup(io::FileOps& ops, const NewBackup& made) {
    const fs::path backup = backupPath(made.file);
    std::error_code error;
    const io::Bytes content = ops.read(made.file, error);
    if (error) return;
    const io::Bytes kept = ops.read(backup, error);
    if (error || kept != content) return;
    if (made.older.empty()) return io::removeIfPossible(ops, backup);
    ops.rename(made.older, backup, error);
}

std::optional<std::string> restoreFromBackup(io::FileOps& ops, const fs::path& file) {
    const io::FolderLock lock(file);
    const fs::path backup = backupPath(file);
    if (!hasBackup(ops, file)) throw RequestError("no backup at " + io::textFromPath(backup));
    std::error_code error;
    std::optional<std::string> warning;
    if (isBackupOlder(ops, file)) {
        const fs::path kept = keepCopy(ops, file, error);
        if (error) throw RequestError(about("restore failed: ", error));
        warning = "another program had replaced it: kept as " + io::textFromPath(kept);
    }
    const fs::path target = ops.followLink(file, error);
    if (!error) {
        ops.rename(backup, target, error);
        if (!error) {
            io::syncFolderOf(ops, target);
            return warning;
        }
        // Refused, or the file lies on another disk.
        const io::Bytes bytes = ops.read(backup, error);
        if (!error) io::overwriteInPlace(ops, target, bytes, error);
    }
    if (error) throw RequestError(about("restore failed: ", error));
    ops.remove(backup, error);
    if (error) return about("restored but couldn't remove backup: ", error);
    return warning;
}

}  // namespace orb::unitview
