#pragma once

#include <span>

#include <nlohmann/json_fwd.hpp>

#include "session/unit_view_session.h"

/// JSON forms that replies about units share.
namespace orb::unitview::ipc {

/// {"kind", "path", "internalPath" (archives only), "inBaseTa"}.
nlohmann::json encodeSource(const UnitSource& source);

/// Every key of a definition, typed, and "buildOptions".
nlohmann::json encodeFbi(const io::FbiUnitInfo& fbi);

/// [{"unit", "menu"?, "button"?, "source"}].
nlohmann::json encodeBuildMenu(std::span<const BuildMenuEntry> menu);

/// The whole "unit-loaded" payload of a request that asks for no more.
nlohmann::json encodeLoadedUnit(const LoadedUnit& unit, const MountedData& data);

}  // namespace orb::unitview::ipc
