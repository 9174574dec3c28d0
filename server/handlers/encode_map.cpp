#include "server/handlers/encode_map.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>

#include <nlohmann/json.hpp>

#include "server/handlers/encode_cob.h"
#include "server/handlers/encode_source.h"
#include "server/handlers/json_numbers.h"
#include "server/handlers/order_words.h"
#include "sim/cargo/landing_pads.h"
#include "sim/fight/weapons.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

json encodeStartPositions(const std::vector<io::OtaStartPosition>& positions) {
    json result = json::array();
    for (const auto& [player, x, z] : positions)
        result.push_back({{"player", player}, {"x", x}, {"z", z}});
    return result;
}

std::string_view listWord(MapList list) {
    static constexpr std::array<std::string_view, 4> kWords = {"schemas", "startPositions",
                                                               "features", "units"};
    return kWords.at(static_cast<std::size_t>(list));
}

json encodeCut(const std::vector<CutList>& cut) {
    json result = json::array();
    for (const auto& [list, given, kept] : cut)
        result.push_back({{"what", listWord(list)}, {"given", given}, {"kept", kept}});
    return result;
}

/// Nothing moves the pieces of a unit that stands.
json encodePiecesAtRest(const std::vector<std::string>& pieces) {
    json result = json::array();
    for (const std::string& piece : pieces)
        result.push_back({{"piece", piece},
                          {"tx", 0.0},
                          {"ty", 0.0},
                          {"tz", 0.0},
                          {"rx", 0.0},
                          {"ry", 0.0},
                          {"rz", 0.0},
                          {"visible", true}});
    return result;
}

std::string_view wordOf(sim::WeaponActivity activity) {
    static constexpr std::array<std::string_view, 5> kWords = {"idle", "aiming", "aimed",
                                                               "reloading", "firing"};
    return kWords.at(static_cast<std::size_t>(activity));
}

json encodeWeapons(const sim::World& world, const sim::Unit& unit) {
    json result = json::array();
    for (const int slot : unit.type->weaponSlots) {
        const sim::WeaponState& weapon = unit.weapons.at(static_cast<std::size_t>(slot));
        const sim::Tick left = std::max(0, weapon.readyAt - world.tick());
        json data = {{"slot", slot},
                     {"state", wordOf(sim::activityOf(weapon, world.tick()))},
                     {"reload", static_cast<double>(left) / sim::kTicksPerSecond},
                     {"stock", weapon.stockpile.shots}};
        if (const sim::Unit* const target = world.units().find(weapon.target))
            data["target"] = target->id;
        result.push_back(std::move(data));
    }
    return result;
}

/// Where the spray of a unit that builds comes from.
json encodeNano(const sim::World& world, const sim::Unit& unit) {
    const std::int32_t piece = unit.labour.nanoPiece;
    const sim::Vector place = world.pieceOf(unit, piece);
    json data = {{"x", place.x.toNumber()}, {"y", place.y.toNumber()}, {"z", place.z.toNumber()}};
    if (static_cast<std::size_t>(piece) < unit.type->pieces.size())
        data["piece"] = unit.type->pieces[static_cast<std::size_t>(piece)];
    return data;
}

/// Whom it rides on, and where: without a piece it is inside, out of sight.
void encodeRide(const sim::World& world, const sim::Perch& ride, json& data) {
    data["carrier"] = ride.owner.slot + 1;
    const sim::Unit* const carrier = world.units().find(ride.owner);
    const auto piece = static_cast<std::size_t>(ride.piece);
    if (carrier && ride.piece >= 0 && piece < carrier->type->pieces.size())
        data["carrierPiece"] = carrier->type->pieces[piece];
}

std::optional<sim::Perch> rideOf(const sim::World& world, const sim::Unit& unit) {
    if (unit.carrier) return sim::Perch{unit.carrier, unit.carrierPiece};
    if (unit.flight.stage != sim::FlightStage::perched) return std::nullopt;
    return sim::perchOf(world.units(), unit);
}

json encodeCargo(const sim::Unit& unit) {
    json ids = json::array();
    for (const sim::UnitRef aboard : unit.hold.cargo) ids.push_back(aboard.slot + 1);
    return ids;
}

std::string_view workWord(sim::OrderKind kind) {
    if (kind == sim::OrderKind::reclaim) return "reclaiming";
    return kind == sim::OrderKind::capture ? "capturing" : "building";
}

/// What it was told, behind what it does by itself.
std::span<const sim::Order> givenOrders(const sim::Unit& unit) {
    const auto isGiven = [](const sim::Order& order) {
        return order.source == sim::OrderSource::given;
    };
    return {std::ranges::find_if(unit.orders, isGiven), unit.orders.end()};
}

std::string_view stateWord(const sim::Unit& unit) {
    if (!unit.isBuilt()) return "nanoframe";
    if (unit.carrier) return "carried";
    bool goes = unit.motion.speed != sim::Fixed();
    if (!unit.orders.empty()) {
        const sim::OrderKind kind = unit.orders.front().kind;
        goes = goes || kind == sim::OrderKind::move || kind == sim::OrderKind::patrol;
        if (kind == sim::OrderKind::attack || kind == sim::OrderKind::fire) return "attacking";
        if (unit.labour.hasStarted || unit.labour.isOpen) return workWord(kind);
        if (unit.hold.handled) return "loading";
    }
    return goes ? "moving" : "idle";
}

}  // namespace

json encodeMapEntry(const MapEntry& entry) {
    json result = {{"name", entry.name},
                   {"title", entry.title},
                   {"description", entry.description},
                   {"size", entry.size},
                   {"players", entry.players},
                   {"planet", entry.planet},
                   {"schemas", entry.schemas},
                   {"hasTerrain", entry.hasTerrain},
                   {"hasDescription", entry.hasDescription},
                   {"source", encodeSource(entry.source)}};
    if (entry.cells) {
        result["cellsX"] = entry.cells->width;
        result["cellsZ"] = entry.cells->height;
    }
    return result;
}

json encodeLoadedMap(const LoadedMap& map) {
    const sim::World& world = map.world;
    const sim::Terrain& terrain = world.terrain();
    const auto [lowest, highest] = terrain.heightRange();
    const sim::Conditions& conditions = world.conditions();
    json result = {{"name", map.name},
                   {"title", map.title},
                   {"schema", map.schema},
                   {"schemas", map.schemas},
                   {"width", terrain.cellsX() * sim::kCellPixels},
                   {"height", terrain.cellsZ() * sim::kCellPixels},
                   {"cellsX", terrain.cellsX()},
                   {"cellsZ", terrain.cellsZ()},
                   {"cellSize", sim::kCellPixels},
                   {"seaLevel", terrain.seaLevel()},
                   {"minHeight", lowest},
                   {"maxHeight", highest},
                   {"lavaWorld", conditions.isLavaWorld},
                   {"gravity", shortestDouble(conditions.gravity)},
                   {"minWind", conditions.minWind},
                   {"maxWind", conditions.maxWind},
                   {"tidal", conditions.tidalStrength},
                   {"surfaceMetal", conditions.surfaceMetal},
                   {"startPositions", encodeStartPositions(map.startPositions)},
                   {"featureCount", world.features().all().size()},
                   {"missingFeatures", map.missingFeatures},
                   {"unitCount", world.units().count()},
                   {"missingUnits", map.missingUnits},
                   {"hasMinimap", !map.picture.minimap.pixels.empty()},
                   {"tick", world.tick()}};
    if (!map.cut.empty()) result["cut"] = encodeCut(map.cut);
    return result;
}

json encodeMapUnit(const sim::World& world, const sim::Unit& unit, bool withPieces) {
    const std::span<const sim::Order> orders = givenOrders(unit);
    json result = {{"unitId", unit.id},
                   {"unitName", unit.type->name},
                   {"player", unit.player},
                   {"x", unit.place.x.toNumber()},
                   {"y", unit.altitude.toNumber()},
                   {"z", unit.place.z.toNumber()},
                   {"heading", unit.heading.radians()},
                   {"pitch", unit.pitch.radians()},
                   {"roll", unit.roll.radians()},
                   {"speed", unit.motion.speed.toNumber() * sim::kTicksPerSecond},
                   {"health", unit.health.ceil()},
                   {"maxHealth", unit.type->maxHealth},
                   {"buildFraction", unit.buildFraction.toNumber()},
                   {"state", stateWord(unit)},
                   {"active", unit.isActive},
                   {"queued", orders.empty() ? 0 : orders.size() - 1},
                   {"weapons", encodeWeapons(world, unit)}};
    if (!orders.empty()) result["order"] = orderWord(orders.front().kind);
    if (unit.labour.nanoPiece >= 0) result["nano"] = encodeNano(world, unit);
    if (unit.labour.selfDestructAt > world.tick())
        result["selfDestruct"] =
            static_cast<double>(unit.labour.selfDestructAt - world.tick()) / sim::kTicksPerSecond;
    if (unit.isStunned(world.tick()))
        result["stunned"] =
            static_cast<double>(unit.stunnedUntil - world.tick()) / sim::kTicksPerSecond;
    if (unit.cloak.isOn) result["cloaked"] = true;
    if (const auto ride = rideOf(world, unit)) encodeRide(world, *ride, result);
    if (!unit.hold.cargo.empty()) result["cargo"] = encodeCargo(unit);
    if (withPieces) {
        const CobInstance* const script = world.scripts().of(unit);
        result["transforms"] = script ? encodePieces(*script, unit.type->pieces)
                                      : encodePiecesAtRest(unit.type->pieces);
    }
    return result;
}

json encodeContacts(const sim::World& world, std::int32_t player) {
    json result = json::array();
    for (const sim::Unit& unit : world.units())
        if (world.isOnRadarOf(unit, player) && !world.isSeenBy(unit, player))
            result.push_back({{"unitId", unit.id},
                              {"player", unit.player},
                              {"x", unit.place.x.toNumber()},
                              {"y", unit.altitude.toNumber()},
                              {"z", unit.place.z.toNumber()}});
    return result;
}

json encodeProjectiles(const sim::World& world) {
    json result = json::array();
    for (const sim::Projectile& shot : world.projectiles().all) {
        json data = {{"projectileId", shot.id},
                     {"weapon", shot.weapon->name},
                     {"x", shot.place.x.toNumber()},
                     {"y", shot.place.y.toNumber()},
                     {"z", shot.place.z.toNumber()},
                     {"heading", sim::headingOf(shot.velocity.x, shot.velocity.z).radians()},
                     {"pitch", sim::pitchOf(shot.velocity).radians()}};
        if (const sim::Unit* const owner = world.units().find(shot.owner))
            data["owner"] = owner->id;
        result.push_back(std::move(data));
    }
    return result;
}

json encodeMapFeature(const sim::Feature& feature) {
    json result = {feature.id, feature.type, feature.place.x.toNumber(),
                   feature.altitude.toNumber(), feature.place.z.toNumber()};
    if (feature.heading != sim::Angle()) result.push_back(feature.heading.radians());
    return result;
}

json encodeFeatureType(const sim::FeatureType& type) {
    json result = {{"name", type.name},
                   {"found", !type.isMissing},
                   {"footprintX", type.footprintX},
                   {"footprintZ", type.footprintZ},
                   {"height", type.height},
                   {"blocking", type.isBlocking},
                   {"reclaimable", type.isReclaimable},
                   {"metal", shortestDouble(type.metal)},
                   {"energy", shortestDouble(type.energy)}};
    if (!type.object.empty()) {
        result["object"] = type.object;
    } else if (!type.pictureFile.empty()) {
        result["filename"] = type.pictureFile;
        result["sequence"] = type.pictureSequence;
    }
    return result;
}

}  // namespace orb::unitview::ipc
