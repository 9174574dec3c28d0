#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "io/ascii.h"
#include "io/vfs/folder_stamp.h"

namespace orb::io {

/// One of the things that a folder lists.
struct FolderEntry {
    /// In its folder, as paths of game data spell it.
    std::string name;
    std::filesystem::directory_entry entry;
};

/// What a folder lists, by name in byte order; nothing when it is gone. One that cannot be listed
/// raises std::filesystem::filesystem_error.
std::vector<FolderEntry> sortedEntries(const std::filesystem::path& folder);

/// Of several spellings of one name in a folder, the one that counts however the name is asked for
/// comes first: that whose extension (or, without one, that which) is in lower case, as the game's
/// files are asked for, then the first in byte order. An order of all names.
bool isPreferredSpelling(std::string_view name, std::string_view other);

/// As sortedEntries; of several spellings of a name only the one that counts.
std::vector<FolderEntry> distinctEntries(const std::filesystem::path& folder);

/// The names in a folder at one moment.
class FolderListing {
public:
    /// Throws what `sortedEntries` throws.
    explicit FolderListing(const std::filesystem::path& folder);

    /// `name` in that spelling, else the preferred one that matches in any case, or null.
    const std::string* find(std::string_view name) const;
    std::size_t size() const { return names_.size(); }

private:
    std::vector<std::string> names_;
    std::unordered_map<std::string_view, const std::string*, IgnoringCaseHash, IgnoringCaseEqual>
        preferred_;
};

/// Finds names in folders in any case, and remembers what the folders listed while their stamps
/// stay the same; so every look-up tells what is on the disk then. Safe to use from several
/// threads.
class FolderIndex {
public:
    /// The names remembered of all folders together are at most so many; of the game's own data
    /// they are a few thousand.
    static constexpr std::size_t kMaxNames = 1 << 17;

    /// The name under which the folder stores `name`, as FolderListing finds it. None where the
    /// folder has no such name or cannot be looked at; one that cannot be listed raises
    /// std::filesystem::filesystem_error unless it has the name in that very spelling.
    std::optional<std::string> find(const std::filesystem::path& folder, std::string_view name);

private:
    struct Remembered {
        FolderStamp stamp;
        std::shared_ptr<const FolderListing> listing;
    };

    /// The listing of a folder in that state, or null.
    std::shared_ptr<const FolderListing> recall(const std::filesystem::path& folder,
                                                const FolderStamp& stamp);
    void remember(const std::filesystem::path& folder, Remembered listing);

    std::mutex mutex_;
    std::unordered_map<std::filesystem::path::string_type, Remembered> folders_;
    /// Of all listings, and one for each folder itself.
    std::size_t nameCount_ = 0;
};

}  // namespace orb::io
