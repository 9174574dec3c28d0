#pragma once

#include <nlohmann/json_fwd.hpp>

#include "authoring/unit_definition.h"
#include "server/payload.h"

/// The JSON forms of what a write of game data may do and of how it ended.
namespace orb::unitview::ipc {

/// "allowBackupCreation" and "ifVersion".
EditTerms decodeTerms(const Payload& payload);

/// "reloadError" (when the loaded unit is not loaded any more) and "editsDropped" (when the edits
/// of its model have ended), as members of `data`.
void addReload(nlohmann::json& data, const Reload& reload);

/// {"outcome", "resolvedPath", what addReload adds, "version" (when the request was bound to one)}.
nlohmann::json encodeEdit(const EditResult& edit);

}  // namespace orb::unitview::ipc
