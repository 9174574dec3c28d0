#include "io/vfs/directory_file_system.h"

#include <fstream>

#include "io/archive/path_components.h"
#include "io/ascii.h"
#include "io/path_text.h"

namespace orb::io {
namespace fs = std::filesystem;
namespace {

/// No file of the game comes near this size; a sparse one of any size is easily made.
constexpr std::streamoff kMaxLooseFileBytes = 1 << 30;

/// Elsewhere a file is found under other spellings than the one that its folder lists.
#ifdef _WIN32
constexpr bool kNamesHaveOneSpelling = false;
#else
constexpr bool kNamesHaveOneSpelling = true;
#endif

bool isPresent(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

bool isDirectory(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool isRegularFile(const fs::directory_entry& entry) {
    std::error_code ignored;
    return entry.is_regular_file(ignored);
}

std::string nameOf(const fs::directory_entry& entry) {
    return textFromPath(entry.path().filename());
}

/// The child of `directory` that `component` names.
std::optional<fs::path> findChild(const fs::path& directory, std::string_view component) {
    const fs::path name = pathFromText(component);
    if (!isPlainComponent(component) || name.has_root_path()) return std::nullopt;
    fs::path exact = directory / name;
    if (kNamesHaveOneSpelling && isPresent(exact)) return exact;
    if (!isDirectory(directory)) return std::nullopt;
    const std::string wanted = textFromPath(name);
    std::optional<fs::path> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        if (entry.path().native() == exact.native()) return exact;
        if (!found && equalsIgnoringCase(nameOf(entry), wanted)) found = entry.path();
    }
    return found;
}

/// The content of a regular file; none when it cannot be opened or is too large.
std::optional<Bytes> readWholeFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff length = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (length < 0 || length > kMaxLooseFileBytes) return std::nullopt;
    Bytes content(static_cast<std::size_t>(length));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(content.data()), length);
    content.resize(static_cast<std::size_t>(file.gcount()));
    return content;
}

}  // namespace

std::optional<fs::path> DirectoryFileSystem::resolve(std::string_view path) const {
    std::optional<fs::path> current = root_;
    for (auto component = takePathComponent(path); current && !component.empty();
         component = takePathComponent(path))
        current = findChild(*current, component);
    return current;
}

std::optional<fs::path> DirectoryFileSystem::resolveFile(std::string_view path) const {
    std::optional<fs::path> file = resolve(path);
    std::error_code ignored;
    if (file && !fs::is_regular_file(*file, ignored)) file.reset();
    return file;
}

std::vector<fs::directory_entry> DirectoryFileSystem::entriesOf(std::string_view directory) const {
    const std::optional<fs::path> path = resolve(directory);
    if (!path || !isDirectory(*path)) return {};
    return {fs::directory_iterator(*path), fs::directory_iterator()};
}

std::optional<Bytes> DirectoryFileSystem::readFile(std::string_view path) const {
    const std::optional<fs::path> file = resolveFile(path);
    return file ? readWholeFile(*file) : std::nullopt;
}

std::vector<std::string> DirectoryFileSystem::listFiles(std::string_view directory,
                                                        std::string_view suffix) const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : entriesOf(directory)) {
        std::string name = nameOf(entry);
        if (endsWithIgnoringCase(name, suffix) && isRegularFile(entry))
            names.push_back(std::move(name));
    }
    return names;
}

std::vector<std::string> DirectoryFileSystem::listDirectories(std::string_view directory) const {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const fs::directory_entry& entry : entriesOf(directory))
        if (entry.is_directory(ignored)) names.push_back(nameOf(entry));
    return names;
}

std::optional<FileLocation> DirectoryFileSystem::locate(std::string_view path) const {
    const std::optional<fs::path> file = resolveFile(path);
    if (!file) return std::nullopt;
    return FileLocation{FileLocation::Kind::loose, *file, {}};
}

void DirectoryFileSystem::visitFiles(std::string_view directory, std::string_view suffix,
                                     const FileVisitor& visit, const FileFilter& wanted) const {
    for (const fs::directory_entry& entry : entriesOf(directory)) {
        const std::string name = nameOf(entry);
        if (!endsWithIgnoringCase(name, suffix) || !isRegularFile(entry)) continue;
        if (wanted && !wanted(name)) continue;
        std::optional<Bytes> content = readWholeFile(entry.path());
        if (content) visit(name, std::move(content), {});
    }
}

}  // namespace orb::io
