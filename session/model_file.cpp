#include "session/model_file.h"

#include <fmt/format.h>

#include "session/request_error.h"

namespace orb::unitview {
namespace {

/// The error has always spelled the extension so.
std::string modelPath(const io::AbstractVirtualFileSystem& files, std::string_view name) {
    return fmt::format("{}/{}.3DO", io::kModelFiles.folder, modelFileName(files, name));
}

}  // namespace

std::string_view modelFileName(const io::AbstractVirtualFileSystem& files, std::string_view name) {
    return modelFileName(name, [&](std::string_view candidate) {
        return files.locate(io::kModelFiles.path(candidate)).has_value();
    });
}

io::Bytes readModelFile(const io::AbstractVirtualFileSystem& files, std::string_view name) {
    const std::string path = modelPath(files, name);
    auto file = files.readFile(path);
    if (!file) throw RequestError("3DO not found: " + path);
    return std::move(*file);
}

io::Model3doObject readModel(const io::AbstractVirtualFileSystem& files, std::string_view name) {
    return io::parse3do(readModelFile(files, name));
}

std::optional<UnitSource> findModelSource(const io::CompositeVirtualFileSystem& files,
                                          std::string_view name) {
    return findSource(files, modelPath(files, name));
}

}  // namespace orb::unitview
