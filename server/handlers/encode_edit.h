#pragma once

#include <nlohmann/json_fwd.hpp>

#include "authoring/unit_definition.h"

/// The JSON form of how a write of game data ended.
namespace orb::unitview::ipc {

/// {"outcome", "resolvedPath", "reloadError" (when the loaded unit is not loaded any more)}.
nlohmann::json encodeEdit(const EditResult& edit);

}  // namespace orb::unitview::ipc
