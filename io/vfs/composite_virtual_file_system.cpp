#include "io/vfs/composite_virtual_file_system.h"

#include <unordered_set>
#include <utility>

#include "io/ascii.h"
#include "io/vfs/hpi_file_system.h"

namespace orb::io {
namespace {

/// Concatenates the names that `list` gives for each layer, keeping each spelling's first.
template <typename List>
std::vector<std::string> listDistinct(std::span<const VfsLayer> layers, List list) {
    std::vector<std::string> names;
    std::unordered_set<std::string> seen;
    for (const VfsLayer& layer : layers)
        for (std::string& name : list(*layer.files))
            if (seen.insert(name).second) names.push_back(std::move(name));
    return names;
}

bool isSameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
    std::error_code ignored;
    return a == b || std::filesystem::equivalent(a, b, ignored);
}

}  // namespace

std::vector<const VfsLayer*> CompositeVirtualFileSystem::reopenArchive(
    const std::filesystem::path& archive) {
    std::vector<const VfsLayer*> reopened;
    for (VfsLayer& layer : layers_) {
        if (layer.kind != FileLocation::Kind::archive || !isSameFile(layer.path, archive)) continue;
        layer.files = std::make_unique<HpiFileSystem>(layer.path);
        reopened.push_back(&layer);
    }
    return reopened;
}

std::optional<Bytes> CompositeVirtualFileSystem::readFile(const VirtualPath& path) const {
    for (const VfsLayer& layer : layers_)
        if (std::optional<Bytes> content = layer.files->readFile(path)) return content;
    return std::nullopt;
}

std::vector<std::string> CompositeVirtualFileSystem::listFiles(const VirtualPath& directory,
                                                               std::string_view suffix) const {
    return listDistinct(layers_, [&](const AbstractVirtualFileSystem& files) {
        return files.listFiles(directory, suffix);
    });
}

std::vector<std::string> CompositeVirtualFileSystem::listDirectories(
    const VirtualPath& directory) const {
    return listDistinct(layers_, [&](const AbstractVirtualFileSystem& files) {
        return files.listDirectories(directory);
    });
}

std::optional<FileLocation> CompositeVirtualFileSystem::locate(const VirtualPath& path) const {
    std::optional<LayeredLocation> found = locateInLayers(path);
    if (!found) return std::nullopt;
    return std::move(found->location);
}

std::optional<LayeredLocation> CompositeVirtualFileSystem::locateInLayers(
    const VirtualPath& path) const {
    for (const VfsLayer& layer : layers_)
        if (auto location = layer.files->locate(path))
            return LayeredLocation{std::move(*location), &layer};
    return std::nullopt;
}

std::vector<LayeredLocation> CompositeVirtualFileSystem::locateAll(const VirtualPath& path) const {
    std::vector<LayeredLocation> found;
    for (const VfsLayer& layer : layers_)
        if (auto location = layer.files->locate(path))
            found.push_back({std::move(*location), &layer});
    return found;
}

void CompositeVirtualFileSystem::visitFiles(const VirtualPath& directory, std::string_view suffix,
                                            const FileVisitor& visit,
                                            const FileFilter& wanted) const {
    // Folded names of the layers above: a layer itself may hold spellings that differ in case only.
    std::unordered_set<std::string> shadowed;
    for (const VfsLayer& layer : layers_) {
        std::vector<std::string> visited;
        layer.files->forEachFile(
            directory, suffix,
            [&](std::string_view name, std::optional<Bytes> content, std::string_view error) {
                visited.push_back(lowerCased(name));
                visit(name, std::move(content), error);
            },
            [&](std::string_view name) {
                return !shadowed.contains(lowerCased(name)) && (!wanted || wanted(name));
            });
        shadowed.insert(visited.begin(), visited.end());
    }
}

}  // namespace orb::io
