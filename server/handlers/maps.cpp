#include <algorithm>

#include "server/handlers/decode_order.h"
#include "server/handlers/encode_map.h"
#include "server/handlers/handlers.h"
#include "session/map_play.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

constexpr std::int64_t kMaxSpawnCount = 1'000;
constexpr std::int64_t kMaxThreads = 16;

/// A map-spawn request: of a unit, else of a feature.
struct Spawn {
    UnitSpawn unit;
    FeatureSpawn feature;
    /// What the units are told to do.
    std::optional<MapOrder> order;
};

Spawn decodeSpawn(const Members& payload) {
    Spawn spawn;
    UnitSpawn& unit = spawn.unit;
    unit.unit = payload.text("unit").value_or("");
    spawn.feature.feature = payload.text("feature").value_or("");
    const auto x = payload.number("x"), z = payload.number("z");
    unit.player = static_cast<std::int32_t>(
        std::clamp<std::int64_t>(payload.whole("player").value_or(1), 1, sim::kPlayerCount));
    unit.headingRadians = payload.number("heading").value_or(0);
    unit.count = static_cast<std::size_t>(
        std::clamp<std::int64_t>(payload.whole("count").value_or(1), 1, kMaxSpawnCount));
    unit.buildFraction = std::clamp(payload.number("buildFraction").value_or(1), 0.0, 1.0);
    unit.healthPercent =
        static_cast<float>(std::clamp(payload.number("health").value_or(100), 1.0, 100.0));
    unit.isActive = payload.flag("active");
    unit.isForced = spawn.feature.isForced = payload.flag("force").value_or(false);
    std::optional<OrderMembers> order;
    if (const auto members = payload.object("order")) order = decodeOrderMembers(*members);

    if (unit.unit.empty() && spawn.feature.feature.empty())
        throw RequestError("unit name is required");
    if (!unit.unit.empty() && !spawn.feature.feature.empty())
        throw RequestError("unit or feature, not both");
    if (!x || !z) throw RequestError("x and z are required");
    if (order) spawn.order = orderOfMembers(std::move(*order));
    unit.x = spawn.feature.x = *x;
    unit.z = spawn.feature.z = *z;
    return spawn;
}

json encodeSpawnedUnits(const SpawnedUnits& spawned) {
    return {{"unitIds", spawned.ids},           {"refused", spawned.refused},
            {"unitName", spawned.unitName},     {"x", spawned.place.x.toNumber()},
            {"y", spawned.altitude.toNumber()}, {"z", spawned.place.z.toNumber()}};
}

/// Gives them the order; who does not take it is told.
void addRefused(json& data, LoadedMap& map, const SpawnedUnits& spawned,
                const sim::OrderRequest& order) {
    const std::vector<std::int64_t> ids(spawned.ids.begin(), spawned.ids.end());
    json refused = encodeRefused(ids, giveOrder(map, ids, order), order);
    if (!refused.empty()) data["orderRefused"] = std::move(refused);
}

json encodeSpawnedFeature(const sim::Feature& feature) {
    return {{"featureId", feature.id},
            {"x", feature.place.x.toNumber()},
            {"y", feature.altitude.toNumber()},
            {"z", feature.place.z.toNumber()}};
}

/// What a snapshot asks for.
struct SnapshotRequest {
    std::optional<std::vector<std::int64_t>> unitIds;
    std::optional<std::int32_t> player;
    bool withPieces = false;
    /// Pieces of those units only whose pose changed after this tick.
    std::optional<std::int64_t> since;
    bool withFeatures = false;
};

SnapshotRequest decodeSnapshot(const Members& members) {
    SnapshotRequest request;
    request.unitIds = decodeIds(members, "unitIds");
    request.withPieces = members.flag("pieces").value_or(false);
    request.since = members.whole("since");
    request.withFeatures = members.flag("features").value_or(false);
    request.player = decodePlayer(members);
    if (request.unitIds) std::ranges::sort(*request.unitIds);
    return request;
}

bool isAskedFor(const SnapshotRequest& request, const sim::World& world, const sim::Unit& unit) {
    if (request.unitIds && !std::ranges::binary_search(*request.unitIds, std::int64_t{unit.id}))
        return false;
    return !request.player || world.isSeenBy(unit, *request.player);
}

/// What came onto the map after it was loaded, and what left it.
json encodeFeatureChanges(const LoadedMap& map) {
    json added = json::array();
    for (const sim::Feature& feature : map.world.features().all())
        if (feature.id > map.ownFeatureCount) added.push_back(encodeMapFeature(feature));
    json changes = {{"added", std::move(added)}, {"removed", map.world.features().removed()}};
    json burning = json::array();
    for (const sim::Fire& fire : map.world.fires()) burning.push_back(fire.feature);
    if (!burning.empty()) changes["burning"] = std::move(burning);
    return changes;
}

}  // namespace

Reply mapList(UnitViewSession& session, const Payload&) {
    json maps = json::array();
    for (const MapEntry& entry : listMaps(session.data().files))
        maps.push_back(encodeMapEntry(entry));
    return {{{"maps", std::move(maps)}}};
}

Reply mapLoad(UnitViewSession& session, const Payload& payload) {
    const Members members(payload);
    MapRequest request;
    request.name = members.text("name").value_or("");
    request.schema = members.whole("schema");
    request.placesUnits = members.flag("placeUnits").value_or(true);
    request.seed = static_cast<std::uint64_t>(members.whole("seed").value_or(1));
    if (const auto threads = members.whole("threads"))
        request.threads =
            static_cast<std::size_t>(std::clamp<std::int64_t>(*threads, 1, kMaxThreads));
    return {encodeLoadedMap(session.loadMap(request, payload.progress()))};
}

Reply mapExit(UnitViewSession& session, const Payload&) {
    return {{{"wasLoaded", session.exitMap()}}};
}

Reply mapSpawn(UnitViewSession& session, const Payload& payload) {
    const Spawn spawn = decodeSpawn(Members(payload));
    return {session.changeMap([&](LoadedMap& map) {
        if (spawn.unit.unit.empty())
            return encodeSpawnedFeature(spawnFeature(map, session.data(), spawn.feature));
        std::optional<sim::OrderRequest> order;
        if (spawn.order) {
            order = preparedOrder(map, session.data(), *spawn.order);
            requireScript(*typeToSpawn(map, session.data(), spawn.unit), *order);
        }
        const SpawnedUnits spawned = spawnUnits(map, session.data(), spawn.unit);
        json data = encodeSpawnedUnits(spawned);
        if (order) addRefused(data, map, spawned, *order);
        return data;
    })};
}

Reply mapSnapshot(UnitViewSession& session, const Payload& payload) {
    const SnapshotRequest request = decodeSnapshot(Members(payload));
    const LoadedMap& map = session.requireMap();
    const sim::World& world = map.world;
    const auto isPoseAskedFor = [&](const sim::Unit& unit) {
        return request.withPieces &&
               (!request.since || world.scripts().poseTick(unit) > *request.since);
    };
    json units = json::array();
    for (const sim::Unit& unit : world.units())
        if (isAskedFor(request, world, unit))
            units.push_back(encodeMapUnit(world, unit, isPoseAskedFor(unit)));
    json data = {{"tick", world.tick()},
                 {"units", std::move(units)},
                 {"projectiles", encodeProjectiles(world)}};
    if (request.player) data["contacts"] = encodeContacts(world, *request.player);
    if (request.withFeatures) data["features"] = encodeFeatureChanges(map);
    return {std::move(data)};
}

Reply mapFeatures(UnitViewSession& session, const Payload&) {
    const sim::World& world = session.requireMap().world;
    json types = json::array(), features = json::array();
    for (const sim::FeatureType& type : world.featureTypes())
        types.push_back(encodeFeatureType(type));
    for (const sim::Feature& feature : world.features().all())
        features.push_back(encodeMapFeature(feature));
    return {{{"types", std::move(types)}, {"features", std::move(features)}}};
}

}  // namespace orb::unitview::ipc::handlers
