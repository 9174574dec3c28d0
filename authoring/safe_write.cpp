#include "authoring/safe_write.h"

#include <algorithm>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

#include "authoring/backup.h"
#include "authoring/file_transaction.h"
#include "io/archive/hpi_writer.h"
#include "io/files/file_version.h"
#include "io/files/folder_lock.h"
#include "io/files/replace_file.h"
#include "io/files/write_plan.h"
#include "io/out_of_memory.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;
using Kind = io::FileLocation::Kind;

/// A file on disk and what is to be written into it: one content for a loose file, for an archive
/// those of some of its entries.
struct Target {
    fs::path path;
    Kind kind = Kind::loose;
    std::vector<const FileWrite*> writes;
    std::optional<fs::file_status> existing;
};

std::vector<Target> groupByFile(std::span<const FileWrite> writes) {
    std::vector<Target> targets;
    for (const FileWrite& write : writes) {
        auto target = std::ranges::find(targets, write.target.path, &Target::path);
        if (target == targets.end())
            target = targets.insert(target, {write.target.path, write.target.kind, {}, {}});
        target->writes.push_back(&write);
    }
    return targets;
}

/// Locked in one order by every process, so that no two wait for each other.
std::vector<std::unique_ptr<io::FolderLock>> lockFolders(std::span<const Target> targets,
                                                         const fs::path& root) {
    std::set<fs::path> files;
    for (const Target& target : targets) files.insert(target.path);
    std::vector<std::unique_ptr<io::FolderLock>> locks;
    locks.reserve(files.size() + 1);
    if (targets.size() > 1) locks.push_back(std::make_unique<io::FolderLock>(io::planPath(root)));
    for (const fs::path& file : files) locks.push_back(std::make_unique<io::FolderLock>(file));
    return locks;
}

io::Bytes rewriteArchive(const Target& target) {
    std::vector<io::HpiReplacement> entries;
    for (const FileWrite* write : target.writes)
        entries.push_back({write->target.internalPath, write->content});
    try {
        return io::rewriteHpi(io::HpiArchive(target.path), entries);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        throw std::runtime_error(std::string("archive rewrite failed: ") + error.what());
    }
}

/// Either all are written, or what is thrown tells why none is (then no backup is new either);
/// `result.resolvedPath` names the file in question.
void writeTargets(io::FileOps& ops, std::span<Target> targets, bool allowBackupCreation,
                  const fs::path& root, WriteResult& result) {
    const fs::path first = result.resolvedPath;
    for (Target& target : targets) {
        result.resolvedPath = target.path;
        std::error_code error;
        target.existing = io::statusOfExisting(ops, target.path, error);
        if (error) throw std::runtime_error("backup failed: " + error.message());
        if (!target.existing || allowBackupCreation || hasOwnBackup(ops, target.path)) continue;
        result.outcome = WriteOutcome::needsBackupConsent;
        return;
    }
    std::vector<FileReplacement> files;
    for (const Target& target : targets) {
        result.resolvedPath = target.path;
        files.push_back({target.path, target.kind, target.existing,
                         target.kind == Kind::archive ? rewriteArchive(target)
                                                      : target.writes.front()->content});
    }
    std::vector<NewBackup> backedUp;
    try {
        for (const FileReplacement& file : files) {
            result.resolvedPath = file.path;
            if (!file.existing) continue;
            if (auto made = ensureBackup(ops, file.path)) backedUp.push_back(std::move(*made));
            noteVersions(file.path, io::fileVersion(file.path).value_or(""),
                         io::fileVersion(file.content));
        }
        replaceFiles(ops, files, root, result.resolvedPath);
    } catch (...) {
        for (const NewBackup& made : backedUp) takeBackBackup(ops, made);
        throw;
    }
    result.resolvedPath = first;
}

}  // namespace

WriteResult writeSources(io::FileOps& ops, std::span<const FileWrite> writes,
                         bool allowBackupCreation, const fs::path& root,
                         std::span<const fs::path> otherRoots) {
    WriteResult result;
    if (writes.empty()) return result;
    result.resolvedPath = writes.front().target.path;
    std::vector<Target> targets = groupByFile(writes);
    try {
        // From reading an archive to replacing it, nobody else may write it.
        const auto locks = lockFolders(targets, root);
        if (targets.size() > 1) io::finishWrite(ops, root, otherRoots);
        writeTargets(ops, targets, allowBackupCreation, root, result);
    } catch (const std::runtime_error& failure) {
        result.outcome = WriteOutcome::error;
        result.message = failure.what();
    }
    return result;
}

}  // namespace orb::unitview
