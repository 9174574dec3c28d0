#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "io/archive/hpi_archive.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::io {

/// The files of one archive, listed in the archive's own order.
class HpiFileSystem : public AbstractVirtualFileSystem {
public:
    /// Throws what opening an HpiArchive throws.
    explicit HpiFileSystem(std::filesystem::path archive) : archive_(std::move(archive)) {}

    const HpiArchive& archive() const { return archive_; }

    std::optional<Bytes> readFile(const VirtualPath& path) const override;
    std::vector<std::string> listFiles(const VirtualPath& directory,
                                       std::string_view suffix) const override;
    std::vector<std::string> listDirectories(const VirtualPath& directory) const override;
    std::optional<FileLocation> locate(const VirtualPath& path) const override;

private:
    void visitFiles(const VirtualPath& directory, std::string_view suffix, const FileVisitor& visit,
                    const FileFilter& wanted) const override;

    HpiArchive archive_;
};

}  // namespace orb::io
