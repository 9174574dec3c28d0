#include "session/model_file.h"

#include <fmt/format.h>

#include "session/request_error.h"

namespace orb::unitview {

std::string_view modelFileName(const io::AbstractVirtualFileSystem& files, std::string_view name) {
    return modelFileName(name, [&](std::string_view candidate) {
        return files.locate(io::kModelFiles.path(candidate)).has_value();
    });
}

io::Model3doObject readModel(const io::AbstractVirtualFileSystem& files, std::string_view name) {
    // The error has always spelled the extension so.
    const std::string path =
        fmt::format("{}/{}.3DO", io::kModelFiles.folder, modelFileName(files, name));
    const auto file = files.readFile(path);
    if (!file) throw RequestError("3DO not found: " + path);
    return io::parse3do(*file);
}

}  // namespace orb::unitview
