#include "authoring/min_mod_pack.h"

#include <algorithm>
#include <functional>
#include <map>
#include <unordered_set>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/formats/tdf_writer.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "io/path_text.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kSameInBase = "the base game has the same";

/// How sections of one table get into a pack.
struct PackedTable {
    NamedTable GameTables::*table;
    /// Where the gathered sections go. Without a folder the game reads one file only, and the whole
    /// of it is packed.
    io::GameFiles gathered = {};
    /// Sections are found by their values, and number their names.
    std::string_view numberedName = {};
};

constexpr PackedTable kPackedTables[] = {
    {&GameTables::weapons, io::kWeaponFiles},
    {&GameTables::features, {"features/corpses", ".tdf"}},
    {&GameTables::downloads, io::kDownloadFiles, "MENUENTRY"},
    {&GameTables::movementClasses},
    {&GameTables::soundCategories},
    {&GameTables::sideData},
};

/// A pack's name as files inside archives can have it.
std::string packStem(const std::filesystem::path& destination) {
    std::string stem = io::textFromPath(destination.stem());
    for (char& c : stem) {
        const bool isPlain =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
        if (!isPlain) c = '_';
    }
    return stem;
}

bool isInBase(const MountedData& data, const std::string& path) {
    const auto found = data.files.locateInLayers(path);
    return found && found->layer->rootKind == io::DataRootKind::base;
}

/// What the base game alone reads of a path; a damaged file counts as none.
std::optional<io::Bytes> readOrNone(const MountedData& base, const std::string& path) {
    try {
        return base.files.readFile(path);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        return std::nullopt;
    }
}

class MinPack {
public:
    MinPack(const MountedData& data, const MinPackRequest& request, const io::Progress& progress)
        : content(request.pack.compression),
          data_(data),
          progress_(progress),
          dependencies_(findUnitDependencies(data, request.units, request.recursive, progress)),
          base_(mountDataRoots({data.request.taDataPath, {}, {}}, data.palette, progress)),
          stem_(packStem(request.pack.destination)) {}

    void gather() {
        refuseDamaged();
        std::size_t done = 0;
        for (const Dependency& file : dependencies_.files) {
            progress_(file.path, done++, dependencies_.files.size());
            if (!file.isTable) takeFile(file);
        }
        for (const PackedTable& table : kPackedTables) takeTable(table);
        for (MissingDependency& missing : dependencies_.missing)
            result.missing.push_back(std::move(missing));
        std::ranges::sort(result.files, {}, &MinPackFile::path);
        std::ranges::sort(result.leftOut, {}, &LeftOutFile::path);
    }

    MinPackResult result;
    PackContent content;

private:
    using Sections = std::vector<const NeededSection*>;

    void refuseDamaged() const {
        for (const auto& [path, message] : dependencies_.damaged)
            if (!isInBase(data_, path))
                throw RequestError(fmt::format("damaged file: {}: {}", path, message));
    }

    io::Bytes read(const std::string& path) const {
        auto bytes = reportingFailure([&] { return data_.files.readFile(path); },
                                      "cannot read: " + path + ": ");
        if (!bytes) throw RequestError("cannot read: " + path);
        return std::move(*bytes);
    }

    void takeFile(const Dependency& file) {
        // What wins over nothing else is what the base game reads by itself.
        if (file.source.inBaseTa) return leaveOut(file.path, kSameInBase);
        const io::Bytes bytes = read(file.path);
        if (readOrNone(*base_, file.path) == bytes) return leaveOut(file.path, kSameInBase);
        take({file.path, file.roles, file.usedBy, 0}, bytes);
    }

    void take(MinPackFile file, io::ByteView bytes) {
        file.size = bytes.size();
        content.add(file.path, bytes);
        result.files.push_back(std::move(file));
    }

    void leaveOut(const std::string& path, std::string_view reason) {
        result.leftOut.push_back({path, std::string(reason)});
    }

    void takeTable(const PackedTable& table) {
        Sections needed;
        // The files of the sections, and whether the pack needs anything of each.
        std::map<std::string, bool> files;
        const auto sameInBase = baseSections(table);
        for (const NeededSection& section : dependencies_.sections) {
            if (section.table != table.table) continue;
            const bool isNeeded = !sameInBase(section);
            files[section.entry->file.path] |= isNeeded;
            if (isNeeded) needed.push_back(&section);
        }
        const std::string gathered = needed.empty() ? "" : gatheredPath(table);
        for (const auto& [path, isNeeded] : files)
            if (!isNeeded)
                leaveOut(path, kSameInBase);
            else if (!gathered.empty())
                leaveOut(path, "the sections that are needed are in " + gathered);
        if (!gathered.empty())
            takeSections(table, gathered, needed);
        else
            for (const auto& [path, isNeeded] : files)
                if (isNeeded) takeWholeTable(path, needed);
    }

    /// Whether the base game by itself reads the same section.
    std::function<bool(const NeededSection&)> baseSections(const PackedTable& table) const {
        const NamedTable& sections = base_->tables.*table.table;
        if (table.table == &GameTables::sideData)
            return [this](const NeededSection& section) { return baseMenusHoldAllOf(section); };
        if (table.numberedName.empty())
            return [&sections](const NeededSection& section) {
                const TableEntry* const known = sections.find(section.entry->name);
                return known &&
                       io::tdfText("", known->section) == io::tdfText("", section.entry->section);
            };
        std::unordered_set<std::string> texts;
        for (const TableEntry* const entry : sections.visible())
            texts.insert(io::tdfText("", entry->section));
        return [texts = std::move(texts)](const NeededSection& section) {
            return texts.contains(io::tdfText("", section.entry->section));
        };
    }

    /// Of the places in menus that [CANBUILD] gives, those of or for the packed units.
    bool baseMenusHoldAllOf(const NeededSection& section) const {
        const auto isPacked = [&](std::string_view name) {
            return std::ranges::any_of(section.usedBy, [&](const std::string& unit) {
                return io::equalsIgnoringCase(unit, name);
            });
        };
        const auto isKnown = [&](std::string_view builder, std::string_view built) {
            const auto menu = base_->tables.buildMenus.of(builder);
            return std::ranges::any_of(menu, [&](const BuildMenuEntry& entry) {
                return io::equalsIgnoringCase(entry.unit, built);
            });
        };
        for (const auto& [builder, menu] : data_.tables.buildMenus.builders())
            for (const BuildMenuEntry& entry : menu)
                if (*entry.file == section.entry->file &&
                    (isPacked(builder) || isPacked(entry.unit)) && !isKnown(builder, entry.unit))
                    return false;
        return true;
    }

    /// A file that hides none of the base game's, whose other sections would be lost; empty for a
    /// table that is packed as a whole.
    std::string gatheredPath(const PackedTable& table) const {
        if (table.gathered.folder.empty()) return {};
        std::string stem = stem_;
        while (base_->files.locate(table.gathered.path(stem))) stem += '_';
        return table.gathered.path(stem);
    }

    void takeSections(const PackedTable& table, const std::string& path, const Sections& needed) {
        MinPackFile file{path, {}, {}, 0};
        std::string text;
        std::size_t number = 0;
        for (const NeededSection* const section : needed) {
            const std::string name = table.numberedName.empty()
                                         ? section->entry->name
                                         : fmt::format("{}{}", table.numberedName, ++number);
            text += io::tdfText(name, section->entry->section);
            addUse(file, *section);
        }
        take(std::move(file), io::asBytes(text));
    }

    void takeWholeTable(const std::string& path, const Sections& needed) {
        MinPackFile file{path, {}, {}, 0};
        std::string names;
        for (const NeededSection* const section : needed) {
            if (section->entry->file.path != path) continue;
            names += (names.empty() ? "" : ", ") + section->entry->name;
            addUse(file, *section);
        }
        take(std::move(file), read(path));
        result.warnings.push_back(fmt::format(
            "{} takes the place of the base game's table: it is needed for {}", path, names));
    }

    static void addUse(MinPackFile& file, const NeededSection& section) {
        file.roles.insert(section.roles.begin(), section.roles.end());
        file.usedBy.insert(section.usedBy.begin(), section.usedBy.end());
    }

    const MountedData& data_;
    const io::Progress& progress_;
    UnitDependencies dependencies_;
    std::unique_ptr<MountedData> base_;
    std::string stem_;
};

}  // namespace

MinPackResult exportMinModPack(UnitViewSession& session, const MinPackRequest& request,
                               const io::Progress& progress, io::FileOps& ops) {
    const MountedData& data = session.data();
    requirePackDestination(session, request.pack);
    MinPack pack(data, request, progress);
    pack.gather();
    MinPackResult result = std::move(pack.result);
    result.pack = writePack(session, request.pack, std::move(pack.content), ops);
    return result;
}

}  // namespace orb::unitview
