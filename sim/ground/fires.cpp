#include "sim/ground/fires.h"

#include <algorithm>

#include "sim/fight/weapon_type.h"
#include "sim/numbers/random.h"
#include "sim/phases.h"
#include "sim/rules.h"
#include "sim/units/births.h"

namespace orb::sim {
namespace {

/// In one tick; others that are due wait. Removing a feature moves those behind it.
constexpr std::size_t kMaxBurntDown = 32;
/// Cells that the sparks of one tick may fall on; what is beyond waits for the next tick. Thousands
/// of large features that spark in every tick would take long otherwise.
constexpr std::size_t kMaxSparkCells = 100'000;

std::int32_t draw(const WorldParts& world, std::uint32_t feature, RandomPurpose purpose,
                  std::uint32_t count, std::int32_t low, std::int32_t high) {
    return randomBetween({world.frame.seed, feature, world.state.tick, purpose, count}, low, high);
}

bool happens(const WorldParts& world, std::uint32_t feature, RandomPurpose purpose,
             std::uint32_t count, std::int32_t percent) {
    return draw(world, feature, purpose, count, 1, 100) <= percent;
}

const FeatureType& typeOf(const WorldParts& world, const Feature& feature) {
    return world.frame.featureTypes[feature.type];
}

/// The features round a burning one that its sparks reach, each once, by rising id.
std::vector<std::uint32_t> neighbours(const WorldParts& world, const Feature& feature) {
    const FeatureType& type = typeOf(world, feature);
    CellRect cells = footprintAt(feature.place, type.footprintX, type.footprintZ);
    cells.corner.x -= rules::kSparkCells;
    cells.corner.z -= rules::kSparkCells;
    cells.width += 2 * rules::kSparkCells;
    cells.depth += 2 * rules::kSparkCells;
    std::vector<std::uint32_t> found;
    forEachCell(cells, [&](Cell cell) {
        const CellOwner owner = world.state.occupancy.ownerOf(cell);
        if (owner.kind() == CellOwner::Kind::feature && owner.id() != feature.id)
            found.push_back(owner.id());
    });
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

std::size_t sparkCells(const FeatureType& type) {
    return static_cast<std::size_t>((type.footprintX + 2 * rules::kSparkCells) *
                                    (type.footprintZ + 2 * rules::kSparkCells));
}

/// One tick of all fires.
class Burn {
public:
    Burn(WorldParts& world, TickScratch& scratch) : world_(world), scratch_(scratch) {}

    void run() {
        // What catches fire now burns from the next tick on.
        const Fires burning = world_.state.fires;
        for (const Fire& fire : burning) step(fire);
        for (const std::uint32_t feature : caught_) setOnFire(world_, feature);
    }

private:
    Tick now() const { return world_.state.tick; }

    /// Its place among the fires, which others may have joined.
    Fires::iterator find(std::uint32_t feature) const {
        return std::ranges::lower_bound(world_.state.fires, feature, {}, &Fire::feature);
    }

    void step(const Fire& fire) {
        const Feature* const feature = world_.state.features.find(fire.feature);
        if (!feature) {
            world_.state.fires.erase(find(fire.feature));
            return;
        }
        if (fire.hurtsAt <= now()) hurt(*feature);
        if (fire.sparksAt <= now()) spark(*feature);
        if (fire.endsAt <= now()) end(*feature);
    }

    void hurt(const Feature& feature) {
        const auto& weapon = typeOf(world_, feature).burning.weapon;
        if (!weapon) return;
        find(feature.id)->hurtsAt = now() + std::max<Tick>(1, weapon->reload);
        const Vector place{feature.place.x, feature.altitude, feature.place.z};
        scratch_.impacts.push_back({weapon, place, {}, 0, {}, {}});
    }

    void spark(const Feature& feature) {
        const FeatureType& type = typeOf(world_, feature);
        if (type.burning.spreadPercent > 0) {
            if (cells_ >= kMaxSparkCells) return;
            cells_ += sparkCells(type);
            for (const std::uint32_t other : neighbours(world_, feature))
                if (happens(world_, feature.id, RandomPurpose::spark, other,
                            type.burning.spreadPercent))
                    caught_.push_back(other);
        }
        find(feature.id)->sparksAt = now() + type.burning.sparkEvery;
    }

    void end(const Feature& feature) {
        if (burntDown_ >= kMaxBurntDown) return;
        ++burntDown_;
        const FeatureType& type = typeOf(world_, feature);
        const std::int32_t follower =
            type.burning.follower >= 0 ? type.burning.follower : type.follower;
        world_.state.fires.erase(find(feature.id));
        replaceFeature(world_, feature.id, follower);
    }

    WorldParts& world_;
    TickScratch& scratch_;
    std::vector<std::uint32_t> caught_;
    std::size_t cells_ = 0;
    std::size_t burntDown_ = 0;
};

}  // namespace

void setOnFire(WorldParts& world, std::uint32_t feature) {
    const Feature* const found = world.state.features.find(feature);
    if (!found || world.state.fires.size() >= kMaxFires) return;
    const Burning& burning = typeOf(world, *found).burning;
    const auto place = std::ranges::lower_bound(world.state.fires, feature, {}, &Fire::feature);
    const bool burns = place != world.state.fires.end() && place->feature == feature;
    if (!burning.isFlammable || burns) return;
    const Tick now = world.state.tick;
    const Tick length = draw(world, feature, RandomPurpose::burn, 0, burning.least, burning.most);
    world.state.fires.insert(
        place, {feature, now + std::max<Tick>(1, length), now + burning.sparkEvery, now + 1});
    world.events.add({now, 0, nullptr, FeatureBurns{feature}});
}

void maySetOnFire(WorldParts& world, std::uint32_t feature, std::int32_t percent) {
    if (percent > 0 && happens(world, feature, RandomPurpose::fire, 0, percent))
        setOnFire(world, feature);
}

void stepFeatures(WorldParts& world, TickScratch& scratch) {
    if (!world.state.fires.empty()) Burn(world, scratch).run();
}

}  // namespace orb::sim
