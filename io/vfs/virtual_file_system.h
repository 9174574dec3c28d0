#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "io/byte_cursor.h"
#include "io/virtual_path.h"

namespace orb::io {

/// Where a virtual file's bytes live on disk.
struct FileLocation {
    enum class Kind { loose, archive };
    Kind kind = Kind::loose;
    /// The loose file's own path, or the path of the archive that holds the entry.
    std::filesystem::path path;
    /// Inside an archive: the entry's path as stored, "/" separated. Empty for a loose file.
    std::string internalPath;
};

/// Told of one file: its content, or none and the text of the error when its data are damaged.
using FileVisitor = std::function<void(std::string_view name, std::optional<Bytes> content,
                                       std::string_view error)>;
/// Asked by name whether a file is to be read; an empty one wants all.
using FileFilter = std::function<bool(std::string_view name)>;

/// A read-only tree of files. Names match in any case.
class AbstractVirtualFileSystem {
public:
    virtual ~AbstractVirtualFileSystem() = default;

    /// The whole content of one file, or none when this file system has no such file. Damaged
    /// archive data throws the archive reader's std::runtime_error, and a loose file beyond all
    /// measure "file too large: …".
    virtual std::optional<Bytes> readFile(const VirtualPath& path) const = 0;

    /// Names (last component, case as stored) of the regular files directly in `directory` whose
    /// name ends with `suffix` in any case; an empty suffix matches all.
    virtual std::vector<std::string> listFiles(const VirtualPath& directory,
                                               std::string_view suffix) const = 0;

    /// Names of the sub-directories directly in `directory`.
    virtual std::vector<std::string> listDirectories(const VirtualPath& directory) const = 0;

    /// Where `readFile(path)` would read from, without reading it; none when there is no such file.
    virtual std::optional<FileLocation> locate(const VirtualPath& path) const = 0;

    /// Reads all the files that `listFiles` would list and `wanted` lets pass, each as `readFile`
    /// would, but without resolving every path and opening every archive anew. A damaged file does
    /// not end the walk; what `visit` throws does.
    void forEachFile(const VirtualPath& directory, std::string_view suffix,
                     const FileVisitor& visit, const FileFilter& wanted = {}) const {
        visitFiles(directory, suffix, visit, wanted);
    }

private:
    virtual void visitFiles(const VirtualPath& directory, std::string_view suffix,
                            const FileVisitor& visit, const FileFilter& wanted) const = 0;
};

}  // namespace orb::io
