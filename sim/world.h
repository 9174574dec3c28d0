#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sim/orders/orders.h"
#include "sim/sight/sight.h"
#include "sim/state_hash.h"
#include "sim/tick_scratch.h"
#include "sim/units/births.h"
#include "sim/world_parts.h"

namespace orb::sim {

struct WorldOptions {
    Conditions conditions = {};
    /// As they begin.
    Players players = {};
    /// What random numbers hang from.
    std::uint64_t seed = 1;
    /// That share the work of a tick, from 1; nothing else depends on it.
    std::size_t threads = 1;
};

/// The map with everything on it. It changes in ticks and, between them, by requests. Same
/// requests, same world: on every machine, with any number of threads, however ticks are cut.
class World {
public:
    explicit World(Terrain terrain, const WorldOptions& options = {});
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    const Terrain& terrain() const { return parts_.frame.terrain; }
    const Conditions& conditions() const { return parts_.frame.conditions; }
    const Units& units() const { return parts_.state.units; }
    const Features& features() const { return parts_.state.features; }
    const Fires& fires() const { return parts_.state.fires; }
    std::span<const FeatureType> featureTypes() const { return parts_.frame.featureTypes; }
    const Players& players() const { return parts_.state.players; }
    const Wind& wind() const { return parts_.state.wind; }
    const Projectiles& projectiles() const { return parts_.state.projectiles; }
    const RunningScripts& scripts() const { return parts_.state.scripts; }
    Tick tick() const { return parts_.state.tick; }

    /// The index of a new type.
    std::uint32_t addFeatureType(FeatureType type);
    /// What is there when one of a type was reclaimed.
    void setReclaimedFollower(std::uint32_t type, std::int32_t follower) {
        parts_.frame.featureTypes[type].reclaimedFollower = follower;
    }
    /// What is there when one of a type has burnt down.
    void setBurntFollower(std::uint32_t type, std::int32_t follower) {
        parts_.frame.featureTypes[type].burning.follower = follower;
    }
    /// The cells on which a feature stands whose middle is nearest to a place.
    CellRect featureCells(std::uint32_t type, GroundPoint place) const;
    /// Why a feature cannot lie on those cells, or none.
    SiteFault testFeature(std::uint32_t type, const CellRect& cells) const;
    /// Puts a feature of its type's footprint on the map, whatever lies there; null when its
    /// north-western cell is not on the map or there are `kMaxFeatures`.
    const Feature* placeFeature(std::uint32_t type, Cell northWest);

    bool isFull() const { return units().isFull(); }
    SiteFault testUnit(const UnitBirth& birth) const { return sim::testUnit(parts_, birth); }
    const Unit& placeUnit(const UnitBirth& birth) { return sim::placeUnit(parts_, birth); }

    /// What `sim::giveOrder` answers.
    std::vector<OrderAnswer> giveOrder(std::span<const std::int64_t> unitIds,
                                       const OrderRequest& request);
    /// What a player, from 1, has from now on; what is none stays.
    void setStocks(std::int32_t player, std::optional<double> metal, std::optional<double> energy);
    /// Gives units another type of the same shape, and a running script of it from its beginning:
    /// those for which `typeFor(type)` is not null. Whether there was one.
    bool replaceTypes(
        const std::function<std::shared_ptr<const UnitType>(const UnitType&)>& typeFor);

    /// Lets one tick pass. A bench hears the name of each phase when it is over.
    void runTick(const std::function<void(std::string_view)>& afterPhase = {});
    /// What happened since they were last taken.
    EventLog& events() { return parts_.events; }
    const EventLog& events() const { return parts_.events; }
    /// Of the last tick.
    const WorkCounts& counts() const { return scratch_.counts; }

    StateHash hash() const;
    std::string dump() const;
    /// For tests: see `WorldDerived`.
    void dropDerived() { sim::dropDerived(parts_); }

    /// Where a piece of a unit is.
    Vector pieceOf(const Unit& unit, std::int32_t piece) const;
    /// See `sim/sight/sight.h`.
    bool isSeenBy(const Unit& unit, std::int32_t player) const {
        return sees(parts_, player, unit);
    }
    bool isOnRadarOf(const Unit& unit, std::int32_t player) const {
        return hasOnRadar(player, unit);
    }
    std::vector<Knowledge> knowledgeOf(std::int32_t player) const {
        return sim::knowledgeOf(parts_, player);
    }

private:
    WorldParts parts_;
    TickScratch scratch_;
};

/// Where the middles of `count` units stand that a block of footprints around a place has, one free
/// cell between them, in rows from the north-west. One alone stands at the place itself.
std::vector<GroundPoint> blockPlaces(const UnitType& type, GroundPoint middle, std::size_t count);

}  // namespace orb::sim
