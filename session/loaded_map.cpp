#include "session/loaded_map.h"

#include <algorithm>
#include <span>
#include <thread>

#include <fmt/format.h>

#include "io/ascii.h"
#include "server/logger.h"
#include "session/map_types.h"
#include "session/request_error.h"
#include "session/walker_switches.h"

namespace orb::unitview {
namespace {

/// The names of the features that follow each other where the first is destroyed, up to one that
/// the map knows or that comes a second time: some name themselves.
std::vector<std::string> chainOf(const LoadedMap& map, const GameTables& tables, std::string name) {
    std::vector<std::string> chain;
    const auto isIn = [&](const std::string& other) {
        return std::ranges::any_of(
            chain, [&](const std::string& one) { return io::equalsIgnoringCase(one, other); });
    };
    while (!isIn(name) && chain.size() <= sim::kMaxFollowers) {
        const TableEntry* const entry = tables.features.find(name);
        if (!entry && !chain.empty()) break;
        chain.push_back(name);
        if (!entry || map.featureTypes.contains(io::upperCased(name))) break;
        name = entry->section.getString("featuredead").value_or("");
    }
    return chain;
}

/// The index of the type that follows one of a chain, -1 for the last.
std::int32_t followerIn(const LoadedMap& map, std::span<const std::string> chain, std::size_t i) {
    if (i + 1 == chain.size()) return -1;
    const auto known = map.featureTypes.find(io::upperCased(chain[i + 1]));
    return known == map.featureTypes.end()
               ? static_cast<std::int32_t>(map.world.featureTypes().size()) + 1
               : static_cast<std::int32_t>(known->second);
}

/// The type of a name, with the chain behind it; those that are new are `added`.
std::uint32_t addChain(LoadedMap& map, const GameTables& tables, const std::string& name,
                       std::vector<std::uint32_t>& added) {
    if (const auto known = map.featureTypes.find(io::upperCased(name));
        known != map.featureTypes.end())
        return known->second;
    const auto chain = chainOf(map, tables, name);
    const auto first = static_cast<std::uint32_t>(map.world.featureTypes().size());
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const auto [known, isNew] = map.featureTypes.try_emplace(io::upperCased(chain[i]));
        // Only the last of a chain can be known; what follows is the type added next.
        if (!isNew) break;
        sim::FeatureType type = makeFeatureType(tables, chain[i]);
        if (type.isMissing) map.missingFeatures.push_back(chain[i]);
        type.follower = followerIn(map, chain, i);
        known->second = map.world.addFeatureType(std::move(type));
        added.push_back(known->second);
    }
    return first;
}

/// The type that another one becomes otherwise than by dying; -1 for none. Each type is made once,
/// so circles end.
std::int32_t followerOf(LoadedMap& map, const GameTables& tables, std::uint32_t type,
                        std::initializer_list<std::string_view> keys,
                        std::vector<std::uint32_t>& added) {
    const TableEntry* const entry = tables.features.find(map.world.featureTypes()[type].name);
    if (!entry) return -1;
    for (const std::string_view key : keys)
        if (const auto name = entry->section.getString(key); name && tables.features.find(*name))
            return static_cast<std::int32_t>(addChain(map, tables, std::string(*name), added));
    return -1;
}

std::uint32_t featureTypeOf(LoadedMap& map, const GameTables& tables, const std::string& name) {
    std::vector<std::uint32_t> added;
    const std::uint32_t type = addChain(map, tables, name, added);
    for (std::size_t i = 0; i < added.size(); ++i) {
        // Some files misspell it.
        const std::int32_t reclaimed =
            followerOf(map, tables, added[i], {"featurereclamate", "featurereclamamate"}, added);
        map.world.setReclaimedFollower(added[i], reclaimed);
        map.world.setBurntFollower(added[i],
                                   followerOf(map, tables, added[i], {"featureburnt"}, added));
    }
    return type;
}

/// Notes a list of which something was left out.
void noteCut(LoadedMap& map, MapList list, std::size_t given, std::size_t kept) {
    if (kept < given) map.cut.push_back({list, given, kept});
}

/// The features that the cells of the ground name, in the cells' order, and then the schema's.
void placeFeatures(LoadedMap& map, const GameTables& tables, const io::TntFile& ground,
                   const io::OtaSchema& schema, const io::Progress& progress) {
    std::size_t given = 0;
    for (std::size_t i = 0; i < ground.cells.size(); ++i) {
        if (i % ground.size.width == 0)
            progress("features", i / ground.size.width, ground.size.height);
        const std::uint16_t word = ground.cells[i].feature;
        if (word >= ground.featureNames.size()) continue;
        ++given;
        const sim::Cell cell{static_cast<std::int32_t>(i % ground.size.width),
                             static_cast<std::int32_t>(i / ground.size.width)};
        map.world.placeFeature(featureTypeOf(map, tables, ground.featureNames[word]), cell);
    }
    for (const io::OtaFeature& feature : schema.features.kept)
        map.world.placeFeature(featureTypeOf(map, tables, feature.name),
                               {feature.cellX, feature.cellZ});
    map.ownFeatureCount = map.world.features().all().size();
    noteCut(map, MapList::features, given + schema.features.given, map.ownFeatureCount);
}

/// A unit whose files cannot be read is missing.
std::shared_ptr<const sim::UnitType> unitTypeIfThere(LoadedMap& map, const MountedData& data,
                                                     const std::string& name) {
    const auto isNamed = [&](const std::string& other) {
        return io::equalsIgnoringCase(other, name);
    };
    if (std::ranges::any_of(map.missingUnits, isNamed)) return nullptr;
    try {
        return unitTypeOf(map, data, name);
    } catch (const std::exception& error) {
        LogLine(LogLevel::warn) << "[maps] unit left out: " << error.what();
        map.missingUnits.push_back(name);
        return nullptr;
    }
}

/// Units of a schema stand where it says, whatever is there.
void placeUnits(LoadedMap& map, const MountedData& data, const io::OtaSchema& schema,
                const io::Progress& progress) {
    std::size_t missing = 0, done = 0;
    for (const io::OtaUnit& unit : schema.units.kept) {
        progress(unit.name, done++, schema.units.kept.size());
        const auto type = unitTypeIfThere(map, data, unit.name);
        if (!type) {
            ++missing;
            continue;
        }
        const sim::UnitBirth birth{
            .type = type,
            .player = std::clamp(unit.player, 1, sim::kPlayerCount),
            .place = {sim::Fixed::fromInt(unit.x), sim::Fixed::fromInt(unit.z)},
            .heading = sim::Angle::fromDegrees(static_cast<double>(unit.angleDegrees)),
            .healthPercent = unit.healthPercent,
            .isActive = type->isActiveWhenBuilt,
            .isForced = true};
        if (!map.world.isFull() && map.world.testUnit(birth) == sim::SiteFault::none)
            map.world.placeUnit(birth);
    }
    noteCut(map, MapList::units, schema.units.given - missing, map.world.units().count());
}

sim::Conditions conditionsOf(const io::OtaFile& description, const io::OtaSchema& schema) {
    const io::TdfSection& header = description.header;
    sim::Conditions conditions;
    conditions.gravity = header.getFloat("gravity").value_or(conditions.gravity);
    conditions.minWind = header.getInt("minwindspeed").value_or(conditions.minWind);
    conditions.maxWind = header.getInt("maxwindspeed").value_or(conditions.maxWind);
    conditions.tidalStrength = header.getInt("tidalstrength").value_or(conditions.tidalStrength);
    conditions.isLavaWorld = header.getInt("lavaworld").value_or(0) != 0;
    conditions.surfaceMetal =
        schema.values.getInt("surfacemetal").value_or(conditions.surfaceMetal);
    return conditions;
}

sim::Stock stockOf(const io::OtaSchema& schema, std::string_view key, double usual) {
    sim::Stock stock;
    stock.amount = sim::Amount::fromNumber(std::max(
        0.0, static_cast<double>(schema.values.getFloat(key).value_or(static_cast<float>(usual)))));
    stock.storage = stock.amount;
    return stock;
}

/// What players begin with, and have room for: so previews have something to spend.
sim::Players playersOf(const io::OtaSchema& schema, bool hasDescription) {
    const double usual =
        hasDescription ? sim::rules::kUsualStock : sim::rules::kStockWithoutDescription;
    sim::Players players;
    for (sim::Player& player : players) {
        const bool isFirst = &player == &players.front();
        player.metal = stockOf(schema, isFirst ? "humanmetal" : "computermetal", usual);
        player.energy = stockOf(schema, isFirst ? "humanenergy" : "computerenergy", usual);
    }
    return players;
}

/// The schema that a request names; a description without any stands for an empty one.
const io::OtaSchema& chooseSchema(const io::OtaFile& description, std::int64_t number) {
    static const io::OtaSchema kEmpty;
    if (description.schemas.empty() && number == 0) return kEmpty;
    if (number >= 0 && number < io::kMaxOtaSchemas)
        if (const auto found = description.schemas.find(static_cast<std::uint32_t>(number));
            found != description.schemas.end())
            return found->second;
    throw std::runtime_error(fmt::format("schema not found: {}", number));
}

/// More gain little: the serial parts of a tick stay as they are.
std::size_t usualThreads() {
    constexpr std::size_t kMost = 4;
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMost);
}

sim::GroundPoint pointAt(double x, double z) {
    return {sim::Fixed::fromNumber(x), sim::Fixed::fromNumber(z)};
}

[[noreturn]] void failPlacing(const std::string& name, sim::SiteFault fault) {
    if (fault == sim::SiteFault::outside) throw RequestError("position outside the map");
    throw RequestError(fmt::format("cannot place {}: {}", name, sim::textOf(fault)));
}

}  // namespace

std::shared_ptr<const sim::UnitType> unitTypeOf(LoadedMap& map, const MountedData& data,
                                                const std::string& name) {
    const std::string key = io::upperCased(name);
    if (const auto known = map.unitTypes.find(key); known != map.unitTypes.end())
        return known->second;
    LoadedUnit unit = loadUnitFiles(data.files, data.catalogue, name);
    if (const auto script = map.temporaryScripts.find(io::upperCased(unit.name));
        script != map.temporaryScripts.end())
        unit.cob = script->second;
    auto type = std::make_shared<sim::UnitType>(makeUnitType(data.tables, unit));
    if (data.tables.features.find(unit.fbi.corpse))
        type->corpse = static_cast<std::int32_t>(featureTypeOf(map, data.tables, unit.fbi.corpse));
    return map.unitTypes[key] = std::move(type);
}

std::unique_ptr<LoadedMap> loadMap(const MountedData& data, const MapRequest& request,
                                   const io::Progress& progress) {
    logWalkerSwitches();
    auto [name, ground, ownDescription] = readMapFiles(data.files, request.name);
    const bool hasDescription = ownDescription.has_value();
    const io::OtaFile description = std::move(ownDescription).value_or(io::OtaFile());
    const io::OtaSchema& schema = chooseSchema(description, request.schema);

    auto map = std::make_unique<LoadedMap>(
        ground,
        sim::WorldOptions{conditionsOf(description, schema), playersOf(schema, hasDescription),
                          request.seed, request.threads.value_or(usualThreads())});
    map->name = name;
    map->title = headerText(description, "missionname");
    map->schema = request.schema;
    map->schemas = schemaTypes(description);
    map->startPositions = schema.startPositions.kept;
    noteCut(*map, MapList::schemas, description.schemas.size() + description.schemasLeftOut,
            description.schemas.size());
    noteCut(*map, MapList::startPositions, schema.startPositions.given, map->startPositions.size());
    placeFeatures(*map, data.tables, ground, schema, progress);
    if (request.placesUnits) placeUnits(*map, data, schema, progress);
    ground.cells = {};
    map->picture = std::move(ground);
    LogLine(LogLevel::info) << "[maps] " << name
                            << " loaded: " << map->world.features().all().size() << " features, "
                            << map->world.units().count() << " units";
    return map;
}

SpawnedUnits spawnUnits(LoadedMap& map, const MountedData& data, const UnitSpawn& spawn) {
    const auto type = reportingFailure([&] { return unitTypeOf(map, data, spawn.unit); });
    const sim::GroundPoint middle = pointAt(spawn.x, spawn.z);
    if (!map.world.terrain().contains(middle)) failPlacing(type->name, sim::SiteFault::outside);

    sim::UnitBirth birth{.type = type,
                         .player = spawn.player,
                         .place = middle,
                         .heading = sim::Angle::fromRadians(spawn.headingRadians),
                         .healthPercent = spawn.healthPercent,
                         .buildFraction = sim::Fixed::fromNumber(spawn.buildFraction),
                         .isActive = spawn.isActive.value_or(type->isActiveWhenBuilt),
                         .isForced = spawn.isForced};
    SpawnedUnits spawned;
    spawned.unitName = type->name;
    auto firstFault = sim::SiteFault::none;
    for (const sim::GroundPoint& place : sim::blockPlaces(*type, middle, spawn.count)) {
        birth.place = place;
        const sim::SiteFault fault = map.world.testUnit(birth);
        // That the block reaches beyond the map says less than what is wrong on it.
        if (firstFault == sim::SiteFault::none ||
            (firstFault == sim::SiteFault::outside && fault != sim::SiteFault::none))
            firstFault = fault;
        if (fault != sim::SiteFault::none || map.world.isFull()) {
            ++spawned.refused;
            continue;
        }
        const sim::Unit& unit = map.world.placeUnit(birth);
        if (spawned.ids.empty()) {
            spawned.place = unit.place;
            spawned.altitude = unit.altitude;
        }
        spawned.ids.push_back(unit.id);
    }
    if (!spawned.ids.empty()) return spawned;
    if (map.world.isFull()) throw RequestError("unit limit reached");
    failPlacing(type->name, firstFault);
}

const sim::Feature& spawnFeature(LoadedMap& map, const MountedData& data,
                                 const FeatureSpawn& spawn) {
    if (!data.tables.features.find(spawn.feature))
        throw RequestError("feature not found: " + spawn.feature);
    const sim::GroundPoint middle = pointAt(spawn.x, spawn.z);
    sim::World& world = map.world;
    if (!world.terrain().contains(middle)) failPlacing(spawn.feature, sim::SiteFault::outside);

    const std::uint32_t type = featureTypeOf(map, data.tables, spawn.feature);
    const sim::CellRect cells = world.featureCells(type, middle);
    if (!spawn.isForced)
        if (const auto fault = world.testFeature(type, cells); fault != sim::SiteFault::none)
            failPlacing(world.featureTypes()[type].name, fault);
    if (world.features().isFull()) throw RequestError("feature limit reached");
    const sim::Feature* const feature = world.placeFeature(type, cells.corner);
    if (!feature) failPlacing(spawn.feature, sim::SiteFault::outside);
    return *feature;
}

}  // namespace orb::unitview
