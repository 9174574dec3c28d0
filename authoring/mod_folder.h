#pragma once

#include <filesystem>
#include <string_view>

#include "session/mounted_data.h"

namespace orb::unitview {

/// The loose files of a mod root by its folder, however that is spelled. Throws RequestError "not a
/// mounted mod folder: …".
const io::VfsLayer& requireModFolder(const MountedData& data, const std::filesystem::path& folder);

/// With its links followed as far as it exists.
std::filesystem::path resolved(const std::filesystem::path& path);

/// True for the folder itself too, however both are spelled.
bool liesIn(const std::filesystem::path& path, const std::filesystem::path& folder);

/// Where a loose file with this virtual path belongs below a root: in folders that are there in any
/// case, and in place of a file that is.
io::FileLocation looseFileIn(const io::VfsLayer& root, std::string_view path);

}  // namespace orb::unitview
