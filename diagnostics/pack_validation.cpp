#include "diagnostics/pack_validation.h"

#include <algorithm>
#include <map>
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "diagnostics/unit_health.h"
#include "io/ascii.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "io/vfs/hpi_file_system.h"
#include "server/logger.h"
#include "session/archive_browser.h"
#include "session/request_error.h"
#include "session/unit_dependencies.h"

namespace orb::unitview {
namespace {

constexpr std::int32_t kHighestWeaponId = 255;
constexpr std::size_t kUnitsPerLogLine = 100;

/// What the game reads of a folder. One without extensions it reads, or may read, as a whole.
struct ReadFolder {
    std::string_view folder;
    std::vector<std::string_view> extensions;
    bool withSubfolders = false;
};

const std::vector<ReadFolder>& readFolders() {
    static const std::vector<ReadFolder> kFolders = {
        {io::kUnitFiles.folder, {io::kUnitFiles.extension}},
        {"unitse", {io::kUnitFiles.extension}},
        {io::kModelFiles.folder, {io::kModelFiles.extension}},
        {io::kScriptFiles.folder, {io::kScriptFiles.extension}},
        {io::kBuildPictureFiles.folder, {io::kBuildPictureFiles.extension}},
        {io::kTextureFiles.folder, {io::kTextureFiles.extension}},
        {io::kAnimationFiles.folder, {io::kAnimationFiles.extension}},
        {io::kSoundFiles.folder, {io::kSoundFiles.extension}},
        {io::kWeaponFiles.folder, {io::kWeaponFiles.extension}},
        {io::kDownloadFiles.folder, {io::kDownloadFiles.extension}},
        {io::kFeatureFiles.folder, {io::kFeatureFiles.extension}, true},
        {io::kMapFiles.folder, {io::kMapFiles.extension, io::kMapDescriptionFiles.extension}},
        {io::kGameTableFiles.folder, {}, true},
        {"ai", {}, true},
        {"bitmaps", {}, true},
        {"camps", {}, true},
        {"fonts", {}, true},
        {"guis", {}, true},
        {"palettes", {}, true},
        {"sections", {}, true},
    };
    return kFolders;
}

/// Tables that are found at the top too.
constexpr std::string_view kTopFiles[] = {"moveinfo.tdf", "sound.tdf", "allsound.tdf",
                                          "weapons.tdf", "sidedata.tdf"};

bool isRead(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return std::ranges::any_of(
            kTopFiles, [&](std::string_view name) { return io::equalsIgnoringCase(name, path); });
    const std::string_view folder = path.substr(0, slash), name = path.substr(slash + 1);
    return std::ranges::any_of(readFolders(), [&](const ReadFolder& row) {
        const bool isIn = io::equalsIgnoringCase(folder, row.folder) ||
                          (row.withSubfolders && folder.size() > row.folder.size() &&
                           folder[row.folder.size()] == '/' &&
                           io::equalsIgnoringCase(folder.substr(0, row.folder.size()), row.folder));
        return isIn && (row.extensions.empty() ||
                        std::ranges::any_of(row.extensions, [&](std::string_view extension) {
                            return io::endsWithIgnoringCase(name, extension);
                        }));
    });
}

/// What scripts are compiled from travels with them; the game leaves it alone.
bool isScriptSource(std::string_view path) {
    const std::size_t folder = io::kScriptFiles.folder.size();
    return path.size() > folder && path[folder] == '/' &&
           io::equalsIgnoringCase(path.substr(0, folder), io::kScriptFiles.folder) &&
           (io::endsWithIgnoringCase(path, io::kScriptSourceFiles.extension) ||
            io::endsWithIgnoringCase(path, ".h"));
}

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

class Validation {
public:
    Validation(const MountedData& data, const io::Progress& progress)
        : data_(data),
          progress_(progress),
          pack_(data.files.layers().front()),
          archive_(dynamic_cast<const io::HpiFileSystem&>(*pack_.files).archive()) {}

    PackValidation run() {
        checkFiles();
        checkDefinitions();
        checkUnits();
        checkDependencies();
        checkWeapons();
        std::ranges::stable_sort(result_.findings, {}, &PackFinding::severity);
        return std::move(result_);
    }

private:
    void add(PackSeverity severity, std::string_view code, std::string path, std::string unit,
             std::string message) {
        result_.findings.push_back(
            {severity, code, std::move(path), std::move(unit), std::move(message)});
    }

    bool isPacked(const LayerFile& file) const { return file.layer == &pack_; }

    void checkFiles() {
        io::HpiReader reader = archive_.openReader();
        std::uint64_t bytesLeft = reader.maxDecodedBytes();
        const std::vector<ArchiveFile> files = listArchiveFiles(archive_, "");
        result_.fileCount = files.size();
        for (const ArchiveFile& file : files) {
            progress_(file.path, static_cast<std::size_t>(&file - files.data()), files.size());
            checkName(file);
            try {
                if (file.entry->fileSize > bytesLeft)
                    throw std::runtime_error("more data than the archive can hold");
                bytesLeft -= file.entry->fileSize;
                reader.readFile(*file.entry);
            } catch (const std::exception& error) {
                io::rethrowOutOfMemory(error);
                add(PackSeverity::error, "damaged-file", file.path, {}, error.what());
            }
        }
    }

    void checkName(const ArchiveFile& file) {
        const std::string& path = file.path;
        if (!isSafePath(path))
            return add(PackSeverity::error, "unsafe-path", path, {}, "no disk can take this path");
        if (!isAscii(path))
            add(PackSeverity::warning, "non-ascii-name", path, {},
                "the name has characters outside ASCII");
        const io::HpiEntry* const found = archive_.findFile(path);
        if (!found || found->file() != file.entry)
            return add(PackSeverity::warning, "hidden-file", path, {},
                       "another file of that name comes first");
        if (isScriptSource(path))
            add(PackSeverity::info, "script-source", path, {}, "the game reads no script sources");
        else if (!isRead(path))
            add(PackSeverity::warning, "unread-file", path, {}, "the game never reads this file");
        else if (const auto base = findInBase(path))
            add(PackSeverity::info, "replaces-file", path, {},
                "takes the place of " + locationText(base->location));
    }

    std::optional<io::LayeredLocation> findInBase(const std::string& path) const {
        for (const io::LayeredLocation& found : data_.files.locateAll(path))
            if (found.layer->rootKind == io::DataRootKind::base) return found;
        return std::nullopt;
    }

    /// A definition that names no unit is not in the catalogue.
    void checkDefinitions() {
        const auto visit = [&](std::string_view name, const std::optional<io::Bytes>& content,
                               std::string_view) {
            if (content && !io::readFbiUnitInfo(io::asText(*content)))
                add(PackSeverity::error, "no-unitinfo",
                    fmt::format("{}/{}", io::kUnitFiles.folder, name), {}, "no [UNITINFO] section");
        };
        pack_.files->forEachFile(io::kUnitFiles.folder, io::kUnitFiles.extension, visit);
    }

    void checkUnits() {
        std::vector<const UnitDeclaration*> packed;
        for (const auto& [name, declarations] : data_.catalogue.declarations())
            for (const UnitDeclaration* const unit : declarations)
                if (isPacked(unit->file) && !unit->isShadowed) packed.push_back(unit);
        for (const UnitDeclaration* const unit : packed) {
            progress_(unit->name, result_.units.size(), packed.size());
            checkUnit(*unit);
            if (result_.units.size() % kUnitsPerLogLine == 0)
                LogLine(LogLevel::info) << "[pack] " << result_.units.size() << " units validated";
        }
    }

    void checkUnit(const UnitDeclaration& unit) {
        const std::string& path = unit.file.path;
        if (!io::equalsIgnoringCase(unit.name, unit.fileStem))
            add(PackSeverity::warning, "definition-name", path, unit.name,
                fmt::format("the file is not named after its unit {}", unit.name));
        if (const UnitDeclaration* const base = data_.catalogue.findBase(unit.name))
            add(PackSeverity::info, "replaces-unit", path, unit.name,
                "takes the place of the unit in " + locationText(base->file.location()));
        units_.push_back(unit.fileStem);
        PackUnit report{unit.name, false, 1, 0};
        try {
            const LoadedUnit loaded = loadUnitFiles(data_.files, data_.catalogue, unit.fileStem);
            const UnitHealth health = checkUnitHealth(data_, loaded, LintSuppressions{});
            report = {unit.name, health.isReady(), health.missing, health.warnings};
            for (const HealthRow& row : health.rows)
                if (row.status == CheckStatus::missing)
                    add(PackSeverity::error, "unit-not-ready", path, unit.name, row.detail);
        } catch (const std::exception& error) {
            io::rethrowOutOfMemory(error);
            add(PackSeverity::error, "unit-not-loadable", path, unit.name, error.what());
        }
        result_.units.push_back(std::move(report));
    }

    /// What no check of a unit's health looks at.
    void checkDependencies() {
        const UnitDependencies dependencies =
            reportingFailure([&] { return findUnitDependencies(data_, units_, false, progress_); });
        for (const MissingDependency& missing : dependencies.missing)
            add(PackSeverity::warning, "missing-dependency", {}, *missing.usedBy.begin(),
                fmt::format("{} {} is missing, used by {}", nameOf(missing.role), missing.name,
                            fmt::join(missing.usedBy, ", ")));
        for (const auto& [path, message] : dependencies.damaged)
            if (const auto found = data_.files.locateInLayers(path); found->layer == &pack_)
                add(PackSeverity::error, "damaged-file", path, {}, message);
    }

    void checkWeapons() {
        std::vector<const TableEntry*> packed;
        for (const auto& [name, declarations] : data_.tables.weapons.declarations()) {
            const TableEntry* const weapon = data_.tables.weapons.find(name);
            if (!weapon) continue;
            if (isPacked(weapon->file)) packed.push_back(weapon);
            if (const auto id = weapon->section.getInt("ID")) weaponsById_[*id].push_back(weapon);
        }
        for (const TableEntry* const weapon : packed) checkWeapon(*weapon);
    }

    void checkWeapon(const TableEntry& weapon) {
        const std::string& path = weapon.file.path;
        for (const TableEntry* const other : data_.tables.weapons.declarations(weapon.name))
            if (other->file.isInBaseTa()) {
                add(PackSeverity::info, "replaces-weapon", path, {},
                    fmt::format("weapon {} takes the place of that in {}", weapon.name,
                                locationText(other->file.location())));
                break;
            }
        const auto id = weapon.section.getInt("ID");
        if (!id) return;
        if (*id < 0 || *id > kHighestWeaponId)
            add(PackSeverity::warning, "weapon-id-range", path, {},
                fmt::format("weapon {} has the ID {}: the game knows 0 to {}", weapon.name, *id,
                            kHighestWeaponId));
        const auto& sharing = weaponsById_[*id];
        const auto other = std::ranges::find_if(
            sharing, [&](const TableEntry* entry) { return entry != &weapon; });
        if (other != sharing.end())
            add(PackSeverity::warning, "weapon-id-taken", path, {},
                fmt::format("weapon {} has the ID {} of weapon {}", weapon.name, *id,
                            (*other)->name));
    }

    const MountedData& data_;
    const io::Progress& progress_;
    const io::VfsLayer& pack_;
    const io::HpiArchive& archive_;
    PackValidation result_;
    /// The stems of the pack's definitions.
    std::vector<std::string> units_;
    /// The weapons that the game sees.
    std::map<std::int32_t, std::vector<const TableEntry*>> weaponsById_;
};

}  // namespace

bool PackValidation::isValid() const {
    return std::ranges::find(findings, PackSeverity::error, &PackFinding::severity) ==
           findings.end();
}

PackValidation validateModPack(const std::filesystem::path& pack,
                               const std::filesystem::path& taDataPath, const io::Palette& palette,
                               const io::Progress& progress) {
    return reportingFailure([&] {
        const auto mounted = mountPack(pack, taDataPath, palette, progress);
        return Validation(*mounted, progress).run();
    });
}

}  // namespace orb::unitview
