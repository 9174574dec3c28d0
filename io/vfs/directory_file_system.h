#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "io/vfs/virtual_file_system.h"

namespace orb::io {

/// The loose files below one directory. A component is taken in its exact spelling where that
/// exists, else as the first entry that matches in any case. Only regular files are ever opened;
/// an entry whose status cannot be told counts as absent. A directory that cannot be listed raises
/// std::filesystem::filesystem_error.
class DirectoryFileSystem : public AbstractVirtualFileSystem {
public:
    explicit DirectoryFileSystem(std::filesystem::path root) : root_(std::move(root)) {}

    std::optional<Bytes> readFile(std::string_view path) const override;
    std::vector<std::string> listFiles(std::string_view directory,
                                       std::string_view suffix) const override;
    std::vector<std::string> listDirectories(std::string_view directory) const override;
    std::optional<FileLocation> locate(std::string_view path) const override;

private:
    void visitFiles(std::string_view directory, std::string_view suffix, const FileVisitor& visit,
                    const FileFilter& wanted) const override;
    std::optional<std::filesystem::path> resolve(std::string_view path) const;
    std::optional<std::filesystem::path> resolveFile(std::string_view path) const;
    std::vector<std::filesystem::directory_entry> entriesOf(std::string_view directory) const;

    std::filesystem::path root_;
};

}  // namespace orb::io
