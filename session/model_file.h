#pragma once

#include <string_view>

#include "io/formats/model3do.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::unitview {

/// The model that a unit's or a weapon's definition names. Throws RequestError "3DO not found: …",
/// or what reading the file throws.
io::Model3doObject readModel(const io::AbstractVirtualFileSystem& files, std::string_view name);

}  // namespace orb::unitview
