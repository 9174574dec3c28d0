#include "sim/fight/remains.h"

#include "sim/units/births.h"

namespace orb::sim {
namespace {

/// `center` as the north-western cell of a feature's footprint.
Cell cornerAt(const FeatureType& type, GroundPoint center) {
    return footprintAt(center, type.footprintX, type.footprintZ).corner;
}

}  // namespace

std::int32_t corpseOf(const WorldParts& world, const UnitType& type, std::int32_t number) {
    if (number < 1 || number > kMaxFollowers + 1) return -1;
    std::int32_t corpse = type.corpse;
    for (std::int32_t i = 1; i < number && corpse >= 0; ++i)
        corpse = world.frame.featureTypes[static_cast<std::size_t>(corpse)].follower;
    return corpse;
}

void bury(WorldParts& world, const Death& death) {
    Unit* const unit = world.state.units.find(death.unit);
    if (!unit) return;
    const std::uint32_t id = unit->id;
    const auto type = unit->type;
    const GroundPoint place = unit->place;
    const Angle heading = unit->heading;
    removeUnit(world, *unit);
    if (death.corpse < 0) return;

    const auto index = static_cast<std::uint32_t>(death.corpse);
    const FeatureType& corpse = world.frame.featureTypes[index];
    if (const Feature* const feature = placeFeature(world, index, cornerAt(corpse, place), heading))
        world.events.add({world.state.tick, id, type, CorpseLeft{feature->id, corpse.name}});
}

void damageFeature(WorldParts& world, std::uint32_t id, Amount amount) {
    Feature* const feature = world.state.features.find(id);
    if (!feature) return;
    const FeatureType& type = world.frame.featureTypes[feature->type];
    if (type.health <= Amount()) return;
    feature->health -= amount;
    if (feature->health > Amount()) return;

    replaceFeature(world, id, type.follower);
}

}  // namespace orb::sim
