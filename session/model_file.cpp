#include "session/model_file.h"

#include <fmt/format.h>

#include "io/game_paths.h"
#include "session/request_error.h"

namespace orb::unitview {

io::Model3doObject readModel(const io::AbstractVirtualFileSystem& files, std::string_view name) {
    // The error has always spelled the extension so.
    const std::string path = fmt::format("{}/{}.3DO", io::kModelFiles.folder, name);
    const auto file = files.readFile(path);
    if (!file) throw RequestError("3DO not found: " + path);
    return io::parse3do(*file);
}

}  // namespace orb::unitview
