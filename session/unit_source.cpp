#include "session/unit_source.h"

#include "io/path_text.h"

namespace orb::unitview {

using io::FileLocation;

FileLocation LayerFile::location() const {
    if (auto found = layer->files->locate(path)) return *found;
    if (layer->kind == FileLocation::Kind::archive) return {layer->kind, layer->path, path};
    return {layer->kind, layer->path / path, {}};
}

std::string locationText(const FileLocation& location) {
    std::string text = io::textFromPath(location.path);
    if (location.kind == FileLocation::Kind::archive) text += " :: " + location.internalPath;
    return text;
}

}  // namespace orb::unitview
