#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "io/vfs/folder_index.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::io {

/// The loose files below one directory, listed by name in byte order. A component is taken in its
/// exact spelling where that exists, else as the preferred one that matches in any case. Only
/// regular files are ever opened; an entry whose status cannot be told counts as absent. A
/// directory that cannot be listed raises std::filesystem::filesystem_error.
class DirectoryFileSystem : public AbstractVirtualFileSystem {
public:
    explicit DirectoryFileSystem(std::filesystem::path root) : root_(std::move(root)) {}

    std::optional<Bytes> readFile(const VirtualPath& path) const override;
    std::vector<std::string> listFiles(const VirtualPath& directory,
                                       std::string_view suffix) const override;
    std::vector<std::string> listDirectories(const VirtualPath& directory) const override;
    std::optional<FileLocation> locate(const VirtualPath& path) const override;

private:
    void visitFiles(const VirtualPath& directory, std::string_view suffix, const FileVisitor& visit,
                    const FileFilter& wanted) const override;
    std::optional<std::filesystem::path> resolve(const VirtualPath& path) const;
    std::optional<std::filesystem::path> resolveFile(const VirtualPath& path) const;
    std::vector<FolderEntry> entriesOf(const VirtualPath& directory) const;

    std::filesystem::path root_;
    mutable FolderIndex index_;
};

}  // namespace orb::io
