#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "session/map_catalogue.h"
#include "session/mounted_data.h"
#include "sim/world.h"

namespace orb::unitview {

struct MapRequest {
    std::string name;
    /// A number of the description's schemas; none: the first that there is.
    std::optional<std::int64_t> schema = {};
    /// Puts the schema's units on the map.
    bool placesUnits = true;
    /// What random numbers hang from.
    std::uint64_t seed = 1;
    /// That share the work of a tick; none: as many as the machine has, within reason.
    std::optional<std::size_t> threads = {};
};

/// The lists of a map's files.
enum class MapList { schemas, startPositions, features, units };

/// One of which not everything was taken over.
struct CutList {
    MapList list = MapList::schemas;
    std::size_t given = 0;
    std::size_t kept = 0;
    bool operator==(const CutList&) const = default;
};

/// A map with what stands on it. Depends on no mounted data once it is there.
struct LoadedMap {
    LoadedMap(const io::TntFile& ground, const sim::WorldOptions& options)
        : world(sim::Terrain(ground), options) {}

    std::string name;
    std::string title;
    std::int64_t schema = 0;
    /// `schemaTypes` of its description.
    std::vector<std::string> schemas;
    std::vector<io::OtaStartPosition> startPositions;
    /// Its tiles and small picture; the cells are the world's terrain.
    io::TntFile picture;
    sim::World world;
    /// The names of features and units that nothing declares, each once.
    std::vector<std::string> missingFeatures;
    std::vector<std::string> missingUnits;
    std::vector<CutList> cut;
    /// How many features came with the map; those behind them were added since.
    std::size_t ownFeatureCount = 0;

    /// By upper-cased name: indices of the world's feature types, and unit types as they were when
    /// first asked for.
    std::map<std::string, std::uint32_t, std::less<>> featureTypes;
    std::map<std::string, std::shared_ptr<const sim::UnitType>, std::less<>> unitTypes;

    /// Scripts that units of those names run in place of their own.
    std::map<std::string, std::shared_ptr<const io::CobFile>, std::less<>> temporaryScripts;

    /// What stands on the map stays as it is; what comes is of the types as the files then say.
    void forgetTypes() {
        featureTypes.clear();
        unitTypes.clear();
    }
};

/// Throws std::runtime_error: what `readMapFiles` does, or "schema not found: N".
std::unique_ptr<LoadedMap> loadMap(const MountedData& data, const MapRequest& request,
                                   const io::Progress& progress = {});

/// The type of a unit as the map has it. Throws std::runtime_error: what loading its files throws.
std::shared_ptr<const sim::UnitType> unitTypeOf(LoadedMap& map, const MountedData& data,
                                                const std::string& name);

/// Units to be put on a map.
struct UnitSpawn {
    std::string unit;
    /// Where the middle of one or of the block of many is wished, in map pixels.
    double x = 0, z = 0;
    std::int32_t player = 1;
    double headingRadians = 0;
    std::size_t count = 1;
    double buildFraction = 1;
    float healthPercent = 100;
    /// None: what the unit's definition says.
    std::optional<bool> isActive;
    /// Without testing the site.
    bool isForced = false;
};

/// Their type. Throws RequestError what loading the unit's files throws.
std::shared_ptr<const sim::UnitType> typeToSpawn(LoadedMap& map, const MountedData& data,
                                                 const UnitSpawn& spawn);

struct SpawnedUnits {
    std::string unitName;
    std::vector<std::uint32_t> ids;
    /// How many of the count found no place.
    std::size_t refused = 0;
    /// The place that the first one took.
    sim::GroundPoint place;
    sim::Fixed altitude;
};

/// Throws RequestError: what loading the unit's files throws, "position outside the map", "cannot
/// place NAME: REASON" when none can be placed, or "unit limit reached".
SpawnedUnits spawnUnits(LoadedMap& map, const MountedData& data, const UnitSpawn& spawn);

/// A feature to be put on a map.
struct FeatureSpawn {
    std::string feature;
    double x = 0, z = 0;
    bool isForced = false;
};

/// The reference holds until the next feature is placed. Throws RequestError "feature not found:
/// …", "position outside the map", "cannot place NAME: REASON" or "feature limit reached".
const sim::Feature& spawnFeature(LoadedMap& map, const MountedData& data,
                                 const FeatureSpawn& spawn);

}  // namespace orb::unitview
