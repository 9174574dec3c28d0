#include "io/files/write_plan.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "io/content_version.h"
#include "io/files/folder_lock.h"
#include "io/files/replace_file.h"
#include "io/path_text.h"

namespace orb::io {
namespace {

namespace fs = std::filesystem;

/// Hidden, so that it goes into no pack.
constexpr const char* kPlanName = ".orb-write-plan";
constexpr const char* kOldSuffix = ".orb-write-old";
constexpr std::uint32_t kMagic = 0x4E4C5042;  // "BPLN"
/// Some hundred files.
constexpr std::uintmax_t kMaxPlanBytes = 1 << 20;
/// What is larger is no file of an edit; plans come with mods, too.
constexpr std::uintmax_t kMaxPlannedFileBytes = 1 << 30;
/// All that is read for one plan: a stranger's may name a large file a thousand times.
constexpr std::uintmax_t kMaxBytesRead = std::uintmax_t{8} << 30;

// magic, count, and of each file: path from the plan's folder, old version or nothing, new version;
// each text with its length in front.

void append(ByteWriter& out, std::string_view text) {
    out.u32(static_cast<std::uint32_t>(text.size()));
    out.text(text);
}

std::string take(ByteCursor& in) {
    const std::uint32_t length = in.u32();
    return std::string(asText(in.take(length)));
}

fs::path relativeTo(const fs::path& folder, const fs::path& target) {
    std::error_code ignored;
    const fs::path whole = fs::absolute(target, ignored);
    const fs::path relative = whole.lexically_relative(fs::absolute(folder, ignored));
    return relative.empty() ? whole : relative;
}

/// Throws std::runtime_error for what is no plan.
std::vector<PlannedFile> parsePlan(ByteView bytes, const fs::path& folder) {
    ByteCursor in(bytes, "no plan");
    if (in.u32() != kMagic) throw std::runtime_error("no plan");
    std::vector<PlannedFile> files;
    for (std::uint32_t left = in.u32(); left > 0; --left) {
        PlannedFile& file = files.emplace_back();
        file.target = folder / pathFromText(take(in));
        if (std::string version = take(in); !version.empty()) file.oldVersion = version;
        file.newVersion = take(in);
    }
    return files;
}

std::optional<std::vector<PlannedFile>> readPlan(FileOps& ops, const fs::path& plan) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(plan, error);
    if (error || size > kMaxPlanBytes) return std::nullopt;
    const Bytes bytes = ops.read(plan, error);
    if (error) return std::nullopt;
    try {
        return parsePlan(bytes, plan.parent_path());
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

/// What is in the files of a plan.
class Contents {
public:
    explicit Contents(FileOps& ops) : ops_(ops) {}

    /// How far the write of a file has come.
    enum class State { isNew, waits, isLost };
    State stateOf(const PlannedFile& file) {
        const auto version = versionOf(file.target);
        if (version == file.newVersion) return State::isNew;
        const bool waits =
            version == file.oldVersion && versionOf(temporaryPath(file.target)) == file.newVersion;
        return waits ? State::waits : State::isLost;
    }

private:
    /// None where there is no file, empty for what no plan means.
    std::optional<std::string> versionOf(const fs::path& file) {
        std::error_code error;
        const auto status = statusOfExisting(ops_, file, error);
        if (error || !status) return std::nullopt;
        if (!fs::is_regular_file(*status)) return "";
        const std::uintmax_t size = fs::file_size(file, error);
        if (error || size > std::min(kMaxPlannedFileBytes, bytesLeft_)) return "";
        bytesLeft_ -= size;
        const Bytes bytes = ops_.read(file, error);
        return error ? "" : contentVersion(bytes);
    }

    FileOps& ops_;
    std::uintmax_t bytesLeft_ = kMaxBytesRead;
};

/// `error` is set where a file cannot be moved into place.
UnfinishedWrite finish(FileOps& ops, const std::vector<PlannedFile>& files,
                       std::error_code& error) {
    Contents contents(ops);
    std::vector<fs::path> waiting;
    for (const PlannedFile& file : files) {
        const Contents::State state = contents.stateOf(file);
        if (state == Contents::State::isLost) return UnfinishedWrite::givenUp;
        if (state == Contents::State::waits) waiting.push_back(file.target);
    }
    for (const fs::path& target : waiting) {
        ops.rename(temporaryPath(target), target, error);
        if (error) return UnfinishedWrite::givenUp;
        syncFolderOf(ops, target);
    }
    for (const PlannedFile& file : files) removeIfPossible(ops, oldContentPath(file.target));
    return UnfinishedWrite::finished;
}

}  // namespace

fs::path planPath(const fs::path& folder) {
    return folder / kPlanName;
}

fs::path oldContentPath(const fs::path& target) {
    fs::path path = target;
    path += kOldSuffix;
    return path;
}

bool writePlan(FileOps& ops, const fs::path& plan, std::span<const PlannedFile> files) {
    ByteWriter out;
    out.u32(kMagic);
    out.u32(static_cast<std::uint32_t>(files.size()));
    for (const PlannedFile& file : files) {
        append(out, textFromPath(relativeTo(plan.parent_path(), file.target)));
        append(out, file.oldVersion.value_or(""));
        append(out, file.newVersion);
    }
    return !replaceByTemporary(ops, plan, std::nullopt, out.view());
}

UnfinishedWrite finishWrite(FileOps& ops, const fs::path& folder) {
    const fs::path plan = planPath(folder);
    std::error_code error;
    if (!fs::is_regular_file(ops.status(plan, error))) return UnfinishedWrite::none;
    // Who is writing holds the lock.
    const FolderLock lock(plan);
    if (!lock.isHeld() || !fs::is_regular_file(ops.status(plan, error)))
        return UnfinishedWrite::none;
    const auto files = readPlan(ops, plan);
    const UnfinishedWrite result = files ? finish(ops, *files, error) : UnfinishedWrite::givenUp;
    // Where a file could not be moved, the next time may succeed.
    if (!error) removeIfPossible(ops, plan);
    return result;
}

}  // namespace orb::io
