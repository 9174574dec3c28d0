#include "diagnostics/conflict_scan.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "diagnostics/absent_name.h"
#include "diagnostics/declared_files.h"
#include "io/ascii.h"

namespace orb::unitview {
namespace {

/// The files of one kind that the stack holds, listed once: asking every layer for every unit's
/// files costs many times as much.
class FileNames {
public:
    FileNames(const io::CompositeVirtualFileSystem& files, std::string_view directory,
              std::string_view suffix)
        : files_(files), directory_(directory), suffix_(suffix) {
        for (const io::VfsLayer& layer : files.layers())
            for (const std::string& name : layer.files->listFiles(directory, suffix))
                names_.insert(io::lowerCased(name));
    }

    std::string pathOf(std::string_view name) const {
        return fmt::format("{}/{}{}", directory_, name, suffix_);
    }

    bool contains(std::string_view name) const {
        // A name may lead into a sub-directory, which the list leaves out.
        if (name.find_first_of("/\\") != std::string_view::npos)
            return files_.locate(pathOf(name)).has_value();
        return names_.contains(io::lowerCased(fmt::format("{}{}", name, suffix_)));
    }

private:
    const io::CompositeVirtualFileSystem& files_;
    std::string_view directory_;
    std::string_view suffix_;
    std::unordered_set<std::string> names_;
};

class Scan {
public:
    explicit Scan(const MountedData& data) : data_(data) {}

    std::vector<ConflictFinding> run() {
        findUnitCollisions();
        findWeaponCollisions();
        for (const UnitDeclaration* unit : data_.catalogue.roster()) checkUnit(*unit);
        return std::move(findings_);
    }

private:
    void findUnitCollisions() {
        for (const auto& [name, declarations] : data_.catalogue.declarations()) {
            if (declarations.size() < 2) continue;
            ConflictFinding finding{"unit-name-collision"};
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
            ConflictFinding finding{"weapon-name-collision"};
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
            add("missing-3do", ConflictSeverity::warn, "", "FBI has no ObjectName");
        else
            requireFile(models_, model, "missing-3do", ConflictSeverity::warn, "3DO not found");
        requireFile(scripts_, std::string(scriptName(unit.info, unit.name)), "missing-cob",
                    ConflictSeverity::warn, "COB script not found");
        requireFile(pictures_, unit.name, "missing-buildpic", ConflictSeverity::info,
                    "Build picture not found");
    }

    void requireFile(const FileNames& names, const std::string& name, std::string_view kind,
                     ConflictSeverity severity, std::string_view detail) {
        if (!names.contains(name)) add(kind, severity, names.pathOf(name), std::string(detail));
    }

    void checkReferences(const io::FbiUnitInfo& info) {
        if (!isAbsentName(info.corpse) && !data_.catalogue.find(info.corpse))
            add("missing-corpse", ConflictSeverity::info, info.corpse,
                fmt::format("Corpse={} unit not found in roster", info.corpse));
        int slot = 0;
        for (const std::string* weapon : {&info.weapon1, &info.weapon2, &info.weapon3})
            if (++slot; isUnknownWeapon(*weapon))
                add("missing-weapon-ref", ConflictSeverity::warn, *weapon,
                    fmt::format("Weapon{}={} not in the weapon registry — slot will not fire", slot,
                                *weapon));
        checkExplosion("ExplodeAs", info.explodeAs);
        checkExplosion("SelfDestructAs", info.selfDestructAs);
    }

    void checkExplosion(std::string_view key, const std::string& weapon) {
        if (isUnknownWeapon(weapon))
            add("missing-explode-as", ConflictSeverity::info, weapon,
                fmt::format("{}={} not in the weapon/explosion registry — no death effect", key,
                            weapon));
    }

    bool isUnknownWeapon(const std::string& name) const {
        return !isAbsentName(name) && !data_.tables.weapons.find(name);
    }

    void add(std::string_view kind, ConflictSeverity severity, std::string asset,
             std::string detail) {
        ConflictFinding finding{kind, severity};
        finding.asset = std::move(asset);
        finding.detail = std::move(detail);
        findings_.push_back(std::move(finding));
    }

    const MountedData& data_;
    FileNames models_{data_.files, "objects3d", ".3do"};
    FileNames scripts_{data_.files, "scripts", ".cob"};
    FileNames pictures_{data_.files, "unitpics", ".pcx"};
    std::vector<ConflictFinding> findings_;
};

}  // namespace

std::vector<ConflictFinding> scanConflicts(const MountedData& data) {
    return Scan(data).run();
}

}  // namespace orb::unitview
