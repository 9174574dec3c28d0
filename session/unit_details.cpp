#include "session/unit_details.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "io/ascii.h"

namespace orb::unitview {
namespace {

constexpr std::array<std::string_view, 6> kSoundEvents = {"select", "ok",    "arrived",
                                                          "cant",   "build", "engineLoop"};
/// Numbered variants of one event are looked for up to this number, gaps allowed.
constexpr int kMaxSoundVariants = 32;

struct ConstraintKey {
    const char* key;
    std::int32_t MovementClassInfo::*field;
};
constexpr ConstraintKey kConstraintKeys[] = {
    {"maxslope", &MovementClassInfo::maxSlope},
    {"maxwaterdepth", &MovementClassInfo::maxWaterDepth},
    {"minwaterdepth", &MovementClassInfo::minWaterDepth},
    {"maxwaterslope", &MovementClassInfo::maxWaterSlope},
};

bool containsIgnoringCase(std::string_view text, std::string_view part) {
    const auto equal = [](char a, char b) { return io::toLower(a) == io::toLower(b); };
    const auto found = std::search(text.begin(), text.end(), part.begin(), part.end(), equal);
    return found != text.end() || part.empty();
}

SoundEvent describeEvent(const io::TdfSection& category, std::string_view event) {
    SoundEvent result{event, {}, 0};
    const auto take = [&](const std::string& key) {
        const auto sound = category.getString(key);
        if (!sound || sound->empty()) return;
        if (result.count++ == 0) result.name = *sound;
    };
    take(std::string(event));
    for (int variant = 1; variant <= kMaxSoundVariants; ++variant)
        take(fmt::format("{}{}", event, variant));
    return result;
}

}  // namespace

std::optional<MovementClassInfo> describeMovementClass(const GameTables& tables,
                                                       const std::string& name) {
    if (name.empty()) return std::nullopt;
    MovementClassInfo info;
    info.name = name;
    info.resolvedName = name;
    const TableEntry* const entry = tables.movementClasses.find(name);
    if (!entry) return info;

    info.found = true;
    info.resolvedName = entry->name;
    info.footprintX = entry->section.getInt("footprintx").value_or(0);
    info.footprintZ = entry->section.getInt("footprintz").value_or(0);
    for (const auto& [key, field] : kConstraintKeys) {
        const auto value = entry->section.getInt(key);
        info.*field = value.value_or(0);
        info.hasAuthoredConstraint |= value.has_value();
    }
    info.sourcePath = locationText(entry->file.location());
    for (const TableEntry* const other : tables.movementClasses.declarations(name))
        if (other->file.layer != entry->file.layer)
            info.shadowedSources.push_back(locationText(other->file.location()));
    return info;
}

std::vector<SoundEvent> describeSounds(const GameTables& tables, std::string_view category) {
    const TableEntry* const entry = tables.soundCategories.find(category);
    std::vector<SoundEvent> events;
    for (const std::string_view event : kSoundEvents)
        events.push_back(entry ? describeEvent(entry->section, event) : SoundEvent{event, {}, 0});
    return events;
}

UnitDetails describeUnit(const LoadedUnit& unit, const MountedData& data) {
    UnitDetails details;
    details.movementClass = describeMovementClass(data.tables, unit.fbi.movementClass);
    for (const std::string_view name : unit.fbi.weaponSlots())
        if (!name.empty())
            details.weapons.push_back({std::string(name), data.tables.weapons.find(name)});
    details.sounds = describeSounds(data.tables, unit.fbi.soundCategory);
    const UnitDeclaration* const base = data.catalogue.findBase(unit.name);
    if (base && unit.source && !unit.source->inBaseTa) details.baseline = &base->info;
    return details;
}

std::vector<const UnitDeclaration*> searchUnits(const UnitCatalogue& catalogue,
                                                std::string_view side, std::string_view search) {
    std::vector<const UnitDeclaration*> result;
    for (const UnitDeclaration* unit : catalogue.roster()) {
        if (!side.empty() && unit->info.side != side) continue;
        if (containsIgnoringCase(unit->name, search) ||
            containsIgnoringCase(unit->info.description, search) ||
            containsIgnoringCase(displayName(*unit), search))
            result.push_back(unit);
    }
    return result;
}

const std::string& displayName(const UnitDeclaration& unit) {
    return unit.info.name.empty() ? unit.name : unit.info.name;
}

const std::string& buildPictureName(const std::string& buildPic, const std::string& unitName) {
    return buildPic.empty() ? unitName : buildPic;
}

}  // namespace orb::unitview
