#pragma once

#include <filesystem>
#include <string_view>

namespace orb::unitview {

/// Gives a file new contents by way of a temporary sibling, so that it is never half written.
/// Throws std::runtime_error "open for write: " or "write failed: " and the path.
void replaceFile(const std::filesystem::path& path, std::string_view contents);

}  // namespace orb::unitview
