#pragma once

#include <nlohmann/json_fwd.hpp>

#include "session/unit_source.h"

/// The JSON form of where a file lies.
namespace orb::unitview::ipc {

/// {"kind", "path", "internalPath" (archives only), "inBaseTa"}.
nlohmann::json encodeSource(const UnitSource& source);

}  // namespace orb::unitview::ipc
