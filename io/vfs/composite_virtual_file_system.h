#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/vfs/virtual_file_system.h"

namespace orb::io {

enum class DataRootKind { mod, base, maps };

/// One archive or one loose directory of the stack.
struct VfsLayer {
    std::unique_ptr<const AbstractVirtualFileSystem> files;
    FileLocation::Kind kind = FileLocation::Kind::loose;
    /// The archive, or the directory of the loose files (which is then the root itself).
    std::filesystem::path path;
    /// Of the data root that the layer belongs to.
    DataRootKind rootKind = DataRootKind::base;
};

/// A file found in one layer of a stack; the layer lives as long as the stack.
struct LayeredLocation {
    FileLocation location;
    const VfsLayer* layer = nullptr;
};

/// A stack of layers that shows, of each file, the one in the first layer that has it.
class CompositeVirtualFileSystem : public AbstractVirtualFileSystem {
public:
    /// Puts a layer below all present ones. Not while LayeredLocations are in use.
    void append(VfsLayer layer) { layers_.push_back(std::move(layer)); }
    /// The layers, the one that is asked first in front.
    std::span<const VfsLayer> layers() const { return layers_; }

    /// Replaces the file systems of all layers of an archive, and returns these layers. They stay
    /// in place: pointers to them hold. Throws what opening the archive throws.
    std::vector<const VfsLayer*> reopenArchive(const std::filesystem::path& archive);

    std::optional<Bytes> readFile(const VirtualPath& path) const override;
    /// Names of all layers, each spelling once, in the order of the layers.
    std::vector<std::string> listFiles(const VirtualPath& directory,
                                       std::string_view suffix) const override;
    std::vector<std::string> listDirectories(const VirtualPath& directory) const override;
    std::optional<FileLocation> locate(const VirtualPath& path) const override;

    /// The file that `readFile(path)` reads, with its layer.
    std::optional<LayeredLocation> locateInLayers(const VirtualPath& path) const;
    /// The file of every layer that has it, the winner in front.
    std::vector<LayeredLocation> locateAll(const VirtualPath& path) const;

private:
    /// Visits the winning files only; what they shadow is not read.
    void visitFiles(const VirtualPath& directory, std::string_view suffix, const FileVisitor& visit,
                    const FileFilter& wanted) const override;

    std::vector<VfsLayer> layers_;
};

}  // namespace orb::io
