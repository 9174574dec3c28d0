#include "session/unit_source.h"

#include "io/path_text.h"

namespace orb::unitview {

using io::FileLocation;

RequestError sourceNotFound(const std::string& unitName) {
    return RequestError("could not locate source for " + unitName);
}

std::optional<UnitSource> findSource(const io::CompositeVirtualFileSystem& files,
                                     const std::string& path) {
    const auto found = files.locateInLayers(path);
    if (!found) return std::nullopt;
    return UnitSource{found->location, found->layer->rootKind == io::DataRootKind::base};
}

FileLocation LayerFile::location() const {
    if (auto found = layer->files->locate(path)) return *found;
    if (layer->kind == FileLocation::Kind::archive) return {layer->kind, layer->path, path};
    return {layer->kind, layer->path / io::pathFromText(path), {}};
}

std::string fileStem(const FileLocation& location) {
    if (location.kind == FileLocation::Kind::loose) return io::textFromPath(location.path.stem());
    const std::string name = location.internalPath.substr(location.internalPath.rfind('/') + 1);
    return name.substr(0, name.rfind('.'));
}

std::string locationText(const FileLocation& location) {
    std::string text = io::textFromPath(location.path);
    if (location.kind == FileLocation::Kind::archive) text += " :: " + location.internalPath;
    return text;
}

}  // namespace orb::unitview
