#include "authoring/safe_write.h"

#include <stdexcept>

#include "io/archive/hpi_writer.h"
#include "io/files/folder_lock.h"
#include "io/files/replace_file.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBackupSuffix = ".orbbackup";

using Step = io::ReplaceFailure::Step;

fs::path appended(fs::path path, const char* suffix) {
    path += suffix;
    return path;
}

std::string about(const char* what, const fs::path& path) {
    return what + io::textFromPath(path);
}

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
    io::removeIfPossible(ops, copy);
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

/// False when a backup is needed and must not be made.
bool ensureBackup(io::FileOps& ops, const fs::path& path, bool allowCreation) {
    const fs::path backup = backupPath(path);
    const io::FolderLock lock(backup);
    std::error_code error;
    if (fs::is_regular_file(ops.status(backup, error))) return true;
    if (!allowCreation) return false;
    makeBackup(ops, path, backup);
    return true;
}

void writeLooseFile(io::FileOps& ops, const fs::path& path, io::ByteView bytes) {
    std::error_code error;
    if (path.has_parent_path()) ops.createDirectories(path.parent_path(), error);
    if (error) throw std::runtime_error(about("create dir: ", error));
    io::replaceFile(ops, path, bytes);
}

io::Bytes rewriteArchive(const io::FileLocation& entry, io::ByteView bytes) {
    try {
        return io::rewriteHpi(io::HpiArchive(entry.path), entry.internalPath, bytes);
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string("archive rewrite failed: ") + error.what());
    }
}

/// `existing` is the status of the archive.
void writeArchiveEntry(io::FileOps& ops, const io::FileLocation& entry,
                       const std::optional<fs::file_status>& existing, io::ByteView bytes) {
    const io::Bytes archive = rewriteArchive(entry, bytes);
    std::error_code error;
    const fs::path target = ops.followLink(entry.path, error);
    std::optional<fs::perms> permissions;
    if (existing) permissions = existing->permissions();
    const auto failure = error ? io::ReplaceFailure{Step::openTemporary, error}
                               : io::replaceByTemporary(ops, target, permissions, archive);
    if (!failure) return;
    switch (failure->step) {
        case Step::openTemporary:
            throw std::runtime_error(about("open temp failed: ", io::temporaryPath(target)));
        case Step::writeTemporary:
            throw std::runtime_error(about("write temp failed: ", io::temporaryPath(target)));
        case Step::moveIntoPlace:
            throw std::runtime_error(about("rename failed: ", failure->error));
    }
}

}  // namespace

fs::path backupPath(const fs::path& file) {
    return appended(file, kBackupSuffix);
}

WriteResult writeSource(io::FileOps& ops, const io::FileLocation& target, io::ByteView bytes,
                        bool allowBackupCreation) {
    WriteResult result{WriteOutcome::ok, target.path, {}};
    try {
        std::error_code error;
        const auto existing = io::statusOfExisting(ops, target.path, error);
        if (error) throw std::runtime_error(about("backup failed: ", error));
        if (existing && !ensureBackup(ops, target.path, allowBackupCreation))
            result.outcome = WriteOutcome::needsBackupConsent;
        else if (target.kind == io::FileLocation::Kind::archive)
            writeArchiveEntry(ops, target, existing, bytes);
        else
            writeLooseFile(ops, target.path, bytes);
    } catch (const std::runtime_error& failure) {
        result.outcome = WriteOutcome::error;
        result.message = failure.what();
    }
    return result;
}

std::optional<std::string> restoreFromBackup(io::FileOps& ops, const fs::path& file) {
    const fs::path backup = backupPath(file);
    std::error_code error;
    if (!fs::is_regular_file(ops.status(backup, error)))
        throw RequestError(about("no backup at ", backup));
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
