#include "authoring/safe_write.h"

#include <functional>
#include <optional>
#include <set>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "authoring/backup.h"
#include "io/archive/hpi_writer.h"
#include "io/content_version.h"
#include "io/files/write_plan.h"
#include "io/path_text.h"
#include "session/request_error.h"
#include "tests/authoring/faulty_file_ops.h"
#include "tests/io/archive_fixture.h"
#include "tests/platform.h"

#if ORB_TEST_HAS_POSIX
#include <sys/mount.h>
#include <sys/wait.h>
#endif

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;
using Fault = FaultyFileOps::Fault;
using Kind = io::FileLocation::Kind;
using io::bytesOf;

const std::string kOld = "the old text, as it was before this write";
const std::string kNew = "the new text, which is somewhat longer than the one before it";
const std::string kFirst = "the text before the first edit";

enum class Target { newFile, looseFile, link, archiveEntry };

/// What is done to which file, and what the file system refuses throughout.
struct Scenario {
    const char* name;
    Target target;
    bool restores = false;
    bool hasBackup = false;
    bool refusesRenames = false;
    bool refusesNewFiles = false;
    bool refusesHardLinks = false;
};

constexpr Scenario kScenarios[] = {
#if ORB_TEST_HAS_POSIX
    {"an edit through a link", Target::link},
    {"an edit without renames through a link", Target::link, false, false, true},
    {"a restored link", Target::link, true, true},
#endif
    {"a new file", Target::newFile},
    {"a file's first edit", Target::looseFile},
    {"a later edit", Target::looseFile, false, true},
    {"an edit without renames", Target::looseFile, false, true, true},
    {"a new file without renames", Target::newFile, false, false, true},
    {"an edit in a folder that takes no files", Target::looseFile, false, true, false, true},
    {"a first edit without hard links", Target::looseFile, false, false, false, false, true},
    {"an archive's first edit", Target::archiveEntry},
    {"an archive's later edit", Target::archiveEntry, false, true},
    {"an archive's edit without renames", Target::archiveEntry, false, true, true},
    {"a restored file", Target::looseFile, true, true},
    {"a file restored without renames", Target::looseFile, true, true, true},
    {"an archive restored without renames", Target::archiveEntry, true, true, true},
};

io::Bytes archiveWith(const std::string& text) {
    const std::vector<io::HpiInputFile> files{{"units/A.FBI", bytesOf(text)},
                                              {"other.txt", bytesOf(std::string(99999, 'o'))}};
    return io::writeHpi(files);
}

WriteResult write(io::FileOps& ops, const io::FileLocation& target, io::Bytes content,
                  bool allowBackupCreation = true) {
    const FileWrite only{target, std::move(content)};
    return writeSources(ops, {&only, 1}, allowBackupCreation);
}

std::string readAll(const fs::path& path) {
    std::error_code error;
    const io::Bytes bytes = io::systemFileOps().read(path, error);
    return error ? "(none)" : std::string(io::asText(bytes));
}

/// The files of a scenario in a folder of their own.
class Stage {
public:
    Stage(const io::TestFolder& folder, const Scenario& scenario) : scenario_(scenario) {
        fs::remove_all(folder.path() / "stage");
        const bool isArchive = scenario.target == Target::archiveEntry;
        location_ = {isArchive ? Kind::archive : Kind::loose,
                     folder.path() / (isArchive ? "stage/a.ufo" : "stage/units/A.FBI"),
                     isArchive ? "units/A.FBI" : ""};
        fs::create_directories(folder.path() / "stage/far");
        if (scenario.target == Target::newFile) return;
        const bool isLink = scenario.target == Target::link;
        const auto file = folder.write(isLink ? "stage/far/real" : location_.path, form(kOld));
        fs::permissions(file, kPermissions);
        fs::create_directories(location_.path.parent_path());
        if (isLink) fs::create_symlink(file, location_.path);
        if (scenario.hasBackup) folder.write(backupPath(location_.path), form(kFirst));
    }

    /// Throws RequestError with the message of a failure.
    void run(FaultyFileOps& ops) const {
        ops.refusesRenames = scenario_.refusesRenames;
        ops.refusesNewFiles = scenario_.refusesNewFiles;
        ops.refusesHardLinks = scenario_.refusesHardLinks;
        run(static_cast<io::FileOps&>(ops));
    }
    void run(io::FileOps& ops) const {
        if (scenario_.restores) {
            if (const auto warning = restoreFromBackup(ops, location_.path))
                throw RequestError(*warning);
            return;
        }
        const WriteResult result = write(ops, location_, bytesOf(kNew));
        EXPECT_EQ(result.resolvedPath, location_.path);
        if (result.outcome != WriteOutcome::ok) throw RequestError(result.message);
    }

    /// The text now in place; "(damaged)" when it is not one as a whole.
    std::string text() const {
        if (location_.kind == Kind::loose) return readAll(location_.path);
        try {
            const io::HpiArchive archive(location_.path);
            const auto other = archive.readFile(*archive.findFile("other.txt"));
            const auto entry = archive.readFile(*archive.findFile("units/A.FBI"));
            return other.size() == 99999 ? std::string(io::asText(entry)) : "(damaged)";
        } catch (const std::exception&) {
            return "(damaged)";
        }
    }

    bool isBefore() const {
        return text() == (scenario_.target == Target::newFile ? "(none)" : kOld);
    }
    bool isAfter() const { return text() == (scenario_.restores ? kFirst : kNew); }

    /// What must hold wherever a write or restore ended.
    void expectIntact() const {
        EXPECT_TRUE(isBefore() || isAfter()) << text();
        EXPECT_EQ(fs::is_symlink(location_.path), scenario_.target == Target::link);
        const std::string backup = readAll(backupPath(location_.path));
        const io::Bytes kept = form(scenario_.hasBackup ? kFirst : kOld);
        const bool isMissing = backup == "(none)";
        EXPECT_TRUE(isMissing || backup == io::asText(kept)) << backup;
        const bool usedUp = scenario_.restores && isAfter();
        const bool isMade = scenario_.target != Target::newFile && isAfter();
        EXPECT_FALSE(isMissing && !usedUp && (scenario_.hasBackup || isMade)) << "no backup";
    }

    void expectFinished() const {
        EXPECT_TRUE(isAfter()) << text();
        for (const auto& entry : fs::recursive_directory_iterator(location_.path.parent_path()))
            EXPECT_NE(entry.path().extension(), ".orb-write-tmp") << entry.path();
        if (scenario_.restores || scenario_.target == Target::newFile) return;
        EXPECT_EQ(fs::status(location_.path).permissions(), kPermissions);
    }

private:
    static constexpr fs::perms kPermissions{ORB_TEST_HAS_POSIX ? 0640 : 0666};

    io::Bytes form(const std::string& text) const {
        return location_.kind == Kind::archive ? archiveWith(text) : bytesOf(text);
    }

    const Scenario& scenario_;
    io::FileLocation location_;
};

std::string failureOf(const std::function<void()>& action) {
    try {
        action();
        return "";
    } catch (const RequestError& error) {
        return error.what();
    }
}

TEST(SafeWriteTest, EveryOperationMayFail) {
    const io::TestFolder folder;
    for (const Scenario& scenario : kScenarios) {
        for (int step = 0;; ++step) {
            const Stage stage(folder, scenario);
            FaultyFileOps ops(step, Fault::fail);
            const std::string message = failureOf([&] { stage.run(ops); });
            SCOPED_TRACE(
                fmt::format("{}: {} {} failed: {}", scenario.name, step, ops.struck(), message));
            stage.expectIntact();
            if (message.empty() || message.starts_with("restored but"))
                EXPECT_TRUE(stage.isAfter());
            else
                EXPECT_TRUE(stage.isBefore());
            if (ops.struck().empty()) {
                EXPECT_EQ(message, "");
                stage.expectFinished();
                break;
            }
            // Whatever is left over, the next try finds its way.
            if (stage.isBefore()) {
                EXPECT_EQ(failureOf([&] { stage.run(io::systemFileOps()); }), "");
                stage.expectFinished();
            }
        }
    }
}

#if ORB_TEST_HAS_POSIX
TEST(SafeWriteTest, TheProcessMayDieBetweenAnyTwoOperations) {
    const io::TestFolder folder;
    for (const Scenario& scenario : kScenarios) {
        // Overwriting in place is what is left where nothing can take the file's name.
        if (scenario.refusesRenames || scenario.refusesNewFiles) continue;
        for (int step = 0;; ++step) {
            const Stage stage(folder, scenario);
            const pid_t child = fork();
            if (child == 0) {
                FaultyFileOps ops(step, Fault::die);
                ::_exit(failureOf([&] { stage.run(ops); }).empty() ? 0 : 1);
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            SCOPED_TRACE(fmt::format("{}: died at step {}", scenario.name, step));
            stage.expectIntact();
            if (WEXITSTATUS(status) != FaultyFileOps::kDeathStatus) {
                EXPECT_EQ(status, 0);
                stage.expectFinished();
                break;
            }
        }
    }
}

#endif

/// A unit of several files, one of them new in a new folder, two of them in one archive.
class SeveralFiles {
public:
    explicit SeveralFiles(const io::TestFolder& folder) : root_(folder.path() / "several") {
        fs::remove_all(root_);
        folder.write("several/A.FBI", kOld);
        folder.write("several/a.ufo", archiveWith(kOld));
    }

    void run(io::FileOps& ops) const {
        const std::vector<FileWrite> writes{
            {{Kind::loose, root_ / "A.FBI", ""}, bytesOf(kNew)},
            {{Kind::archive, root_ / "a.ufo", "units/A.FBI"}, bytesOf(kNew)},
            {{Kind::loose, root_ / "objects3d/deep/A.3do", ""}, bytesOf(kNew)},
            {{Kind::archive, root_ / "a.ufo", "units/B.FBI"}, bytesOf(kNew)}};
        const WriteResult result = writeSources(ops, writes, true);
        if (result.outcome != WriteOutcome::ok) throw RequestError(result.message);
        EXPECT_EQ(result.resolvedPath, root_ / "A.FBI");
    }

    /// "old" or "new" for each file, as far as they are whole.
    std::string state() const {
        const io::HpiArchive archive(root_ / "a.ufo");
        const io::Bytes entry = archive.readFile(*archive.findFile("units/A.FBI"));
        const bool hasAdded = archive.findFile("units/B.FBI") != nullptr;
        return word(readAll(root_ / "A.FBI")) +
               word(hasAdded == (io::asText(entry) == kNew) ? std::string(io::asText(entry)) : "") +
               word(readAll(root_ / "objects3d/deep/A.3do"));
    }

    /// Whether nothing lies about but the files, their folders and backups.
    bool isTidy() const {
        for (const auto& entry : fs::recursive_directory_iterator(root_))
            if (io::textFromPath(entry.path()).find(".orb-write") != std::string::npos)
                return false;
        return true;
    }

    const fs::path& root() const { return root_; }
    bool hasBackups() const {
        return fs::exists(backupPath(root_ / "A.FBI")) || fs::exists(backupPath(root_ / "a.ufo"));
    }
    bool hasNewFolders() const { return fs::exists(root_ / "objects3d"); }

private:
    static std::string word(const std::string& text) {
        if (text == kNew) return "new ";
        return text == kOld || text == "(none)" ? "old " : "(damaged) ";
    }

    fs::path root_;
};

TEST(SafeWriteTest, SeveralFilesAreWrittenTogetherOrNotAtAll) {
    const io::TestFolder folder;
    for (const bool refusesHardLinks : {false, true}) {
        for (int step = 0;; ++step) {
            const SeveralFiles files(folder);
            FaultyFileOps ops(step, Fault::fail);
            ops.refusesHardLinks = refusesHardLinks;
            const std::string message = failureOf([&] { files.run(ops); });
            SCOPED_TRACE(fmt::format("{} {} failed: {}", step, ops.struck(), message));
            EXPECT_EQ(files.state(), message.empty() ? "new new new " : "old old old ");
            if (ops.struck().empty()) {
                EXPECT_EQ(message, "");
                EXPECT_TRUE(files.isTidy());
                break;
            }
            if (message.empty()) continue;
            EXPECT_FALSE(files.hasNewFolders());
            EXPECT_FALSE(files.hasBackups()) << "the next write asks again";
            EXPECT_EQ(failureOf([&] { files.run(io::systemFileOps()); }), "");
            EXPECT_EQ(files.state(), "new new new ");
        }
    }
}

#if ORB_TEST_HAS_POSIX
TEST(SafeWriteTest, SeveralFilesAreOldOrNewTogetherWhereTheProcessDiesAndTheWriteIsFinished) {
    const io::TestFolder folder;
    std::set<std::string> met;
    for (int step = 0;; ++step) {
        const SeveralFiles files(folder);
        const pid_t child = fork();
        if (child == 0) {
            FaultyFileOps ops(step, Fault::die);
            ::_exit(failureOf([&] { files.run(ops); }).empty() ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(files.state().find("(damaged)"), std::string::npos) << step;
        const std::string dead = files.state();
        const auto finished = io::finishWrite(io::systemFileOps(), files.root());
        EXPECT_NE(finished, io::UnfinishedWrite::givenUp) << step;
        EXPECT_EQ(files.state(), finished == io::UnfinishedWrite::finished ? "new new new " : dead);
        met.insert(files.state());
        if (WEXITSTATUS(status) != FaultyFileOps::kDeathStatus) break;
        EXPECT_EQ(failureOf([&] { files.run(io::systemFileOps()); }), "");
        EXPECT_TRUE(files.isTidy()) << "the next write clears up";
    }
    EXPECT_EQ(met, (std::set<std::string>{"old old old ", "new new new "}));
}

TEST(SafeWriteTest, WhatIsNoPlanFinishesNothing) {
    const io::TestFolder folder;
    const auto target = folder.write("A.FBI", kOld);
    folder.write("A.FBI.orb-write-tmp", kNew);
    const auto versionOf = [](const std::string& text) {
        return io::contentVersion(io::asBytes(text));
    };
    const fs::path plan = io::planPath(folder.path());
    const io::PlannedFile planned[] = {{target, versionOf(kOld), versionOf(kNew)},
                                       {folder.path() / "gone", std::nullopt, versionOf(kNew)}};
    ASSERT_TRUE(io::writePlan(io::systemFileOps(), plan, planned));
    std::string bytes = readAll(plan);
    for (; !bytes.empty(); bytes.pop_back()) {  // the whole one cannot be finished either
        folder.write(io::textFromPath(plan.filename()), bytes);
        EXPECT_EQ(io::finishWrite(io::systemFileOps(), folder.path()),
                  io::UnfinishedWrite::givenUp);
        EXPECT_EQ(readAll(target), kOld);
        EXPECT_FALSE(fs::exists(plan));
    }
}

TEST(SafeWriteTest, AnUnfinishedWriteLeavesAloneWhatOthersHaveChanged) {
    const io::TestFolder folder;
    for (int step = 0;; ++step) {
        const SeveralFiles files(folder);
        const pid_t child = fork();
        if (child == 0) {
            FaultyFileOps ops(step, Fault::die);
            ::_exit(failureOf([&] { files.run(ops); }).empty() ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        if (WEXITSTATUS(status) != FaultyFileOps::kDeathStatus) break;
        if (!fs::exists(io::planPath(files.root()))) continue;
        folder.write("several/A.FBI", "another program's");
        EXPECT_EQ(io::finishWrite(io::systemFileOps(), files.root()), io::UnfinishedWrite::givenUp);
        EXPECT_EQ(readAll(files.root() / "A.FBI"), "another program's");
        EXPECT_EQ(io::finishWrite(io::systemFileOps(), files.root()), io::UnfinishedWrite::none);
    }
}

/// Reads nothing, but knows how often it was to.
class CountingFileOps : public FaultyFileOps {
public:
    CountingFileOps() : FaultyFileOps(-1, Fault::fail) {}
    io::Bytes read(const Path& path, std::error_code& error) override {
        if (path.filename() != "large") return FaultyFileOps::read(path, error);
        ++reads;
        return {};
    }
    std::size_t reads = 0;
};

TEST(SafeWriteTest, AStrangersPlanCannotKeepTheProgramReading) {
    const io::TestFolder folder;
    const auto large = folder.write("large", "");
    fs::resize_file(large, std::uintmax_t{1} << 29);  // takes no room
    const std::vector<io::PlannedFile> planned(
        1000, {large, std::nullopt, io::contentVersion(io::ByteView{})});
    CountingFileOps ops;
    ASSERT_TRUE(io::writePlan(ops, io::planPath(folder.path()), planned));
    EXPECT_EQ(io::finishWrite(ops, folder.path()), io::UnfinishedWrite::givenUp);
    EXPECT_EQ(ops.reads, 16U);
}
#endif

/// The messages of a scenario, each behind the operations in a row whose failure gives it.
std::string messagesOf(const io::TestFolder& folder, const Scenario& scenario) {
    std::string result, last;
    for (int step = 0;; ++step) {
        const Stage stage(folder, scenario);
        FaultyFileOps ops(step, Fault::fail);
        std::string message = failureOf([&] { stage.run(ops); });
        if (ops.struck().empty()) return result + last + "\n";
        const std::string root = io::textFromPath(folder.path() / "stage");
        if (const auto at = message.find(root); at != std::string::npos)
            message.replace(at, root.size(), "$");
        if (message.empty()) continue;
        if (message != last && !last.empty()) result += last + "\n";
        result += ops.struck() + ": ";
        last = message;
    }
}

TEST(SafeWriteTest, NamesWhatFailed) {
    const io::TestFolder folder;
    EXPECT_EQ(messagesOf(folder, {"", Target::looseFile}),
              "status: copy: backup failed: Input/output error\n"
              "createDirectories: create dir: Input/output error\n"
              "followLink: open: open for write: $/units/A.FBI\n"
              "write: flush: close: write failed: $/units/A.FBI\n");
    std::error_code nameTaken;
    const auto file = folder.write("file", "");
    fs::create_hard_link(file, file, nameTaken);
    EXPECT_EQ(messagesOf(folder, {"", Target::archiveEntry, false, true, true}),
              "status: backup failed: Input/output error\n"
              "status: backup failed: " +
                  nameTaken.message() +
                  "\n"
                  "followLink: open: open temp failed: $/a.ufo.orb-write-tmp\n"
                  "write: flush: close: write temp failed: $/a.ufo.orb-write-tmp\n"
                  "read: open: write: flush: close: rename failed: Input/output error\n");
    EXPECT_EQ(
        messagesOf(folder, {"", Target::looseFile, true, true, true}),
        "status: no backup at $/units/A.FBI.orbbackup\n"
        "followLink: read: read: open: write: flush: close: restore failed: Input/output error\n"
        "remove: restored but couldn't remove backup: Input/output error\n");
    const auto damaged = folder.write("damaged.ufo", "HAPIHOPI");
    EXPECT_EQ(write(io::systemFileOps(), {Kind::archive, damaged, "a"}, {}).message,
              "archive rewrite failed: Unsupported HPI version: " + io::textFromPath(damaged));
}

TEST(SafeWriteTest, AsksBeforeTheFirstBackupAndKeepsIt) {
    const io::TestFolder folder;
    const auto file = folder.write("A.FBI", kFirst);
    const auto outcomeOf = [&](const std::string& text, bool allow) {
        return write(io::systemFileOps(), {Kind::loose, file, ""}, bytesOf(text), allow).outcome;
    };
    EXPECT_EQ(outcomeOf(kOld, false), WriteOutcome::needsBackupConsent);
    EXPECT_EQ(readAll(file), kFirst);
    EXPECT_FALSE(fs::exists(backupPath(file)));
    EXPECT_EQ(outcomeOf(kOld, true), WriteOutcome::ok);
    std::ifstream reader(file);  // as another process may hold it
    EXPECT_EQ(outcomeOf(kNew, false), WriteOutcome::ok) << "the backup is there";
    // Where an open file keeps its name, the new text is written into it.
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}),
              ORB_TEST_HAS_POSIX ? kOld : kNew);
    EXPECT_EQ(outcomeOf(kNew + kNew, true), WriteOutcome::ok);
    EXPECT_EQ(readAll(file), kNew + kNew);
    EXPECT_EQ(readAll(backupPath(file)), kFirst);

    // A folder of the backup's name holds no copy of anything.
    fs::remove(backupPath(file));
    fs::create_directory(backupPath(file));
    EXPECT_EQ(outcomeOf(kOld, false), WriteOutcome::needsBackupConsent);
    EXPECT_EQ(outcomeOf(kOld, true), WriteOutcome::error);
    EXPECT_EQ(readAll(file), kNew + kNew);
}

#if ORB_TEST_HAS_POSIX
TEST(SafeWriteTest, AFullDiskLeavesTheOldFile) {
    const io::TestFolder folder;
    if (::mount("tmpfs", folder.path().c_str(), "tmpfs", 0, "size=256k") != 0)
        GTEST_SKIP() << "no right to mount a small disk";
    const auto file = folder.write("A.FBI", kOld);
    const auto fill = [&](std::size_t size) {
        return write(io::systemFileOps(), {Kind::loose, file, ""}, io::Bytes(size, 'x'));
    };
    EXPECT_EQ(fill(1 << 20).message, "write failed: " + io::textFromPath(file));
    EXPECT_EQ(readAll(file), kOld);
    EXPECT_EQ(readAll(backupPath(file)), "(none)");
    EXPECT_EQ(fill(200 << 10).outcome, WriteOutcome::ok);
    fs::remove(backupPath(file));
    EXPECT_TRUE(fill(10).message.starts_with("backup failed: "));
    EXPECT_FALSE(fs::exists(backupPath(file)));
    EXPECT_EQ(fs::file_size(file), 200u << 10);
    ::umount(folder.path().c_str());
}
#endif

}  // namespace
}  // namespace orb::unitview
