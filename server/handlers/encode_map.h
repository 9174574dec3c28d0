#pragma once

#include <nlohmann/json_fwd.hpp>

#include "session/loaded_map.h"

/// JSON forms of maps and what stands on them.
namespace orb::unitview::ipc {

/// One map of "map-list".
nlohmann::json encodeMapEntry(const MapEntry& entry);

/// The "map-load" payload.
nlohmann::json encodeLoadedMap(const LoadedMap& map);

/// One unit of a snapshot; with the poses of its pieces when asked for.
nlohmann::json encodeMapUnit(const sim::World& world, const sim::Unit& unit, bool withPieces);

/// Units that a player has on radar or sonar and does not see.
nlohmann::json encodeContacts(const sim::World& world, std::int32_t player);

/// What flies.
nlohmann::json encodeProjectiles(const sim::World& world);

/// [id, type, x, y, z], and its heading where that is not 0.
nlohmann::json encodeMapFeature(const sim::Feature& feature);

nlohmann::json encodeFeatureType(const sim::FeatureType& type);

}  // namespace orb::unitview::ipc
