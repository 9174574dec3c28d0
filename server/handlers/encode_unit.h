#pragma once

#include <span>

#include <nlohmann/json_fwd.hpp>

#include "session/unit_details.h"

/// JSON forms of units.
namespace orb::unitview::ipc {

/// Every key of a definition, typed, and "buildOptions".
nlohmann::json encodeFbi(const io::FbiUnitInfo& fbi);

/// [{"unit", "menu"?, "button"?, "source"}].
nlohmann::json encodeBuildMenu(std::span<const BuildMenuEntry> menu);

/// The whole "unit-loaded" payload of a request that asks for no more.
nlohmann::json encodeLoadedUnit(const LoadedUnit& unit, const UnitDetails& details);

}  // namespace orb::unitview::ipc
