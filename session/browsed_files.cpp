#include "session/browsed_files.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <unordered_set>

#include "io/ascii.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "io/vfs/directory_file_system.h"
#include "io/vfs/folder_index.h"
#include "io/vfs/hpi_file_system.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;
using Kind = io::FileLocation::Kind;

RequestError notFound(const std::string& path) {
    return RequestError("not found: " + path);
}

fs::path canonicalPath(const fs::path& path) {
    std::error_code error;
    fs::path result = fs::canonical(path, error);
    return error ? fs::path() : result;
}

/// Both in their canonical spelling.
bool isWithin(const fs::path& path, const fs::path& folder) {
    return !folder.empty() &&
           std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
               folder.end();
}

/// A folder as a request names it: relative ones in the first root that has them, empty where none
/// has.
fs::path resolveFolder(const fs::path& folder, std::span<const fs::path> roots) {
    if (folder.is_absolute()) return folder;
    std::error_code ignored;
    for (const fs::path& root : roots)
        if (fs::path candidate = root / folder; fs::is_directory(candidate, ignored))
            return candidate;
    return {};
}

/// Directories come before what follows them in the alphabet, so that all of one stand together.
std::string sortKey(std::string_view path) {
    std::string key = io::lowerCased(path);
    std::ranges::replace(key, '/', '\1');
    return key;
}

/// Collects files of several layers, of each path the first.
class Collector {
public:
    explicit Collector(const std::string& directory) : directory_(sortKey(directory)) {}

    void add(BrowsedFile file) {
        std::string key = sortKey(file.path);
        if (!isWanted(key) || known_.contains(key)) return;
        isCut_ = isCut_ || found_.size() >= kMaxBrowsedFiles;
        if (isCut_) return;
        known_.insert(key);
        found_.push_back({std::move(key), std::move(file)});
    }
    void addUnseen(const std::string& folder) {
        if (isWanted(sortKey(folder))) unseenFolders_.push_back(folder);
    }
    bool isCut() const { return isCut_; }

    BrowsedListing take() {
        std::ranges::sort(found_, {}, &Found::key);
        BrowsedListing listing{{}, std::move(unseenFolders_), isCut_};
        listing.files.reserve(found_.size());
        for (Found& each : found_) listing.files.push_back(std::move(each.file));
        return listing;
    }

private:
    struct Found {
        std::string key;
        BrowsedFile file;
    };

    bool isWanted(const std::string& key) const {
        return directory_.empty() || key.starts_with(directory_ + '\1');
    }

    std::string directory_;
    std::unordered_set<std::string> known_;
    std::vector<Found> found_;
    std::vector<std::string> unseenFolders_;
    bool isCut_ = false;
};

void collectArchive(const io::HpiArchive& archive, bool inBaseTa, Collector& collector) {
    for (ArchiveFile& file : listArchiveFiles(archive, "")) {
        const io::HpiEntry* const found = archive.findFile(file.path);
        if (!found || found->file() != file.entry) continue;  // nobody can name it
        collector.add({file.path,
                       file.entry->fileSize,
                       file.entry->compressionFlag != 0,
                       {{Kind::archive, archive.path(), file.path}, inBaseTa}});
    }
}

/// Asked of files, and of what symbolic links lead to.
using MayShow = std::function<bool(const fs::path&)>;

/// Visits the files below a folder without recursing.
class FolderWalk {
public:
    FolderWalk(const fs::path& root, bool inBaseTa, MayShow mayFollow, MayShow mayList)
        : inBaseTa_(inBaseTa), mayFollow_(std::move(mayFollow)), mayList_(std::move(mayList)) {
        pending_.push_back({root, "", 0});
    }

    void collect(Collector& collector) {
        while (!pending_.empty() && !collector.isCut()) {
            const Pending folder = std::move(pending_.back());
            pending_.pop_back();
            const fs::path place = canonicalPath(folder.path);
            for (const io::FolderEntry& entry : entriesOf(folder.path))
                visit(entry, folder, place, collector);
        }
    }

private:
    struct Pending {
        fs::path path;
        std::string prefix;
        std::size_t depth = 0;
    };

    static std::vector<io::FolderEntry> entriesOf(const fs::path& folder) {
        try {
            return io::distinctEntries(folder);
        } catch (const fs::filesystem_error& error) {
            io::rethrowOutOfMemory(error);
            return {};  // one that cannot be listed shows nothing
        }
    }

    void visit(const io::FolderEntry& listed, const Pending& folder, const fs::path& place,
               Collector& collector) {
        const auto& [name, entry] = listed;
        std::error_code ignored;
        if (entry.is_symlink(ignored) && !mayFollow(entry, place)) return;
        std::string path = folder.prefix + name;
        if (entry.is_directory(ignored)) {
            if (folder.depth < kMaxFolderNesting)
                pending_.push_back({entry.path(), path + "/", folder.depth + 1});
            else
                collector.addUnseen(path);
        } else if (entry.is_regular_file(ignored) && mayList_(entry.path())) {
            const std::uintmax_t size = entry.file_size(ignored);
            collector.add({std::move(path),
                           ignored ? 0 : size,
                           false,
                           {{Kind::loose, entry.path(), {}}, inBaseTa_}});
        }
    }

    /// Not to a folder around the link, which would have no end.
    bool mayFollow(const fs::path& link, const fs::path& place) const {
        const fs::path target = canonicalPath(link);
        return !target.empty() && !isWithin(place, target) && mayFollow_(target);
    }

    bool inBaseTa_;
    MayShow mayFollow_;
    MayShow mayList_;
    std::vector<Pending> pending_;
};

void collectLayer(const io::VfsLayer& layer, const MayShow& mayFollow, const MayShow& mayList,
                  Collector& collector) {
    const bool inBaseTa = layer.rootKind == io::DataRootKind::base;
    if (layer.kind == Kind::archive)
        collectArchive(static_cast<const io::HpiFileSystem&>(*layer.files).archive(), inBaseTa,
                       collector);
    else
        FolderWalk(layer.path, inBaseTa, mayFollow, mayList).collect(collector);
}

/// A found file's path as its layer or folder spells it.
std::string storedPath(const io::FileLocation& location, const fs::path& root) {
    if (location.kind == Kind::archive) return location.internalPath;
    return io::textFromPath(location.path.lexically_relative(root));
}

}  // namespace

bool isFolderPath(const fs::path& path, std::span<const fs::path> roots) {
    std::error_code ignored;
    return fs::is_directory(resolveFolder(path, roots), ignored);
}

BrowsedFiles::BrowsedFiles(const MountedData& data, const fs::path& folder) : data_(&data) {
    const fs::path path = resolveFolder(folder, data.roots);
    if (isOutside(path)) throw RequestError("not in a data root: " + io::textFromPath(folder));
    folder_ = std::make_shared<const Folder>(
        Folder{path, std::make_unique<io::DirectoryFileSystem>(path)});
    files_ = folder_->files.get();
}

bool BrowsedFiles::isOutside(const fs::path& file) const {
    const fs::path place = canonicalPath(file);
    return std::ranges::none_of(
        data_->roots, [&](const fs::path& root) { return isWithin(place, canonicalPath(root)); });
}

bool BrowsedFiles::isLayer(const fs::path& file) const {
    return std::ranges::any_of(data_->files.layers(), [&](const io::VfsLayer& layer) {
        return layer.kind == Kind::archive && layer.path.native() == file.native();
    });
}

BrowsedListing BrowsedFiles::list(const std::string& directory) const {
    const io::VirtualPath wanted(directory);
    if (!wanted.isPlain()) throw notFound(directory);
    std::string plain;
    for (const std::string_view component : wanted.components())
        plain.append(plain.empty() ? "" : "/").append(component);
    Collector collector(plain);
    const auto mayFollow = [&](const fs::path& target) { return !isOutside(target); };
    if (folder_)
        FolderWalk(folder_->path, false, mayFollow, [](const fs::path&) {
            return true;
        }).collect(collector);
    else
        for (const io::VfsLayer& layer : data_->files.layers())
            collectLayer(
                layer, mayFollow, [&](const fs::path& file) { return !isLayer(file); }, collector);
    BrowsedListing listing = collector.take();
    if (listing.files.empty() && listing.unseenFolders.empty() && !plain.empty())
        throw notFound(directory);
    return listing;
}

BrowsedFile BrowsedFiles::find(const std::string& path) const {
    io::FileLocation location;
    fs::path root;
    bool inBaseTa = false;
    if (isStack()) {
        const auto found = data_->files.locateInLayers(path);
        if (!found || (found->location.kind == Kind::loose && isLayer(found->location.path)))
            throw notFound(path);
        location = found->location;
        root = found->layer->path;
        inBaseTa = found->layer->rootKind == io::DataRootKind::base;
    } else {
        const auto found = files_->locate(path);
        if (!found) throw notFound(path);
        location = *found;
        root = folder_->path;
    }
    if (isOutside(location.path)) throw RequestError("not in a data root: " + path);
    return {storedPath(location, root), 0, false, {location, inBaseTa}};
}

io::Bytes BrowsedFiles::read(const BrowsedFile& file) const {
    auto bytes = files_->readFile(file.path);
    if (!bytes) throw notFound(file.path);
    return std::move(*bytes);
}

BrowsedContent BrowsedFiles::readBeginning(const BrowsedFile& file, std::size_t maxBytes) const {
    const fs::path& path = file.source.location.path;
    std::error_code error;
    const std::uintmax_t size =
        file.source.location.kind == Kind::loose ? fs::file_size(path, error) : 0;
    if (error || size <= maxBytes) {
        io::Bytes bytes = read(file);
        const std::uint64_t length = bytes.size();
        return {std::move(bytes), length};
    }
    std::ifstream stream(path, std::ios::binary);
    io::Bytes bytes(maxBytes);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(maxBytes));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return {std::move(bytes), size};
}

ExtractedFile extractFile(const BrowsedFiles& files, const std::string& path,
                          const fs::path& destination, bool overwrite) {
    const BrowsedFile file = files.find(path);
    const std::string name = file.path.substr(file.path.rfind('/') + 1);
    return writeExtracted(name, files.read(file), destination, overwrite);
}

ExtractionResult extractDirectory(const BrowsedFiles& files, const std::string& directory,
                                  const fs::path& destination, bool overwrite,
                                  const io::Progress& progress) {
    ExtractionResult result;
    const BrowsedListing listing = files.list(directory);
    const std::vector<BrowsedFile>& listed = listing.files;
    for (const std::string& folder : listing.unseenFolders)
        result.skipped.push_back({folder, "folders nest too deep"});
    if (listing.isCut) result.skipped.push_back({directory, "too many files"});
    for (std::size_t i = 0; i < listed.size(); ++i) {
        progress(listed[i].path, i, listed.size());
        try {
            const auto written =
                writeExtracted(listed[i].path, files.read(listed[i]), destination, overwrite);
            ++result.fileCount;
            result.byteSize += written.byteSize;
        } catch (const std::exception& error) {
            io::rethrowOutOfMemory(error);
            result.skipped.push_back({listed[i].path, error.what()});
        }
    }
    return result;
}

}  // namespace orb::unitview
