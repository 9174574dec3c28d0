#include "authoring/mod_target.h"

#include <algorithm>
#include <span>
#include <string>

#include "authoring/mod_folder.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

using io::VfsLayer;

bool isLoose(const VfsLayer& layer) {
    return layer.kind == io::FileLocation::Kind::loose;
}

bool isNameCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           c == '-';
}

RequestError badFileName(std::string_view path) {
    return RequestError("bad file name: " + std::string(path));
}

}  // namespace

/// A root's archives lie just before its loose files.
std::span<const VfsLayer> layersOf(const MountedData& data, const VfsLayer& root) {
    const std::span<const VfsLayer> layers = data.files.layers();
    const auto last = static_cast<std::size_t>(&root - layers.data());
    std::size_t first = last;
    while (first > 0 && !isLoose(layers[first - 1])) --first;
    return layers.subspan(first, last - first + 1);
}

const VfsLayer& chooseModRoot(const MountedData& data,
                              const std::optional<std::filesystem::path>& folder) {
    if (folder) return requireModFolder(data, *folder);
    const auto layers = data.files.layers();
    const auto first = std::ranges::find_if(layers, [](const VfsLayer& layer) {
        return isLoose(layer) && layer.rootKind == io::DataRootKind::mod;
    });
    if (first == layers.end()) throw RequestError("no mod folder is mounted");
    return *first;
}

const VfsLayer* rootOf(const MountedData& data, std::string_view path) {
    const auto found = data.files.locateInLayers(path);
    if (!found) return nullptr;
    const auto layers = data.files.layers();
    const auto from = layers.begin() + (found->layer - layers.data());
    return &*std::find_if(from, layers.end(), isLoose);
}

const VfsLayer& rootOfDefinition(const MountedData& data, const io::FileLocation& definition) {
    const std::string stem = fileStem(definition);
    const VfsLayer* const root = rootOf(data, io::kUnitFiles.path(stem));
    if (!root) throw sourceNotFound(stem);
    return *root;
}

std::optional<io::FileLocation> findInRoot(const MountedData& data, const VfsLayer& root,
                                           std::string_view path) {
    for (const VfsLayer& layer : layersOf(data, root))
        if (auto found = layer.files->locate(path)) return found;
    return std::nullopt;
}

io::FileLocation placeInRoot(const MountedData& data, const VfsLayer& root, std::string_view path) {
    if (auto found = findInRoot(data, root, path)) return std::move(*found);
    const io::VirtualPath parsed(path);
    std::string plain;
    for (const std::string_view name : parsed.components()) {
        if (!io::isFileName(name)) throw badFileName(path);
        if (!plain.empty()) plain += '/';
        plain += name;
    }
    if (!parsed.isPlain()) throw badFileName(path);
    return looseFileIn(root, plain);
}

void requireNewUnitName(std::string_view name) {
    if (name.empty() || name.size() > kMaxUnitName || io::isDeviceName(name) ||
        !std::ranges::all_of(name, isNameCharacter))
        throw RequestError("bad unit name: " + std::string(name));
}

}  // namespace orb::unitview
