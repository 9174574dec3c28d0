#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "io/progress.h"
#include "session/archive_browser.h"
#include "session/mounted_data.h"
#include "session/unit_source.h"

/// Looking into the data roots as into an archive: into one folder of them, where archives are
/// files like others, or into the stack as the game sees it.
namespace orb::unitview {

/// A file as it is listed.
struct BrowsedFile {
    /// "/" separated, as stored.
    std::string path;
    std::uint64_t size = 0;
    bool isCompressed = false;
    UnitSource source;
};

/// More files than these are not listed, and folders are not looked into deeper than that.
inline constexpr std::size_t kMaxBrowsedFiles = 500'000;
inline constexpr std::size_t kMaxFolderNesting = 64;

/// Files in the order of their paths in any case, and what is missing among them.
struct BrowsedListing {
    std::vector<BrowsedFile> files;
    /// Folders that lie too deep to be looked into.
    std::vector<std::string> unseenFolders;
    /// There are more files than are listed.
    bool isCut = false;

    bool isWhole() const { return !isCut && unseenFolders.empty(); }
};

/// A file's content, or the beginning of a large one.
struct BrowsedContent {
    io::Bytes bytes;
    std::uint64_t size = 0;
};

/// The files of a folder or of the stack, of which the archives that it is made of are none.
/// Borrows the mounted data.
class BrowsedFiles {
public:
    /// The whole stack.
    explicit BrowsedFiles(const MountedData& data) : data_(&data), files_(&data.files) {}
    /// A folder of a data root or below one, which may be given relative to a root. Throws
    /// RequestError "not in a data root: …".
    BrowsedFiles(const MountedData& data, const std::filesystem::path& folder);

    bool isStack() const { return !folder_; }

    /// Every file below a directory (empty: all), the winning one of each path. Throws RequestError
    /// "not found: …" for a directory that is none.
    BrowsedListing list(const std::string& directory) const;

    /// The file that a path names, in any case; its size is not told. Throws RequestError "not
    /// found: …".
    BrowsedFile find(const std::string& path) const;

    /// Throws RequestError "not found: …" or a damaged archive's text.
    io::Bytes read(const BrowsedFile& file) const;

    /// The same, but of a loose file not more than `maxBytes`.
    BrowsedContent readBeginning(const BrowsedFile& file, std::size_t maxBytes) const;

private:
    struct Folder {
        std::filesystem::path path;
        std::unique_ptr<const io::AbstractVirtualFileSystem> files;
    };

    bool isOutside(const std::filesystem::path& file) const;
    /// Whether the stack is made of this archive.
    bool isLayer(const std::filesystem::path& file) const;

    const MountedData* data_;
    /// None for the stack.
    std::shared_ptr<const Folder> folder_;
    const io::AbstractVirtualFileSystem* files_ = nullptr;
};

/// Whether `path` means a folder: one that is there, absolute or relative to a root.
bool isFolderPath(const std::filesystem::path& path, std::span<const std::filesystem::path> roots);

/// As extractArchiveFile and extractArchiveDirectory do.
ExtractedFile extractFile(const BrowsedFiles& files, const std::string& path,
                          const std::filesystem::path& destination, bool overwrite);
ExtractionResult extractDirectory(const BrowsedFiles& files, const std::string& directory,
                                  const std::filesystem::path& destination, bool overwrite,
                                  const io::Progress& progress);

}  // namespace orb::unitview
