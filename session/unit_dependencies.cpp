#include "session/unit_dependencies.h"

#include <numeric>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

#include "bos/included_files.h"
#include "io/ascii.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "model/piece_list.h"
#include "session/dependency_list.h"
#include "session/loaded_unit.h"
#include "session/model_file.h"
#include "session/references.h"
#include "session/unit_pictures.h"

namespace orb::unitview {
namespace {

/// By DependencyRole.
constexpr std::string_view kRoleNames[] = {
    "definition",     "model",        "script",         "script-source", "build-picture",
    "texture",        "weapon",       "weapon-model",   "weapon-sprite", "explosion-sprite",
    "sound-category", "sound",        "movement-class", "corpse",        "feature",
    "feature-model",  "build-option", "build-menu"};

class Walk;

/// How the files of one role of a unit are found.
struct UnitRole {
    DependencyRole role;
    void (Walk::*find)(const UnitDeclaration& unit, DependencyRole role);
};

/// What the value of a section's key names.
struct SectionRole {
    std::string_view key;
    DependencyRole role;
    void (Walk::*find)(std::string_view name, DependencyRole role);
};

/// What a wreck becomes in the end is a few features away; a row of thousands is made to keep a
/// walk busy, for each unit anew.
constexpr std::size_t kMaxFeaturesInARow = 256;

bool isAbsent(std::string_view name) {
    return name == "-1" || isAbsentName(name);
}

/// The value of a switch, no name.
bool isNumber(std::string_view value) {
    return value.find_first_not_of("0123456789") == std::string_view::npos;
}

class Walk {
public:
    Walk(const MountedData& data, bool recursive)
        : data_(data), recursive_(recursive), found_(data) {}

    UnitDependencies run(std::span<const std::string> units, const io::Progress& progress);

    // Of units.
    void findDefinition(const UnitDeclaration& unit, DependencyRole role);
    void findModel(const UnitDeclaration& unit, DependencyRole role);
    void findScript(const UnitDeclaration& unit, DependencyRole role);
    void findScriptSource(const UnitDeclaration& unit, DependencyRole role);
    void findPictures(const UnitDeclaration& unit, DependencyRole role);
    void findWeapons(const UnitDeclaration& unit, DependencyRole role);
    void findSoundCategory(const UnitDeclaration& unit, DependencyRole role);
    void findMovementClass(const UnitDeclaration& unit, DependencyRole role);
    void findCorpse(const UnitDeclaration& unit, DependencyRole role);
    void findBuildOptions(const UnitDeclaration& unit, DependencyRole role);
    void findBuildMenus(const UnitDeclaration& unit, DependencyRole role);

    // Named by sections.
    void followModel(std::string_view name, DependencyRole role);
    void followAnimation(std::string_view name, DependencyRole role);
    void followAnimationFile(std::string_view name, DependencyRole role);
    void followSound(std::string_view name, DependencyRole role);
    void followFeature(std::string_view name, DependencyRole role);

private:
    void requireUnit(const std::string& name);
    void queue(const UnitDeclaration* unit);
    void visit(const UnitDeclaration& unit);
    void followTextures(const std::string& modelPath);
    void followWeapon(std::string_view name);
    void followKeys(const TableEntry& entry, std::span<const SectionRole> roles);
    void indexDownloads();
    /// True the first time for this unit: what one name leads to is the same each time.
    bool isNew(DependencyRole role, std::string_view name);

    const MountedData& data_;
    bool recursive_;
    DependencyList found_;
    /// All that were met, each once.
    std::vector<const UnitDeclaration*> units_;
    std::unordered_set<const UnitDeclaration*> known_;
    /// Roles and names that the unit being followed has led to.
    std::unordered_set<std::string> followed_;
    /// The textures of each model, which units may share, by its path.
    std::unordered_map<std::string, std::vector<std::string>> textures_;
    /// The entries that name each unit as what is built, and as the builder.
    std::multimap<std::string, const TableEntry*> downloadsOf_, downloadsBy_;
};

/// Every role of a unit, each found in one way.
constexpr UnitRole kUnitRoles[] = {
    {DependencyRole::definition, &Walk::findDefinition},
    {DependencyRole::model, &Walk::findModel},
    {DependencyRole::script, &Walk::findScript},
    {DependencyRole::scriptSource, &Walk::findScriptSource},
    {DependencyRole::buildPicture, &Walk::findPictures},
    {DependencyRole::weapon, &Walk::findWeapons},
    {DependencyRole::soundCategory, &Walk::findSoundCategory},
    {DependencyRole::movementClass, &Walk::findMovementClass},
    {DependencyRole::corpse, &Walk::findCorpse},
    {DependencyRole::buildOption, &Walk::findBuildOptions},
    {DependencyRole::buildMenu, &Walk::findBuildMenus},
};

constexpr SectionRole kWeaponRoles[] = {
    {"model", DependencyRole::weaponModel, &Walk::followModel},
    {"bitmap", DependencyRole::weaponSprite, &Walk::followAnimation},
    {"explosiongaf", DependencyRole::explosionSprite, &Walk::followAnimationFile},
    {"explosionart", DependencyRole::explosionSprite, &Walk::followAnimation},
    {"waterexplosiongaf", DependencyRole::explosionSprite, &Walk::followAnimationFile},
    {"waterexplosionart", DependencyRole::explosionSprite, &Walk::followAnimation},
};
/// Every key of a weapon with this in it names a sound: soundstart or startsound, soundhit,
/// soundwater and others. Some of them are switches.
constexpr std::string_view kSoundKey = "SOUND";

constexpr SectionRole kFeatureRoles[] = {
    {"object", DependencyRole::featureModel, &Walk::followModel},
    {"filename", DependencyRole::featureModel, &Walk::followAnimationFile},
    {"featuredead", DependencyRole::feature, &Walk::followFeature},
    {"featurereclamate", DependencyRole::feature, &Walk::followFeature},
    {"featureburnt", DependencyRole::feature, &Walk::followFeature},
};

UnitDependencies Walk::run(std::span<const std::string> units, const io::Progress& progress) {
    for (const std::string& name : units) requireUnit(name);
    for (std::size_t i = 0; i < units_.size(); ++i) {
        progress(units_[i]->name, i, units_.size());
        visit(*units_[i]);
    }
    UnitDependencies all = found_.take();
    for (const UnitDeclaration* const unit : units_) all.units.push_back(unit->name);
    return all;
}

void Walk::requireUnit(const std::string& name) {
    if (const UnitDeclaration* const unit = data_.catalogue.findLoadable(name)) return queue(unit);
    const std::string path = definitionPath(data_.files, data_.catalogue, name);
    const auto text = reportingFailure([&] { return data_.files.readFile(path); });
    if (text && !io::readFbiUnitInfo(io::asText(*text)))
        throw RequestError("FBI has no [UNITINFO] section: " + path);
    throw unitNotFound(name);
}

/// Units are followed one after the other, however they build each other.
void Walk::queue(const UnitDeclaration* unit) {
    if (known_.insert(unit).second) units_.push_back(unit);
}

void Walk::visit(const UnitDeclaration& unit) {
    found_.setUser(unit.name);
    followed_.clear();
    for (const UnitRole& row : kUnitRoles) (this->*row.find)(unit, row.role);
}

bool Walk::isNew(DependencyRole role, std::string_view name) {
    return followed_.insert(fmt::format("{} {}", static_cast<int>(role), io::upperCased(name)))
        .second;
}

void Walk::findDefinition(const UnitDeclaration& unit, DependencyRole role) {
    found_.add(unit.file.path, role);
}

void Walk::findModel(const UnitDeclaration& unit, DependencyRole role) {
    followModel(unit.info.objectName, role);
}

void Walk::findScript(const UnitDeclaration& unit, DependencyRole role) {
    const std::string path = scriptPath(unit.info, unit.name);
    if (!found_.add(path, role)) return found_.miss(role, path);
    try {
        if (const auto bytes = data_.files.readFile(path)) io::parseCob(*bytes);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        found_.damage(path, error.what());
    }
}

void Walk::findScriptSource(const UnitDeclaration& unit, DependencyRole role) {
    const std::string path = io::kScriptSourceFiles.path(scriptName(unit.info, unit.name));
    if (!found_.add(path, role)) return;
    try {
        const auto source = data_.files.readFile(path);
        if (!source) return;
        for (const std::string& included :
             bos::includedFiles(io::asText(*source), path, data_.files))
            found_.add(included, role);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        found_.damage(path, error.what());
    }
}

void Walk::findPictures(const UnitDeclaration& unit, DependencyRole role) {
    const UnitPictures pictures = findUnitPictures(data_, unit.name, unit.info.buildPic);
    for (const BuildPictureSource& source : pictures.sources) found_.add(source.path, role);
    const std::string_view stem = buildPictureStem(pictures.pictureName);
    for (const std::string_view ending : kBuildPictureEndings)
        found_.add(fmt::format("{}/{}{}", io::kBuildPictureFiles.folder, stem, ending), role);
    if (pictures.sources.empty()) found_.miss(role, pictures.pictureName);
}

void Walk::findWeapons(const UnitDeclaration& unit, DependencyRole) {
    for (const std::string_view name : unit.info.weaponSlots()) followWeapon(name);
    followWeapon(unit.info.explodeAs);
    followWeapon(unit.info.selfDestructAs);
}

void Walk::findSoundCategory(const UnitDeclaration& unit, DependencyRole role) {
    const std::string& name = unit.info.soundCategory;
    if (isAbsent(name)) return;
    const TableEntry* const entry = data_.tables.soundCategories.find(name);
    if (!entry) return found_.miss(role, name);
    found_.addSection(&GameTables::soundCategories, *entry, role);
    for (const auto& [event, sound] : entry->section.values)
        followSound(sound, DependencyRole::sound);
}

void Walk::findMovementClass(const UnitDeclaration& unit, DependencyRole role) {
    const std::string& name = unit.info.movementClass;
    if (isAbsent(name)) return;
    if (const TableEntry* const entry = data_.tables.movementClasses.find(name))
        return found_.addSection(&GameTables::movementClasses, *entry, role);
    if (!unit.info.canFly) found_.miss(role, name);
}

void Walk::findCorpse(const UnitDeclaration& unit, DependencyRole role) {
    const std::string& name = unit.info.corpse;
    if (isAbsent(name)) return;
    const TableEntry* const feature = data_.tables.features.find(name);
    const UnitDeclaration* const wreck = data_.catalogue.find(name);
    if (!feature && !wreck) return found_.miss(role, name);
    if (feature) {
        found_.addSection(&GameTables::features, *feature, role);
        followFeature(name, DependencyRole::feature);
    }
    if (!wreck) return;
    // Nobody ever hears or fights it.
    found_.add(wreck->file.path, role);
    followModel(wreck->info.objectName, DependencyRole::model);
}

void Walk::findBuildOptions(const UnitDeclaration& unit, DependencyRole role) {
    for (const std::string& name :
         buildableUnits(unit.info, data_.tables.buildMenus.of(unit.name))) {
        if (isAbsent(name)) continue;
        const UnitDeclaration* const option = data_.catalogue.findLoadable(name);
        if (!option)
            found_.miss(role, name);
        else if (recursive_) {
            queue(option);
            found_.add(option->file.path, role);
        }
    }
}

void Walk::indexDownloads() {
    if (!downloadsOf_.empty()) return;
    for (const TableEntry* const entry : data_.tables.downloads.visible()) {
        const auto upper = [&](std::string_view key) {
            return io::upperCased(entry->section.getString(key).value_or(""));
        };
        downloadsOf_.emplace(upper("UNITNAME"), entry);
        downloadsBy_.emplace(upper("UNITMENU"), entry);
    }
}

/// The places of the unit in menus of others, and the places of others in its own.
void Walk::findBuildMenus(const UnitDeclaration& unit, DependencyRole role) {
    indexDownloads();
    const auto [first, last] = downloadsOf_.equal_range(io::upperCased(unit.name));
    for (auto entry = first; entry != last; ++entry)
        found_.addSection(&GameTables::downloads, *entry->second, role);
    const auto [begin, end] = downloadsBy_.equal_range(io::upperCased(unit.name));
    for (auto entry = begin; entry != end; ++entry) {
        const auto built = entry->second->section.getString("UNITNAME").value_or("");
        const bool comesAlong =
            data_.catalogue.findBase(built) || (recursive_ && data_.catalogue.findLoadable(built));
        if (comesAlong) found_.addSection(&GameTables::downloads, *entry->second, role);
    }
    if (const TableEntry* const canBuild = findCanBuild(data_.tables, unit.name))
        found_.addSection(&GameTables::sideData, *canBuild, role);
}

void Walk::followWeapon(std::string_view name) {
    if (isAbsent(name) || !isNew(DependencyRole::weapon, name)) return;
    const TableEntry* const entry = data_.tables.weapons.find(name);
    if (!entry) return found_.miss(DependencyRole::weapon, name);
    found_.addSection(&GameTables::weapons, *entry, DependencyRole::weapon);
    followKeys(*entry, kWeaponRoles);
    for (const auto& [key, value] : entry->section.values)
        if (key.find(kSoundKey) != std::string::npos) followSound(value, DependencyRole::sound);
}

/// Features may turn into each other in circles, and in long rows.
void Walk::followFeature(std::string_view name, DependencyRole role) {
    std::vector<std::string> names = {std::string(name)};
    std::size_t followed = 0;
    while (!names.empty()) {
        const std::string feature = std::move(names.back());
        names.pop_back();
        if (isAbsent(feature) || !isNew(role, feature)) continue;
        const TableEntry* const entry = data_.tables.features.find(feature);
        if (!entry) {
            found_.miss(role, feature);
            continue;
        }
        if (++followed > kMaxFeaturesInARow)
            return found_.damage(
                entry->file.path,
                fmt::format("more than {} features turn into each other", kMaxFeaturesInARow));
        found_.addSection(&GameTables::features, *entry, role);
        for (const SectionRole& row : kFeatureRoles) {
            const std::string value(entry->section.getString(row.key).value_or(""));
            if (row.role == DependencyRole::feature)
                names.push_back(value);
            else
                (this->*row.find)(value, row.role);
        }
    }
}

void Walk::followKeys(const TableEntry& entry, std::span<const SectionRole> roles) {
    for (const SectionRole& row : roles)
        (this->*row.find)(entry.section.getString(row.key).value_or(""), row.role);
}

void Walk::followModel(std::string_view name, DependencyRole role) {
    if (isAbsent(name) || !isNew(role, name)) return;
    const std::string path = io::kModelFiles.path(modelFileName(data_.files, name));
    if (!found_.add(path, role)) return found_.miss(role, path);
    followTextures(path);
}

void Walk::followTextures(const std::string& modelPath) {
    const auto [known, isUnread] = textures_.try_emplace(io::upperCased(modelPath));
    if (isUnread) {
        try {
            if (const auto bytes = data_.files.readFile(modelPath))
                known->second = textureNames(io::parse3do(*bytes));
        } catch (const std::exception& error) {
            io::rethrowOutOfMemory(error);
            found_.damage(modelPath, error.what());
        }
    }
    for (const std::string& name : known->second) {
        if (!isNew(DependencyRole::texture, name)) continue;
        const GafEntryRef* const texture = data_.pictures.textures.locate(name);
        if (!texture || !found_.add(texture->path, DependencyRole::texture))
            found_.miss(DependencyRole::texture, name);
    }
}

void Walk::followAnimation(std::string_view name, DependencyRole role) {
    if (isAbsent(name)) return;
    const GafEntryRef* const entry = data_.pictures.animations.find(name);
    if (!entry || !found_.add(entry->path, role)) found_.miss(role, name);
}

void Walk::followAnimationFile(std::string_view name, DependencyRole role) {
    if (isAbsent(name)) return;
    const std::string path = io::kAnimationFiles.path(io::kAnimationFiles.stem(name));
    if (!found_.add(path, role)) found_.miss(role, path);
}

void Walk::followSound(std::string_view name, DependencyRole role) {
    if (isAbsent(name)) return;
    const std::string path = io::kSoundFiles.path(io::kSoundFiles.stem(name));
    if (!found_.add(path, role) && !isNumber(name)) found_.miss(role, path);
}

}  // namespace

std::string_view nameOf(DependencyRole role) {
    return kRoleNames[static_cast<std::size_t>(role)];
}

std::uint64_t UnitDependencies::totalSize() const {
    return std::accumulate(
        files.begin(), files.end(), std::uint64_t{0},
        [](std::uint64_t sum, const Dependency& file) { return sum + file.size; });
}

UnitDependencies findUnitDependencies(const MountedData& data, std::span<const std::string> units,
                                      bool recursive, const io::Progress& progress) {
    return Walk(data, recursive).run(units, progress);
}

}  // namespace orb::unitview
