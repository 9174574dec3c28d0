#include "io/vfs/file_beginning.h"

#include "io/vfs/hpi_file_system.h"
#include "io/vfs/loose_file.h"

namespace orb::io {
namespace {

std::optional<Bytes> readInLayer(const VfsLayer& layer, const VirtualPath& path,
                                 std::size_t maxBytes) {
    if (layer.kind == FileLocation::Kind::archive) {
        const auto& archive = static_cast<const HpiFileSystem&>(*layer.files).archive();
        const HpiEntry* const entry = archive.findFile(path);
        if (!entry) return std::nullopt;
        return archive.openReader().readFile(*entry->file(), maxBytes);
    }
    const auto location = layer.files->locate(path);
    return location ? readLooseFile(location->path, maxBytes) : std::nullopt;
}

}  // namespace

std::optional<Bytes> readBeginning(const CompositeVirtualFileSystem& files, const VirtualPath& path,
                                   std::size_t maxBytes) {
    for (const VfsLayer& layer : files.layers())
        if (auto content = readInLayer(layer, path, maxBytes)) return content;
    return std::nullopt;
}

}  // namespace orb::io
