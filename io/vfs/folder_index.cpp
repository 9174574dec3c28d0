#include "io/vfs/folder_index.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

#include "io/path_text.h"

namespace orb::io {
namespace fs = std::filesystem;
namespace {

/// Elsewhere a file is found under other spellings than the one that its folder lists.
#ifdef _WIN32
constexpr bool kNamesHaveOneSpelling = false;
#else
constexpr bool kNamesHaveOneSpelling = true;
#endif

std::vector<fs::directory_entry> entriesOf(const fs::path& folder) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory)
        return {};
    if (error)
        throw fs::filesystem_error("directory iterator cannot open directory", folder, error);
    return {entry, fs::directory_iterator()};
}

bool isPresent(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

}  // namespace

std::string nameOf(const fs::directory_entry& entry) {
    return textFromPath(entry.path().filename());
}

std::vector<fs::directory_entry> sortedEntries(const fs::path& folder) {
    std::vector<fs::directory_entry> entries = entriesOf(folder);
    std::ranges::sort(entries, {}, nameOf);
    return entries;
}

FolderListing::FolderListing(const fs::path& folder) {
    for (const fs::directory_entry& entry : entriesOf(folder)) names_.push_back(nameOf(entry));
    std::ranges::sort(names_);
    firstInAnyCase_.reserve(names_.size());
    for (const std::string& name : names_) firstInAnyCase_.emplace(name, &name);
}

const std::string* FolderListing::find(std::string_view name) const {
    const auto found = firstInAnyCase_.find(name);
    if (found == firstInAnyCase_.end()) return nullptr;
    const auto exact = std::lower_bound(names_.begin(), names_.end(), name);
    return exact != names_.end() && *exact == name ? &*exact : found->second;
}

std::optional<std::string> FolderIndex::find(const fs::path& folder, std::string_view name) {
    // Before anything is looked at: what changes meanwhile must not seem to be older than this.
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const std::optional<FolderStamp> stamp = stampOf(folder);
    if (!stamp) return std::nullopt;
    std::shared_ptr<const FolderListing> listing = recall(folder, *stamp);
    const std::string* stored = listing ? listing->find(name) : nullptr;
    if (stored) return *stored;
    if (listing && kStampsTellEveryChange) return std::nullopt;

    const bool isThere = isPresent(folder / pathFromText(name));
    if (isThere && kNamesHaveOneSpelling) return std::string(name);
    if (listing && !isThere) return std::nullopt;
    listing = std::make_shared<const FolderListing>(folder);
    if (stamp->isSettled(now)) remember(folder, {*stamp, listing});
    stored = listing->find(name);
    return stored ? std::optional(*stored) : std::nullopt;
}

std::shared_ptr<const FolderListing> FolderIndex::recall(const fs::path& folder,
                                                         const FolderStamp& stamp) {
    const std::scoped_lock lock(mutex_);
    const auto found = folders_.find(folder.native());
    const bool isCurrent = found != folders_.end() && found->second.stamp == stamp;
    return isCurrent ? found->second.listing : nullptr;
}

void FolderIndex::remember(const fs::path& folder, Remembered listing) {
    const auto costOf = [](const Remembered& each) { return each.listing->size() + 1; };
    const std::scoped_lock lock(mutex_);
    if (const auto old = folders_.find(folder.native()); old != folders_.end()) {
        nameCount_ -= costOf(old->second);
        folders_.erase(old);
    }
    const std::size_t cost = costOf(listing);
    if (cost > kMaxNames) return;
    if (cost > kMaxNames - nameCount_) {
        folders_.clear();
        nameCount_ = 0;
    }
    nameCount_ += cost;
    folders_.emplace(folder.native(), std::move(listing));
}

}  // namespace orb::io
