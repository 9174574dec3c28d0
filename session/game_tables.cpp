#include "session/game_tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <unordered_set>

#include "io/ascii.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kTableSuffix = ".tdf";

/// Where a table's files lie: all of a directory, or the one of that name.
struct TableFiles {
    std::string_view directory;
    /// Empty: every ".tdf" file of the directory.
    std::string_view fileName;
};

constexpr TableFiles kWeaponFiles[] = {
    {"weapons", ""}, {"gamedata", "weapons.tdf"}, {"", "weapons.tdf"}};
constexpr TableFiles kMovementFiles[] = {{"gamedata", "moveinfo.tdf"}, {"", "moveinfo.tdf"}};
constexpr TableFiles kSoundFiles[] = {{"gamedata", "sound.tdf"},
                                      {"gamedata", "allsound.tdf"},
                                      {"", "sound.tdf"},
                                      {"", "allsound.tdf"}};

std::string nameOf(std::string_view sectionName, const io::TdfSection&) {
    return std::string(sectionName);
}

std::string movementClassName(std::string_view sectionName, const io::TdfSection& section) {
    const auto name = section.getString("Name");
    return std::string(name && !name->empty() ? *name : sectionName);
}

using EntryName = std::string (*)(std::string_view sectionName, const io::TdfSection&);

void addSections(NamedTable& table, io::TdfSection root, const LayerFile& file,
                 bool isShadowed, EntryName entryName) {
    for (const auto& [kind, name] : root.order) {
        if (kind != io::TdfSection::Entry::Kind::section) continue;
        io::TdfSection& section = *root.children.find(name)->second;
        std::string key = entryName(name, section);
        table.add({std::move(key), file, isShadowed, std::move(section)});
    }
}

void readLayer(NamedTable& table, const io::VfsLayer& layer,
               const TableFiles& source, std::unordered_set<std::string>& filesAbove,
               EntryName entryName) {
    std::vector<std::string> layerFiles;
    const std::string_view suffix = source.fileName.empty() ? kTableSuffix : source.fileName;
    const auto visit = [&](std::string_view name, const std::optional<io::Bytes>& content,
                           std::string_view error) {
        layerFiles.push_back(io::upperCased(name));
        const LayerFile file{&layer, fmt::format("{}/{}", source.directory, name)};
        if (!content) {
            LogLine(LogLevel::warn)
                << "[tables] cannot read " << locationText(file.location()) << ": " << error;
            return;
        }
        addSections(table, io::parseTdf(io::asText(*content)), file,
                    filesAbove.contains(layerFiles.back()), entryName);
    };
    const auto isWanted = [&](std::string_view name) {
        return source.fileName.empty() || name.size() == source.fileName.size();
    };
    layer.files->forEachFile(source.directory, suffix, visit, isWanted);
    filesAbove.insert(layerFiles.begin(), layerFiles.end());
}

NamedTable readTable(const io::CompositeVirtualFileSystem& files,
                     std::span<const TableFiles> sources, EntryName entryName) {
    NamedTable table;
    for (const TableFiles& source : sources) {
        std::unordered_set<std::string> filesAbove;
        for (const auto& layer : files.layers())
            readLayer(table, layer, source, filesAbove, entryName);
    }
    return table;
}

}  // namespace

void NamedTable::add(TableEntry entry) {
    byName_[io::upperCased(entry.name)].push_back(std::move(entry));
}

const TableEntry* NamedTable::find(std::string_view name) const {
    const auto& entries = declarations(name);
    const auto found = std::ranges::find(entries, false, &TableEntry::isShadowed);
    return found == entries.end() ? nullptr : &*found;
}

const std::vector<TableEntry>& NamedTable::declarations(std::string_view name) const {
    static const std::vector<TableEntry> kNone;
    const auto found = byName_.find(io::upperCased(name));
    return found == byName_.end() ? kNone : found->second;
}

GameTables readGameTables(const io::CompositeVirtualFileSystem& files) {
    return {readTable(files, kWeaponFiles, nameOf),
            readTable(files, kMovementFiles, movementClassName),
            readTable(files, kSoundFiles, nameOf)};
}

}  // namespace orb::unitview
