#include "authoring/backup.h"

#include <stdexcept>

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

bool ensureBackup(io::FileOps& ops, const fs::path& file) {
    const io::FolderLock lock(file);
    // What a process left that died while it made this backup.
    io::removeIfPossible(ops, io::temporaryPath(backupPath(file)));
    if (hasBackup(ops, file)) return false;
    makeBackup(ops, file, backupPath(file));
    return true;
}

void takeBackBackup(io::FileOps& ops, const fs::path& file) {
    std::error_code error;
    const io::Bytes content = ops.read(file, error);
    if (error) return;
    const io::Bytes kept = ops.read(backupPath(file), error);
    if (!error && kept == content) io::removeIfPossible(ops, backupPath(file));
}

std::optional<std::string> restoreFromBackup(io::FileOps& ops, const fs::path& file) {
    const io::FolderLock lock(file);
    const fs::path backup = backupPath(file);
    if (!hasBackup(ops, file)) throw RequestError("no backup at " + io::textFromPath(backup));
    std::error_code error;
    const fs::path target = ops.followLink(file, error);
    if (!error) {
        ops.rename(backup, target, error);
        if (!error) {
            io::syncFolderOf(ops, target);
            return std::nullopt;
        }
        // Refused, or the file lies on another disk.
        const io::Bytes bytes = ops.read(backup, error);
        if (!error) io::overwriteInPlace(ops, target, bytes, error);
    }
    if (error) throw RequestError(about("restore failed: ", error));
    ops.remove(backup, error);
    if (error) return about("restored but couldn't remove backup: ", error);
    return std::nullopt;
}

}  // namespace orb::unitview
