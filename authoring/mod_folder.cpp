#include "authoring/mod_folder.h"

#include <algorithm>

#include "io/ascii.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

bool isSameFolder(const fs::path& a, const fs::path& b) {
    std::error_code error;
    return fs::equivalent(io::withoutEndSlash(a), io::withoutEndSlash(b), error) && !error;
}

}  // namespace

const io::VfsLayer& requireModFolder(const MountedData& data, const fs::path& folder) {
    const auto layers = data.files.layers();
    const auto found = std::ranges::find_if(layers, [&](const io::VfsLayer& layer) {
        return layer.kind == io::FileLocation::Kind::loose &&
               layer.rootKind == io::DataRootKind::mod && isSameFolder(layer.path, folder);
    });
    if (found == layers.end())
        throw RequestError("not a mounted mod folder: " + io::textFromPath(folder));
    return *found;
}

fs::path resolved(const fs::path& path) {
    std::error_code error;
    fs::path result = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : result;
}

bool liesIn(const fs::path& path, const fs::path& folder) {
    const fs::path inner = resolved(path), outer = resolved(folder);
    // A separator at the end would count as a component.
    const auto end = outer.has_filename() ? outer.end() : std::prev(outer.end());
    return std::mismatch(outer.begin(), end, inner.begin(), inner.end()).first == end;
}

io::FileLocation looseFileIn(const io::VfsLayer& root, std::string_view path) {
    if (auto existing = root.files->locate(path)) return *existing;
    fs::path target = root.path;
    std::string folder;
    for (auto slash = path.find('/'); slash != std::string_view::npos; slash = path.find('/')) {
        const std::string_view wanted = path.substr(0, slash);
        const std::vector<std::string> there = root.files->listDirectories(folder);
        const auto known = std::ranges::find_if(
            there, [&](const std::string& name) { return io::equalsIgnoringCase(name, wanted); });
        const std::string name = known == there.end() ? std::string(wanted) : *known;
        target /= io::pathFromText(name);
        folder += name + "/";
        path.remove_prefix(slash + 1);
    }
    return {io::FileLocation::Kind::loose, target / io::pathFromText(path), {}};
}

}  // namespace orb::unitview
