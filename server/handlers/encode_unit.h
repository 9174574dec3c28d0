#pragma once

#include <nlohmann/json_fwd.hpp>

#include "session/unit_details.h"

/// JSON forms of units.
namespace orb::unitview::ipc {

/// Every key of a definition, typed, and "buildOptions".
nlohmann::json encodeFbi(const io::FbiUnitInfo& fbi);

/// The whole "unit-loaded" payload.
nlohmann::json encodeLoadedUnit(const LoadedUnit& unit, const UnitDetails& details);

}  // namespace orb::unitview::ipc
