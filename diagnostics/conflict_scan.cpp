#include "diagnostics/conflict_scan.h"

#include <unordered_set>

#include <fmt/format.h>

#include "diagnostics/declared_files.h"
#include "diagnostics/references.h"
#include "io/ascii.h"
#include "io/game_paths.h"
#include "session/model_file.h"

namespace orb::unitview {
namespace {

/// The files of one kind that the stack holds, listed once: asking every layer for every unit's
/// files costs many times as much.
class FileNames {
public:
    FileNames(const io::CompositeVirtualFileSystem& files, const io::GameFiles& kind)
        : files_(files), kind_(kind) {
        for (const io::VfsLayer& layer : files.layers())
            for (const std::string& name : layer.files->listFiles(kind.folder, kind.extension))
                names_.insert(io::lowerCased(name));
    }

    std::string pathOf(std::string_view name) const { return kind_.path(name); }

    bool contains(std::string_view name) const {
        // A name may lead into a sub-directory, which the list leaves out.
        if (name.find_first_of("/\\") != std::string_view::npos)
            return files_.locate(pathOf(name)).has_value();
        return names_.contains(io::lowerCased(name) + std::string(kind_.extension));
    }

private:
    const io::CompositeVirtualFileSystem& files_;
    const io::GameFiles& kind_;
    std::unordered_set<std::string> names_;
};

class Scan {
public:
    explicit Scan(const MountedData& data) : data_(data) {}

    std::vector<ConflictFinding> run(const io::Progress& progress) {
        findUnitCollisions();
        findWeaponCollisions();
        const auto& roster = data_.catalogue.roster();
        for (std::size_t i = 0; i < roster.size(); ++i) {
            progress(roster[i]->name, i, roster.size());
            checkUnit(*roster[i]);
        }
        return std::move(findings_);
    }

private:
    void findUnitCollisions() {
        for (const auto& [name, declarations] : data_.catalogue.declarations()) {
            if (declarations.size() < 2) continue;
            ConflictFinding finding{ConflictKind::unitNameCollision};
            finding.files = declaringFiles(data_.catalogue, name);
            if (finding.files.size() < 2) continue;
            finding.unitName = name;
            finding.detail =
                fmt::format("UnitName={} declared by {} FBIs", name, finding.files.size());
            findings_.push_back(std::move(finding));
        }
    }

    void findWeaponCollisions() {
        for (const auto& [name, declarations] : data_.tables.weapons.declarations()) {
            if (declarations.size() < 2) continue;
            ConflictFinding finding{ConflictKind::weaponNameCollision};
            finding.files = declaringFiles(declarations);
            finding.asset = name;
            finding.detail =
                fmt::format("Weapon `{}` declared by {} TDFs", name, declarations.size());
            findings_.push_back(std::move(finding));
        }
    }

    void checkUnit(const UnitDeclaration& unit) {
        const std::size_t before = findings_.size();
        checkFiles(unit);
        checkReferences(unit.info);
        if (findings_.size() == before) return;
        const std::string file = locationText(unit.file.location());
        for (std::size_t i = before; i < findings_.size(); ++i) {
            findings_[i].unitName = unit.name;
            findings_[i].unitFile = file;
        }
    }

    void checkFiles(const UnitDeclaration& unit) {
        const std::string& model = unit.info.objectName;
        if (model.empty())
            add(ConflictKind::missingModel, "", std::string(kNoObjectName));
        else if (const auto file = modelFileName(
                     model, [&](std::string_view name) { return models_.contains(name); });
                 !models_.contains(file))
            add(ConflictKind::missingModel, models_.pathOf(model), "3DO not found");
        requireFile(scripts_, scriptName(unit.info, unit.name), ConflictKind::missingScript,
                    "COB script not found");
        requireFile(pictures_, unit.name, ConflictKind::missingBuildPicture,
                    "Build picture not found");
    }

    void requireFile(const FileNames& names, std::string_view name, ConflictKind kind,
                     std::string_view detail) {
        if (!names.contains(name)) add(kind, names.pathOf(name), std::string(detail));
    }

    void checkReferences(const io::FbiUnitInfo& info) {
        if (!isAbsentName(info.corpse) && !isKnownCorpse(data_, info.corpse))
            add(ConflictKind::missingCorpse, info.corpse,
                fmt::format("Corpse={} unit not found in roster", info.corpse));
        int slot = 0;
        for (const std::string_view weapon : info.weaponSlots())
            if (++slot; isUnknownWeapon(weapon))
                add(ConflictKind::missingWeapon, std::string(weapon),
                    fmt::format("Weapon{}={} {} — slot will not fire", slot, weapon,
                                kNotInWeaponRegistry));
        checkExplosion("ExplodeAs", info.explodeAs);
        checkExplosion("SelfDestructAs", info.selfDestructAs);
    }

    void checkExplosion(std::string_view key, const std::string& weapon) {
        if (isUnknownWeapon(weapon))
            add(ConflictKind::missingExplosion, weapon,
                fmt::format("{}={} {}", key, weapon, kNoDeathEffect));
    }

    bool isUnknownWeapon(std::string_view name) const {
        return !isAbsentName(name) && !isKnownWeapon(data_, name);
    }

    void add(ConflictKind kind, std::string asset, std::string detail) {
        ConflictFinding finding{kind};
        finding.asset = std::move(asset);
        finding.detail = std::move(detail);
        findings_.push_back(std::move(finding));
    }

    const MountedData& data_;
    FileNames models_{data_.files, io::kModelFiles};
    FileNames scripts_{data_.files, io::kScriptFiles};
    FileNames pictures_{data_.files, io::kBuildPictureFiles};
    std::vector<ConflictFinding> findings_;
};

}  // namespace

ConflictSeverity severityOf(ConflictKind kind) {
    switch (kind) {
        case ConflictKind::missingBuildPicture:
        case ConflictKind::missingCorpse:
        case ConflictKind::missingExplosion:
            return ConflictSeverity::info;
        default:
            return ConflictSeverity::warn;
    }
}

std::vector<ConflictFinding> scanConflicts(const MountedData& data, const io::Progress& progress) {
    return Scan(data).run(progress);
}

}  // namespace orb::unitview
