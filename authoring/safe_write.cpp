#include "authoring/safe_write.h"

#include <stdexcept>

#include "io/archive/hpi_writer.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBackupSuffix = ".orbbackup";
constexpr const char* kTemporarySuffix = ".orb-write-tmp";

/// A step that failed; the text is the write's whole message.
class WriteFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

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

/// The system has several ways to say that there is no such file.
bool isAbsent(const fs::file_status& status, const std::error_code& error) {
    return status.type() == fs::file_type::not_found || error == std::errc::invalid_argument ||
           error == std::errc::filename_too_long;
}

/// For what must not turn a write that is done into a failure.
void removeIfPossible(FileOps& ops, const fs::path& path) {
    std::error_code ignored;
    ops.remove(path, ignored);
}

void syncFolderOf(FileOps& ops, const fs::path& path) {
    std::error_code ignored;
    ops.syncDirectory(path.has_parent_path() ? path.parent_path() : fs::path("."), ignored);
}

/// Writes, flushes and closes; `error` is that of the first step that failed.
void writeAndClose(FileOps& ops, std::FILE* file, io::ByteView bytes, std::error_code& error) {
    ops.write(file, bytes, error);
    if (!error) ops.flush(file, error);
    std::error_code closing;
    ops.close(file, closing);
    if (!error) error = closing;
}

/// Overwrites a file whose place nothing can take. When that fails the old content is put back;
/// false when even this is not possible.
bool overwrite(FileOps& ops, const fs::path& path, io::ByteView bytes, std::error_code& error) {
    std::error_code status;
    const bool existed = !isAbsent(ops.status(path, status), status);
    const io::Bytes old = existed ? ops.read(path, error) : io::Bytes();
    if (existed && error) return true;
    std::FILE* file = ops.open(path, OpenMode::truncate, error);
    if (!file) return true;  // untouched
    writeAndClose(ops, file, bytes, error);
    if (!error) return true;
    std::error_code lost;
    if (!existed)
        ops.remove(path, lost);
    else if ((file = ops.open(path, OpenMode::truncate, lost)) != nullptr)
        writeAndClose(ops, file, old, lost);
    return !lost;
}

/// Creates the temporary, with nothing in it that an earlier process may have left.
std::FILE* createTemporary(FileOps& ops, const fs::path& temporary, std::error_code& error) {
    removeIfPossible(ops, temporary);
    return ops.open(temporary, OpenMode::createNew, error);
}

/// Moves a complete temporary over the target, or writes the same bytes into the target where the
/// move is refused, as it may be while another process holds the file open. The temporary is gone
/// afterwards unless it is all that is left.
void replaceTarget(FileOps& ops, const fs::path& temporary, const fs::path& target,
                   io::ByteView bytes, std::error_code& error) {
    ops.rename(temporary, target, error);
    if (error) {
        error.clear();
        if (overwrite(ops, target, bytes, error)) removeIfPossible(ops, temporary);
    }
    syncFolderOf(ops, target);
}

/// Gives a complete copy the backup's name, which must be free. A second name for a file is the one
/// step that both fails when the name is taken and is done at once on every platform (a rename
/// would replace, an exclusive copy can stop halfway). Where the file system has no hard links the
/// name is looked up first.
void publishBackup(FileOps& ops, const fs::path& copy, const fs::path& backup,
                   std::error_code& error) {
    ops.hardLink(copy, backup, error);
    if (!error || error == std::errc::file_exists) return removeIfPossible(ops, copy);
    std::error_code status;
    if (ops.status(backup, status).type() != fs::file_type::not_found)
        return removeIfPossible(ops, copy);
    ops.rename(copy, backup, error);
    if (error) removeIfPossible(ops, copy);
}

void makeBackup(FileOps& ops, const fs::path& path, const fs::path& backup) {
    const fs::path copy = appended(backup, kTemporarySuffix);
    removeIfPossible(ops, copy);
    std::error_code error;
    ops.copy(path, copy, error);
    if (error)
        removeIfPossible(ops, copy);
    else
        publishBackup(ops, copy, backup, error);
    if (error) throw WriteFailure(about("backup failed: ", error));
    // The backup's name must reach the disk before the file changes.
    syncFolderOf(ops, backup);
}

/// False when a backup is needed and must not be made.
bool ensureBackup(FileOps& ops, const fs::path& path, bool allowCreation) {
    const fs::path backup = backupPath(path);
    std::error_code error;
    if (fs::is_regular_file(ops.status(backup, error))) return true;
    if (!allowCreation) return false;
    makeBackup(ops, path, backup);
    return true;
}

/// Looks whether the file may be written, without touching it.
void requireWritable(FileOps& ops, const fs::path& path) {
    std::error_code error;
    std::FILE* const file = ops.open(path, OpenMode::existing, error);
    if (!file) throw WriteFailure(about("open for write: ", path));
    ops.close(file, error);
}

/// `existing` is the status of the file there is.
void writeLooseFile(FileOps& ops, const fs::path& path,
                    const std::optional<fs::file_status>& existing, io::ByteView bytes) {
    std::error_code error;
    if (path.has_parent_path()) ops.createDirectories(path.parent_path(), error);
    if (error) throw WriteFailure(about("create dir: ", error));
    const fs::path target = ops.followLink(path, error);
    if (error) throw WriteFailure(about("open for write: ", path));
    if (existing) requireWritable(ops, target);

    const fs::path temporary = appended(target, kTemporarySuffix);
    std::FILE* const file = createTemporary(ops, temporary, error);
    if (file) {
        writeAndClose(ops, file, bytes, error);
        std::error_code ignored;
        if (!error && existing) ops.setPermissions(temporary, existing->permissions(), ignored);
        if (error)
            removeIfPossible(ops, temporary);
        else
            replaceTarget(ops, temporary, target, bytes, error);
    } else if (existing) {  // the folder takes no new files
        error.clear();
        overwrite(ops, target, bytes, error);
    } else {
        throw WriteFailure(about("open for write: ", path));
    }
    if (error) throw WriteFailure(about("write failed: ", path));
}

io::Bytes rewriteArchive(const io::FileLocation& entry, io::ByteView bytes) {
    try {
        return io::rewriteHpi(io::HpiArchive(entry.path), entry.internalPath, bytes);
    } catch (const std::exception& error) {
        throw WriteFailure(std::string("archive rewrite failed: ") + error.what());
    }
}

void writeArchiveEntry(FileOps& ops, const io::FileLocation& entry,
                       const std::optional<fs::file_status>& existing, io::ByteView bytes) {
    const io::Bytes archive = rewriteArchive(entry, bytes);
    std::error_code error;
    const fs::path target = ops.followLink(entry.path, error);
    const fs::path temporary = appended(target, kTemporarySuffix);
    std::FILE* const file = error ? nullptr : createTemporary(ops, temporary, error);
    if (!file) throw WriteFailure(about("open temp failed: ", temporary));
    writeAndClose(ops, file, archive, error);
    if (error) {
        removeIfPossible(ops, temporary);
        throw WriteFailure(about("write temp failed: ", temporary));
    }
    std::error_code ignored;
    if (existing) ops.setPermissions(temporary, existing->permissions(), ignored);
    replaceTarget(ops, temporary, target, archive, error);
    if (error) throw WriteFailure(about("rename failed: ", error));
}

/// The status of the file to write, or none when it does not exist.
std::optional<fs::file_status> statusOf(FileOps& ops, const fs::path& path) {
    std::error_code error;
    const fs::file_status status = ops.status(path, error);
    if (isAbsent(status, error)) return std::nullopt;
    if (error) throw WriteFailure(about("backup failed: ", error));
    return status;
}

}  // namespace

fs::path backupPath(const fs::path& file) {
    return appended(file, kBackupSuffix);
}

WriteResult writeSource(FileOps& ops, const io::FileLocation& target, io::ByteView bytes,
                        bool allowBackupCreation) {
    WriteResult result{WriteOutcome::ok, target.path, {}};
    try {
        const auto existing = statusOf(ops, target.path);
        if (existing && !ensureBackup(ops, target.path, allowBackupCreation))
            result.outcome = WriteOutcome::needsBackupConsent;
        else if (target.kind == io::FileLocation::Kind::archive)
            writeArchiveEntry(ops, target, existing, bytes);
        else
            writeLooseFile(ops, target.path, existing, bytes);
    } catch (const WriteFailure& failure) {
        result.outcome = WriteOutcome::error;
        result.message = failure.what();
    }
    return result;
}

std::optional<std::string> restoreFromBackup(FileOps& ops, const fs::path& file) {
    const fs::path backup = backupPath(file);
    std::error_code error;
    if (!fs::is_regular_file(ops.status(backup, error)))
        throw RequestError(about("no backup at ", backup));
    const fs::path target = ops.followLink(file, error);
    if (!error) {
        ops.rename(backup, target, error);
        if (!error) {
            syncFolderOf(ops, target);
            return std::nullopt;
        }
        // Refused, or the file lies on another disk.
        const io::Bytes bytes = ops.read(backup, error);
        if (!error) overwrite(ops, target, bytes, error);
    }
    if (error) throw RequestError(about("restore failed: ", error));
    ops.remove(backup, error);
    if (error) return about("restored but couldn't remove backup: ", error);
    return std::nullopt;
}

}  // namespace orb::unitview
