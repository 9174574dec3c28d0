#include "session/unit_source.h"

#include "io/path_text.h"

namespace orb::unitview {

using io::FileLocation;

std::optional<UnitSource> findSource(const io::CompositeVirtualFileSystem& files,
                                     const std::string& path) {
    const auto found = files.locateInLayers(path);
    if (!found) return std::nullopt;
    return UnitSource{found->location, found->layer->rootKind == io::DataRootKind::base};
}

FileLocation LayerFile::location() const {
    if (auto found = layer->files->locate(path)) return *found;
    if (layer->kind == FileLocation::Kind::archive) return {layer->kind, layer->path, path};
    return {layer->kind, layer->path / path, {}};
}

std::string fileStem(const FileLocation& location) {
    const bool isLoose = location.kind == FileLocation::Kind::loose;
    return (isLoose ? location.path : std::filesystem::path(location.internalPath)).stem().string();
}

std::string locationText(const FileLocation& location) {
    std::string text = io::textFromPath(location.path);
    if (location.kind == FileLocation::Kind::archive) text += " :: " + location.internalPath;
    return text;
}

}  // namespace orb::unitview
