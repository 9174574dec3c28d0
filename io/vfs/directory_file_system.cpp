#include "io/vfs/directory_file_system.h"

#include <stdexcept>

#include "io/ascii.h"
#include "io/path_text.h"
#include "io/vfs/loose_file.h"

namespace orb::io {
namespace fs = std::filesystem;
namespace {

bool isRegularFile(const fs::directory_entry& entry) {
    std::error_code ignored;
    return entry.is_regular_file(ignored);
}

}  // namespace

std::optional<fs::path> DirectoryFileSystem::resolve(const VirtualPath& path) const {
    if (!path.isPlain()) return std::nullopt;
    fs::path current = root_;
    for (const std::string_view component : path.components()) {
        const fs::path name = pathFromText(component);
        if (name.has_root_path()) return std::nullopt;
        const std::optional<std::string> stored = index_.find(current, textFromPath(name));
        if (!stored) return std::nullopt;
        current /= pathFromText(*stored);
    }
    return current;
}

std::optional<fs::path> DirectoryFileSystem::resolveFile(const VirtualPath& path) const {
    std::optional<fs::path> file = resolve(path);
    std::error_code ignored;
    if (file && !fs::is_regular_file(*file, ignored)) file.reset();
    return file;
}

std::vector<FolderEntry> DirectoryFileSystem::entriesOf(const VirtualPath& directory) const {
    const std::optional<fs::path> path = resolve(directory);
    std::error_code ignored;
    if (!path || !fs::is_directory(*path, ignored)) return {};
    return sortedEntries(*path);
}

std::optional<Bytes> DirectoryFileSystem::readFile(const VirtualPath& path) const {
    const std::optional<fs::path> file = resolveFile(path);
    return file ? readLooseFile(*file) : std::nullopt;
}

std::vector<std::string> DirectoryFileSystem::listFiles(const VirtualPath& directory,
                                                        std::string_view suffix) const {
    std::vector<std::string> names;
    for (auto& [name, entry] : entriesOf(directory))
        if (endsWithIgnoringCase(name, suffix) && isRegularFile(entry))
            names.push_back(std::move(name));
    return names;
}

std::vector<std::string> DirectoryFileSystem::listDirectories(const VirtualPath& directory) const {
    std::vector<std::string> names;
    std::error_code ignored;
    for (auto& [name, entry] : entriesOf(directory))
        if (entry.is_directory(ignored)) names.push_back(std::move(name));
    return names;
}

std::optional<FileLocation> DirectoryFileSystem::locate(const VirtualPath& path) const {
    const std::optional<fs::path> file = resolveFile(path);
    if (!file) return std::nullopt;
    return FileLocation{FileLocation::Kind::loose, *file, {}};
}

void DirectoryFileSystem::visitFiles(const VirtualPath& directory, std::string_view suffix,
                                     const FileVisitor& visit, const FileFilter& wanted) const {
    for (const auto& [name, entry] : entriesOf(directory)) {
        if (!endsWithIgnoringCase(name, suffix) || !isRegularFile(entry)) continue;
        if (wanted && !wanted(name)) continue;
        std::optional<Bytes> content;
        std::string error;
        try {
            content = readLooseFile(entry.path());
        } catch (const std::runtime_error& tooLarge) {
            error = tooLarge.what();
        }
        if (content || !error.empty()) visit(name, std::move(content), error);
    }
}

}  // namespace orb::io
