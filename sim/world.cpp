#include "sim/world.h"

#include <algorithm>
#include <cmath>

#include "sim/phases.h"
#include "sim/scripts/piece_pose.h"
#include "sim/scripts/script_host.h"
#include "sim/work/generators.h"
#include "sim/world_state.h"

namespace orb::sim {

World::World(Terrain terrain, const WorldOptions& options)
    : parts_(std::move(terrain), options.threads) {
    parts_.frame.conditions = options.conditions;
    parts_.derived.sight.letHillsHide(options.conditions.hillsHide);
    parts_.frame.seed = options.seed;
    parts_.state.players = options.players;
    for (Player& player : parts_.state.players) {
        player.metal.ownStorage = player.metal.storage;
        player.energy.ownStorage = player.energy.storage;
    }
    const auto metal =
        static_cast<std::uint8_t>(std::clamp(options.conditions.surfaceMetal, 0, 255));
    std::ranges::fill(parts_.frame.metal, metal);
    parts_.state.wind = firstWind(parts_.frame);
}

void World::runTick(const std::function<void(std::string_view)>& afterPhase) {
    scratch_.begin(parts_.state.units.slotCount());
    for (const Phase& phase : kPhases) {
        phase.step(parts_, scratch_);
        if (afterPhase) afterPhase(phase.name);
    }
    ++parts_.state.tick;
}

std::vector<OrderAnswer> World::giveOrder(std::span<const std::int64_t> unitIds,
                                          const OrderRequest& request) {
    scratch_.begin(parts_.state.units.slotCount());
    auto answers = sim::giveOrder(parts_, scratch_, unitIds, request);
    // Who is to die does so before anybody looks.
    stepDamage(parts_, scratch_);
    return answers;
}

void World::setStocks(std::int32_t player, std::optional<double> metal,
                      std::optional<double> energy) {
    Player& changed = parts_.state.players.at(static_cast<std::size_t>(player - 1));
    const auto set = [](Stock& stock, std::optional<double> amount) {
        if (!amount) return;
        stock.amount = Amount::fromNumber(std::max(0.0, *amount));
        stock.ownStorage = std::max(stock.ownStorage, stock.amount);
        stock.storage = std::max(stock.storage, stock.amount);
    };
    set(changed.metal, metal);
    set(changed.energy, energy);
}

bool World::replaceTypes(
    const std::function<std::shared_ptr<const UnitType>(const UnitType&)>& typeFor) {
    bool hasReplaced = false;
    for (auto& product : parts_.frame.products)
        if (auto type = typeFor(*product)) product = std::move(type);
    for (Unit& unit : parts_.state.units) {
        auto type = typeFor(*unit.type);
        if (!type) continue;
        unit.type = std::move(type);
        unit.values = {};
        unit.labour.hasStarted = false;
        unit.hold.handled = {};
        unit.pads.pieces = UnitPads().pieces;
        setUpScript(parts_, unit);
        hasReplaced = true;
    }
    return hasReplaced;
}

StateHash World::hash() const {
    return hashState(parts_);
}

std::string World::dump() const {
    return dumpState(parts_);
}

std::uint32_t World::addFeatureType(FeatureType type) {
    parts_.frame.featureTypes.push_back(std::move(type));
    return static_cast<std::uint32_t>(parts_.frame.featureTypes.size() - 1);
}

CellRect World::featureCells(std::uint32_t type, GroundPoint place) const {
    const FeatureType& found = parts_.frame.featureTypes[type];
    return footprintAt(place, found.footprintX, found.footprintZ);
}

SiteFault World::testFeature(std::uint32_t type, const CellRect& cells) const {
    if (!terrain().contains(cells)) return SiteFault::outside;
    if (!allCells(cells, [&](Cell cell) { return !terrain().isVoid(cell); }))
        return SiteFault::noGround;
    if (parts_.frame.featureTypes[type].isBlocking && !parts_.state.occupancy.isFree(cells))
        return SiteFault::occupied;
    return SiteFault::none;
}

const Feature* World::placeFeature(std::uint32_t type, Cell northWest) {
    return sim::placeFeature(parts_, type, northWest);
}

Vector World::pieceOf(const Unit& unit, std::int32_t piece) const {
    return pieceInWorld(parts_, unit, piece);
}

std::vector<GroundPoint> blockPlaces(const UnitType& type, GroundPoint middle, std::size_t count) {
    if (count <= 1) return {middle};
    const auto columns =
        static_cast<std::int32_t>(std::ceil(std::sqrt(static_cast<double>(count))));
    const auto rows = (static_cast<std::int32_t>(count) + columns - 1) / columns;
    const std::int32_t stepX = type.footprintX + 1, stepZ = type.footprintZ + 1;
    const CellRect whole = footprintAt(middle, columns * stepX - 1, rows * stepZ - 1);
    std::vector<GroundPoint> places;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(count); ++i) {
        const Cell corner{whole.corner.x + i % columns * stepX,
                          whole.corner.z + i / columns * stepZ};
        places.push_back(CellRect{corner, type.footprintX, type.footprintZ}.center());
    }
    return places;
}

}  // namespace orb::sim
