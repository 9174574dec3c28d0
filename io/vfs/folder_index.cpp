#include "io/vfs/folder_index.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

#include "io/out_of_memory.h"
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

std::vector<FolderEntry> entriesOf(const fs::path& folder) {
    std::error_code error;
    requireMemoryToList();
    fs::directory_iterator next(folder, error);
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory)
        return {};
    if (error)
        throw fs::filesystem_error("directory iterator cannot open directory", folder, error);
    std::vector<FolderEntry> entries;
    for (const fs::directory_entry& entry : next)
        entries.push_back({textFromPath(entry.path().filename()), entry});
    return entries;
}

bool isLowerCased(std::string_view text) {
    return std::ranges::none_of(text, [](char c) { return c >= 'A' && c <= 'Z'; });
}

/// What follows the last dot, or the whole name.
std::string_view endingOf(std::string_view name) {
    return name.substr(name.rfind('.') + 1);
}

bool isPresent(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

}  // namespace

std::vector<FolderEntry> sortedEntries(const fs::path& folder) {
    std::vector<FolderEntry> entries = entriesOf(folder);
    std::ranges::sort(entries, {}, &FolderEntry::name);
    return entries;
}

bool isPreferredSpelling(std::string_view name, std::string_view other) {
    const bool isLower = isLowerCased(endingOf(name));
    return isLower == isLowerCased(endingOf(other)) ? name < other : isLower;
}

std::vector<FolderEntry> distinctEntries(const fs::path& folder) {
    std::vector<FolderEntry> entries = sortedEntries(folder);
    std::unordered_map<std::string, std::string> preferred;
    preferred.reserve(entries.size());
    for (const auto& [name, entry] : entries) {
        const auto [known, isNew] = preferred.try_emplace(lowerCased(name), name);
        if (!isNew && isPreferredSpelling(name, known->second)) known->second = name;
    }
    if (preferred.size() < entries.size())
        std::erase_if(entries, [&](const FolderEntry& entry) {
            return preferred.at(lowerCased(entry.name)) != entry.name;
        });
    return entries;
}

FolderListing::FolderListing(const fs::path& folder) {
    for (FolderEntry& entry : entriesOf(folder)) names_.push_back(std::move(entry.name));
    std::ranges::sort(names_);
    preferred_.reserve(names_.size());
    for (const std::string& name : names_) {
        const auto [known, isNew] = preferred_.emplace(name, &name);
        if (!isNew && isPreferredSpelling(name, *known->second)) known->second = &name;
    }
}

const std::string* FolderListing::find(std::string_view name) const {
    const auto found = preferred_.find(name);
    if (found == preferred_.end()) return nullptr;
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
