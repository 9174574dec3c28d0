#include "io/files/write_plan.h"

#include <algorithm>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "io/files/file_version.h"
#include "io/files/folder_lock.h"
#include "io/files/replace_file.h"
#include "io/path_text.h"

namespace orb::io {
namespace {

namespace fs = std::filesystem;

/// Hidden, so that it goes into no pack.
constexpr const char* kPlanName = ".orb-write-plan";
constexpr const char* kGivenUpSuffix = "-given-up";
constexpr const char* kOldSuffix = ".orb-write-old";
constexpr std::uint32_t kMagic = 0x4E4C5042;  // "BPLN"
/// More than any edit writes; plans come with mods, too.
constexpr std::size_t kMaxPlannedFiles = 64;
constexpr std::uintmax_t kMaxPlanBytes = 1 << 20;

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

/// As a path from the folder when it lies there, without following any link.
fs::path relativeTo(const fs::path& folder, const fs::path& target) {
    std::error_code ignored;
    const fs::path whole = fs::absolute(target, ignored);
    const fs::path relative = whole.lexically_relative(fs::absolute(folder, ignored));
    return relative.empty() || *relative.begin() == ".." ? whole : relative;
}

/// Without following any link: links in a mod are the modder's own.
bool liesBelow(const fs::path& path, const fs::path& folder) {
    std::error_code ignored;
    const fs::path whole = fs::absolute(path, ignored).lexically_normal();
    fs::path root = fs::absolute(folder, ignored).lexically_normal();
    if (!root.has_filename()) root = root.parent_path();
    const auto [end, rest] = std::mismatch(root.begin(), root.end(), whole.begin(), whole.end());
    return end == root.end() && rest != whole.end();
}

/// Throws std::runtime_error for what is no plan, or names a file elsewhere than in these folders.
std::vector<PlannedFile> parsePlan(ByteView bytes, const fs::path& folder,
                                   std::span<const fs::path> otherFolders) {
    ByteCursor in(bytes, "no plan");
    if (in.u32() != kMagic) throw std::runtime_error("no plan");
    std::vector<PlannedFile> files;
    const std::uint32_t count = in.u32();
    if (count > kMaxPlannedFiles) throw std::runtime_error("no plan");
    for (std::uint32_t left = count; left > 0; --left) {
        PlannedFile& file = files.emplace_back();
        file.target = folder / pathFromText(take(in));
        if (!liesBelow(file.target, folder) &&
            std::ranges::none_of(
                otherFolders, [&](const fs::path& other) { return liesBelow(file.target, other); }))
            throw std::runtime_error("no plan");
        if (std::string version = take(in); !version.empty()) file.oldVersion = version;
        file.newVersion = take(in);
    }
    return files;
}

std::optional<std::vector<PlannedFile>> readPlan(FileOps& ops, const fs::path& plan,
                                                 std::span<const fs::path> otherFolders) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(plan, error);
    if (error || size > kMaxPlanBytes) return std::nullopt;
    const Bytes bytes = ops.read(plan, error);
    if (error) return std::nullopt;
    try {
        auto files = parsePlan(bytes, plan.parent_path(), otherFolders);
        std::set<fs::path> targets;
        for (PlannedFile& file : files) {
            file.target = ops.followLink(file.target, error);
            if (error || !targets.insert(file.target).second) return std::nullopt;
        }
        return files;
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

/// What a file can be turned into, and how; none of the files is a link.
struct Direction {
    std::optional<std::string> (*goal)(const PlannedFile&);
    /// Where the content is meanwhile.
    fs::path (*sibling)(const fs::path&);
};

constexpr Direction kForward = {
    [](const PlannedFile& file) { return std::optional(file.newVersion); }, temporaryPath};
constexpr Direction kBack = {[](const PlannedFile& file) { return file.oldVersion; },
                             oldContentPath};

bool isThere(const PlannedFile& file, const Direction& direction) {
    return fileVersion(file.target) == direction.goal(file);
}

bool canGo(const PlannedFile& file, const Direction& direction) {
    const auto version = fileVersion(file.target);
    const auto goal = direction.goal(file);
    if (version == goal) return true;
    const bool isOurs = version == file.oldVersion || version == file.newVersion;
    return isOurs && (!goal || fileVersion(direction.sibling(file.target)) == goal);
}

/// `error` is set where a file cannot be moved into place.
void go(FileOps& ops, const std::vector<PlannedFile>& files, const Direction& direction,
        std::error_code& error) {
    for (const PlannedFile& file : files) {
        if (isThere(file, direction)) continue;
        if (direction.goal(file))
            ops.rename(direction.sibling(file.target), file.target, error);
        else
            ops.remove(file.target, error);
        if (error) return;
        syncFolderOf(ops, file.target);
    }
    for (const PlannedFile& file : files) {
        removeIfPossible(ops, temporaryPath(file.target));
        removeIfPossible(ops, oldContentPath(file.target));
    }
}

UnfinishedWrite settle(FileOps& ops, const std::vector<PlannedFile>& files,
                       std::error_code& error) {
    for (const auto& [direction, result] : {std::pair{kForward, UnfinishedWrite::finished},
                                            std::pair{kBack, UnfinishedWrite::undone}}) {
        const auto canAll = [&](const PlannedFile& file) { return canGo(file, direction); };
        if (!std::ranges::all_of(files, canAll)) continue;
        go(ops, files, direction, error);
        return error ? UnfinishedWrite::givenUp : result;
    }
    return UnfinishedWrite::givenUp;
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
    if (files.size() > kMaxPlannedFiles) return false;
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

UnfinishedWrite finishWrite(FileOps& ops, const fs::path& folder,
                            std::span<const fs::path> otherFolders) {
    using Busy = FolderLock::Busy;
    const fs::path plan = planPath(folder);
    std::error_code error;
    if (!fs::is_regular_file(ops.status(plan, error))) return UnfinishedWrite::none;
    // Who is writing holds the lock.
    const FolderLock lock(plan, Busy::goOn);
    if (!lock.isHeld()) return UnfinishedWrite::busy;
    if (!fs::is_regular_file(ops.status(plan, error))) return UnfinishedWrite::none;
    const auto files = readPlan(ops, plan, otherFolders);
    if (!files) {
        removeIfPossible(ops, plan);
        return UnfinishedWrite::givenUp;
    }
    std::vector<std::unique_ptr<FolderLock>> locks;
    locks.reserve(files->size());
    for (const PlannedFile& file : *files)
        locks.push_back(std::make_unique<FolderLock>(file.target, Busy::goOn));
    const UnfinishedWrite result = settle(ops, *files, error);
    if (error) return result;  // where a file could not be moved, the next time may succeed
    if (result == UnfinishedWrite::givenUp) {
        // All that tells what belongs together.
        fs::path kept = plan;
        kept += kGivenUpSuffix;
        ops.rename(plan, kept, error);
    }
    removeIfPossible(ops, plan);
    return result;
}

}  // namespace orb::io
