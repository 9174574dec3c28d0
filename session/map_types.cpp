#include "session/map_types.h"

#include <algorithm>

#include "model/piece_list.h"
#include "session/weapon_types.h"

namespace orb::unitview {
namespace {

/// The largest sight that units are known to have is 1,792 pixels.
constexpr std::int32_t kMaxSight = 32'767;
constexpr std::int32_t kMaxHealth = 1'000'000'000;

std::int32_t footprintSide(std::int32_t cells) {
    return std::clamp(cells, 1, sim::kMaxFootprint);
}

std::int32_t intOf(const io::TdfSection& section, std::string_view key, std::int32_t absent) {
    return section.getInt(key).value_or(absent);
}

/// A height or depth of the ground; those have a byte.
std::int32_t groundLimit(const io::TdfSection& section, std::string_view key, std::int32_t absent) {
    return std::clamp(intOf(section, key, absent), 0, sim::rules::kNoLimit);
}

void takeFootprint(sim::UnitType& type, const io::TdfSection& section) {
    type.footprintX = footprintSide(intOf(section, "footprintx", 1));
    type.footprintZ = footprintSide(intOf(section, "footprintz", 1));
}

sim::SiteLimits readLimits(const io::TdfSection& section) {
    sim::SiteLimits limits;
    limits.maxSlope = groundLimit(section, "maxslope", sim::rules::kNoLimit);
    limits.maxWaterSlope = groundLimit(section, "maxwaterslope", limits.maxSlope);
    limits.minWaterDepth = groundLimit(section, "minwaterdepth", 0);
    limits.maxWaterDepth = groundLimit(section, "maxwaterdepth", sim::rules::kNoLimit);
    return limits;
}

/// Of a unit without a movement class.
sim::SiteLimits readOwnLimits(const io::TdfSection& section, bool floats) {
    sim::SiteLimits limits = readLimits(section);
    if (!section.getInt("maxwaterdepth") && limits.minWaterDepth == 0 && !floats)
        limits.maxWaterDepth = sim::rules::kDryLandDepth;
    return limits;
}

}  // namespace

sim::FeatureType makeFeatureType(const GameTables& tables, const std::string& name) {
    sim::FeatureType type;
    type.name = name;
    const TableEntry* const entry = tables.features.find(name);
    type.isMissing = entry == nullptr;
    if (type.isMissing) return type;

    const io::TdfSection& section = entry->section;
    const auto text = [&](std::string_view key) {
        return std::string(section.getString(key).value_or(""));
    };
    type.name = entry->name;
    type.footprintX = footprintSide(intOf(section, "footprintx", 1));
    type.footprintZ = footprintSide(intOf(section, "footprintz", 1));
    type.height = std::max(0, intOf(section, "height", 0));
    type.isBlocking = intOf(section, "blocking", 0) != 0;
    if (intOf(section, "indestructible", 0) == 0)
        type.health = sim::Amount::fromInt(std::clamp(intOf(section, "damage", 0), 0, kMaxHealth));
    type.isReclaimable = intOf(section, "reclaimable", 0) != 0;
    type.isGeothermal = intOf(section, "geothermal", 0) != 0;
    type.metal = section.getFloat("metal").value_or(0.0F);
    type.energy = section.getFloat("energy").value_or(0.0F);
    type.object = text("object");
    type.pictureFile = text("filename");
    type.pictureSequence = text("seqname");
    return type;
}

sim::UnitType makeUnitType(const GameTables& tables, const LoadedUnit& unit) {
    const io::FbiUnitInfo& fbi = unit.fbi;
    sim::UnitType type;
    type.name = unit.name;
    type.isBuilding = fbi.bmCode == 0;
    type.canFly = fbi.canFly;
    type.floats = fbi.floater;
    type.waterline = static_cast<std::int32_t>(std::clamp(fbi.waterline, 0.0F, 255.0F));
    type.maxHealth = std::clamp(fbi.maxDamage, 1, kMaxHealth);
    type.sightDistance = std::clamp(fbi.sightDistance, 0, kMaxSight);
    type.isActiveWhenBuilt = !type.isBuilding || fbi.activateWhenBuilt;
    type.pieces = pieceNames(unit.model);
    takeWeapons(type, tables, fbi);

    const TableEntry* const movement = tables.movementClasses.find(fbi.movementClass);
    takeFootprint(type, movement ? movement->section : unit.unitInfo());
    type.limits =
        movement ? readLimits(movement->section) : readOwnLimits(unit.unitInfo(), type.floats);
    type.limits.canHover = fbi.canHover;
    if (type.isBuilding) type.yard = sim::yardOf(fbi.yardMap, type.footprintX, type.footprintZ);
    return type;
}

}  // namespace orb::unitview
