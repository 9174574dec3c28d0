#include "model/model_files.h"

#include <fmt/format.h>

namespace orb::unitview {

std::string_view modelFileName(const io::CompositeVirtualFileSystem& files, std::string_view name) {
    return modelFileName(name, [&](std::string_view candidate) {
        const auto path = fmt::format("{}/{}{}", kModelDirectory, candidate, kModelSuffix);
        return files.locate(path).has_value();
    });
}

}  // namespace orb::unitview
