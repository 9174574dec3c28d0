#include "authoring/file_transaction.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "io/files/file_version.h"
#include "io/files/replace_file.h"
#include "io/files/write_plan.h"
#include "io/path_text.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;
using Step = io::ReplaceFailure::Step;

[[noreturn]] void fail(const char* what, const fs::path& path) {
    throw std::runtime_error(what + io::textFromPath(path));
}

[[noreturn]] void fail(const char* what, const std::error_code& error) {
    throw std::runtime_error(what + error.message());
}

/// A file between its old and its new content.
struct StagedFile {
    const FileReplacement* replacement;
    /// Behind a link.
    fs::path target;
    /// Where the old content is kept under a second name, or else its bytes.
    fs::path oldName;
    io::Bytes oldBytes;
    bool hasTemporary = false;
    bool isReplaced = false;
};

class Transaction {
public:
    Transaction(io::FileOps& ops, fs::path& current) : ops_(ops), current_(current) {}

    void stage(const FileReplacement& file) {
        current_ = file.path;
        if (file.kind == io::FileLocation::Kind::archive)
            stageArchive(file);
        else
            stageLooseFile(file);
    }

    /// Only the last file's old content is of no use to anyone once the new is in place.
    void keepOldContents() {
        for (std::size_t i = 0; i + 1 < files_.size(); ++i)
            if (files_[i].replacement->existing) keepOldContent(files_[i]);
    }

    /// From here on whoever comes next can finish the write. A file that is written in place has
    /// nothing to be moved.
    void plan(const fs::path& root) {
        if (files_.size() < 2 || !std::ranges::all_of(files_, &StagedFile::hasTemporary)) return;
        std::vector<io::PlannedFile> planned;
        planned.reserve(files_.size());
        for (const StagedFile& file : files_) {
            std::optional<std::string> oldVersion;
            if (file.replacement->existing) oldVersion = io::fileVersion(file.target);
            if (oldVersion == "") return;
            planned.push_back(
                {file.replacement->path, oldVersion, io::fileVersion(file.replacement->content)});
        }
        plan_ = io::planPath(root);
        io::writePlan(ops_, plan_, planned);
    }

    void moveIntoPlace() {
        for (StagedFile& file : files_) {
            current_ = file.replacement->path;
            std::error_code error;
            if (file.hasTemporary) {
                const auto failure =
                    io::moveIntoPlace(ops_, file.target, file.replacement->content);
                if (failure) error = failure->error;
            } else {
                io::overwriteInPlace(ops_, file.target, file.replacement->content, error);
            }
            file.hasTemporary = false;  // what became of it is settled
            if (error) failToMove(file, error);
            file.isReplaced = true;
            io::syncFolderOf(ops_, file.target);
        }
    }

    void forgetOldContents() {
        dropPlan();
        for (const StagedFile& file : files_)
            if (!file.oldName.empty()) io::removeIfPossible(ops_, file.oldName);
    }

    void undo() {
        for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
            if (file->hasTemporary) io::removeIfPossible(ops_, io::temporaryPath(file->target));
            if (file->isReplaced) putBack(*file);
            if (!file->oldName.empty()) io::removeIfPossible(ops_, file->oldName);
        }
        dropPlan();
        for (auto folder = newFolders_.rbegin(); folder != newFolders_.rend(); ++folder)
            io::removeIfPossible(ops_, *folder);
    }

private:
    void dropPlan() {
        if (!plan_.empty()) io::removeIfPossible(ops_, plan_);
    }

    void stageArchive(const FileReplacement& file) {
        std::error_code error;
        StagedFile staged{&file, ops_.followLink(file.path, error), {}, {}};
        const fs::path temporary = io::temporaryPath(staged.target);
        if (error) fail("open temp failed: ", temporary);
        if (const auto failure = writeTemporary(staged))
            fail(
                failure->step == Step::openTemporary ? "open temp failed: " : "write temp failed: ",
                temporary);
        files_.push_back(std::move(staged));
    }

    void stageLooseFile(const FileReplacement& file) {
        makeFolders(file.path.parent_path());
        std::error_code error;
        StagedFile staged{&file, ops_.followLink(file.path, error), {}, {}};
        if (!error && file.existing)
            io::requireWritable(ops_, staged.target, *file.existing, error);
        if (error) fail("open for write: ", file.path);
        if (const auto failure = writeTemporary(staged)) {
            if (failure->step != Step::openTemporary) fail("write failed: ", file.path);
            // A folder that takes no new file may still hold one that can be written.
            if (!file.existing) fail("open for write: ", file.path);
        }
        files_.push_back(std::move(staged));
    }

    std::optional<io::ReplaceFailure> writeTemporary(StagedFile& staged) {
        const FileReplacement& file = *staged.replacement;
        std::optional<fs::perms> permissions;
        if (file.existing) permissions = file.existing->permissions();
        auto failure = io::writeTemporary(ops_, staged.target, permissions, file.content);
        staged.hasTemporary = !failure;
        return failure;
    }

    void makeFolders(const fs::path& folder) {
        if (folder.empty()) return;
        std::vector<fs::path> missing;
        std::error_code error;
        for (fs::path path = folder; path.has_relative_path(); path = path.parent_path()) {
            if (io::statusOfExisting(ops_, path, error) || error) break;
            missing.push_back(path);
        }
        newFolders_.insert(newFolders_.end(), missing.rbegin(), missing.rend());
        error.clear();
        ops_.createDirectories(folder, error);
        if (error) fail("create dir: ", error);
    }

    void keepOldContent(StagedFile& file) {
        current_ = file.replacement->path;
        fs::path name = io::oldContentPath(file.target);
        io::removeIfPossible(ops_, name);
        std::error_code error;
        ops_.hardLink(file.target, name, error);
        if (!error) {
            file.oldName = std::move(name);
            return;
        }
        error.clear();
        file.oldBytes = ops_.read(file.target, error);
        if (error) failToMove(file, error);
    }

    [[noreturn]] static void failToMove(const StagedFile& file, const std::error_code& error) {
        if (file.replacement->kind == io::FileLocation::Kind::archive)
            fail("rename failed: ", error);
        fail("write failed: ", file.replacement->path);
    }

    void putBack(StagedFile& file) {
        std::error_code error;
        if (!file.replacement->existing) return io::removeIfPossible(ops_, file.target);
        if (!file.oldName.empty()) {
            ops_.rename(file.oldName, file.target, error);
            if (!error) return file.oldName.clear();
            error.clear();
            file.oldBytes = ops_.read(file.oldName, error);
        }
        if (!error) io::overwriteInPlace(ops_, file.target, file.oldBytes, error);
        if (error) file.oldName.clear();  // it stays: it is all that is left of the old file
    }

    io::FileOps& ops_;
    fs::path& current_;
    std::vector<StagedFile> files_;
    /// Empty until there is one.
    fs::path plan_;
    /// Folders that were missing, each behind the one that holds it.
    std::vector<fs::path> newFolders_;
};

}  // namespace

void replaceFiles(io::FileOps& ops, std::span<const FileReplacement> files, const fs::path& root,
                  fs::path& failed) {
    Transaction transaction(ops, failed);
    try {
        for (const FileReplacement& file : files) transaction.stage(file);
        transaction.keepOldContents();
        transaction.plan(root);
        transaction.moveIntoPlace();
    } catch (...) {
        transaction.undo();
        throw;
    }
    transaction.forgetOldContents();
}

}  // namespace orb::unitview
