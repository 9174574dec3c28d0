#include "io/files/replace_file.h"

#include <stdexcept>

#include "io/files/folder_lock.h"
#include "io/path_text.h"

namespace orb::io {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTemporarySuffix = ".orb-write-tmp";

/// Writes, flushes and closes; `error` is that of the first step that failed.
void writeAndClose(FileOps& ops, std::FILE* file, ByteView bytes, Durability durability,
                   std::error_code& error) {
    ops.write(file, bytes, error);
    if (!error && durability == Durability::flushed) ops.flush(file, error);
    std::error_code closing;
    ops.close(file, closing);
    if (!error) error = closing;
}

/// The system has several ways to say that there is no such file.
bool isAbsent(const fs::file_status& status, const std::error_code& error) {
    return status.type() == fs::file_type::not_found || error == std::errc::invalid_argument ||
           error == std::errc::filename_too_long;
}

}  // namespace

fs::path temporaryPath(const fs::path& target) {
    fs::path path = target;
    path += kTemporarySuffix;
    return path;
}

std::optional<fs::file_status> statusOfExisting(FileOps& ops, const fs::path& path,
                                                std::error_code& error) {
    const fs::file_status status = ops.status(path, error);
    if (!isAbsent(status, error)) return status;
    error.clear();
    return std::nullopt;
}

void removeIfPossible(FileOps& ops, const fs::path& path) {
    std::error_code ignored;
    ops.remove(path, ignored);
}

void syncFolderOf(FileOps& ops, const fs::path& path) {
    std::error_code ignored;
    ops.syncDirectory(path.has_parent_path() ? path.parent_path() : fs::path("."), ignored);
}

Overwritten overwriteInPlace(FileOps& ops, const fs::path& path, ByteView bytes,
                             std::error_code& error) {
    std::error_code status;
    const bool existed = statusOfExisting(ops, path, status).has_value();
    const Bytes old = existed ? ops.read(path, error) : Bytes();
    if (existed && error) return Overwritten::unchanged;
    std::FILE* file = ops.open(path, OpenMode::truncate, error);
    if (!file) return Overwritten::unchanged;
    writeAndClose(ops, file, bytes, Durability::flushed, error);
    if (!error) return Overwritten::done;
    std::error_code lost;
    if (!existed)
        ops.remove(path, lost);
    else if ((file = ops.open(path, OpenMode::truncate, lost)) != nullptr)
        writeAndClose(ops, file, old, Durability::flushed, lost);
    return lost ? Overwritten::damaged : Overwritten::unchanged;
}

std::optional<ReplaceFailure> writeTemporary(FileOps& ops, const fs::path& target,
                                             const std::optional<fs::perms>& permissions,
                                             ByteView bytes, Durability durability) {
    const fs::path temporary = temporaryPath(target);
    std::error_code error;
    std::FILE* file = ops.open(temporary, OpenMode::createNew, error);
    if (error == std::errc::file_exists) {
        // Nothing that an earlier process may have left shall be in it.
        removeIfPossible(ops, temporary);
        error.clear();
        file = ops.open(temporary, OpenMode::createNew, error);
    }
    if (!file) return ReplaceFailure{ReplaceFailure::Step::openTemporary, error};
    writeAndClose(ops, file, bytes, durability, error);
    if (error) {
        removeIfPossible(ops, temporary);
        return ReplaceFailure{ReplaceFailure::Step::writeTemporary, error};
    }
    std::error_code ignored;
    if (permissions) ops.setPermissions(temporary, *permissions, ignored);
    return std::nullopt;
}

std::optional<ReplaceFailure> moveIntoPlace(FileOps& ops, const fs::path& target, ByteView bytes) {
    const fs::path temporary = temporaryPath(target);
    std::error_code error;
    ops.rename(temporary, target, error);
    if (!error) return std::nullopt;
    // Another process may hold the file open. The temporary stays when it is all that is left.
    error.clear();
    if (overwriteInPlace(ops, target, bytes, error) != Overwritten::damaged)
        removeIfPossible(ops, temporary);
    if (!error) return std::nullopt;
    return ReplaceFailure{ReplaceFailure::Step::moveIntoPlace, error};
}

std::optional<ReplaceFailure> replaceByTemporary(FileOps& ops, const fs::path& target,
                                                 const std::optional<fs::perms>& permissions,
                                                 ByteView bytes, Durability durability) {
    std::optional<FolderLock> lock;
    if (durability == Durability::flushed) lock.emplace(target);
    auto failure = writeTemporary(ops, target, permissions, bytes, durability);
    if (failure) return failure;
    failure = moveIntoPlace(ops, target, bytes);
    if (durability == Durability::flushed) syncFolderOf(ops, target);
    return failure;
}

void requireWritable(FileOps& ops, const fs::path& file, const fs::file_status& status,
                     std::error_code& error) {
    // Opening a pipe or a device could hang or do harm.
    if (!fs::is_regular_file(status)) {
        error = std::make_error_code(std::errc::invalid_argument);
        return;
    }
    std::error_code ignored;
    if (std::FILE* const opened = ops.open(file, OpenMode::existing, error))
        ops.close(opened, ignored);
}

void replaceFile(FileOps& ops, const fs::path& path, ByteView bytes, Durability durability) {
    const auto fail = [&](const char* what) {
        throw std::runtime_error(what + textFromPath(path));
    };
    std::error_code error;
    const auto existing = statusOfExisting(ops, path, error);
    const fs::path target = error ? path : ops.followLink(path, error);
    if (error) fail("open for write: ");
    std::optional<fs::perms> permissions;
    if (existing) {
        requireWritable(ops, target, *existing, error);
        if (error) fail("open for write: ");
        permissions = existing->permissions();
    }
    const auto failure = replaceByTemporary(ops, target, permissions, bytes, durability);
    if (!failure) return;
    if (failure->step != ReplaceFailure::Step::openTemporary) fail("write failed: ");
    if (!existing) fail("open for write: ");
    error.clear();
    overwriteInPlace(ops, target, bytes, error);  // the folder takes no new files
    if (error) fail("write failed: ");
}

}  // namespace orb::io
