#include "session/game_tables.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "io/ascii.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kTableSuffix = ".tdf";

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

std::vector<TableEntry> takeSections(io::TdfSection root, const LayerFile& file,
                                     NamedTable::EntryName entryName) {
    std::vector<TableEntry> entries;
    for (const auto& [kind, name] : root.order) {
        if (kind != io::TdfSection::Entry::Kind::section) continue;
        io::TdfSection& section = *root.children.find(name)->second;
        std::string key = entryName(name, section);
        entries.push_back({std::move(key), file, false, std::move(section)});
    }
    return entries;
}

}  // namespace

std::shared_ptr<NamedTable::LayerPart> NamedTable::readPart(const io::VfsLayer& layer,
                                                            const TableFiles& source) const {
    auto part = std::make_shared<LayerPart>();
    const std::string_view suffix = source.fileName.empty() ? kTableSuffix : source.fileName;
    const auto visit = [&](std::string_view name, const std::optional<io::Bytes>& content,
                           std::string_view error) {
        TableFile& table = part->emplace_back(TableFile{io::upperCased(name), {}});
        const LayerFile file{&layer, fmt::format("{}/{}", source.directory, name)};
        if (content)
            table.entries = takeSections(io::parseTdf(io::asText(*content)), file, entryName_);
        else
            LogLine(LogLevel::warn)
                << "[tables] cannot read " << locationText(file.location()) << ": " << error;
    };
    const auto isWanted = [&](std::string_view name) {
        return source.fileName.empty() || name.size() == source.fileName.size();
    };
    layer.files->forEachFile(source.directory, suffix, visit, isWanted);
    return part;
}

void NamedTable::read(const io::CompositeVirtualFileSystem& files,
                      const LayerFilter& mayHaveChanged) {
    auto parts = parts_;
    parts.resize(sources_.size() * files.layers().size());
    auto part = parts.begin();
    for (const TableFiles& source : sources_)
        for (const io::VfsLayer& layer : files.layers()) {
            if (!*part || mayHaveChanged(layer)) *part = readPart(layer, source);
            ++part;
        }
    parts_ = std::move(parts);
    buildIndex();
}

void NamedTable::buildIndex() {
    byName_.clear();
    const std::size_t layerCount = parts_.size() / sources_.size();
    std::unordered_set<std::string> filesAbove;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (i % layerCount == 0) filesAbove.clear();  // the next source
        for (TableFile& file : *parts_[i])
            for (TableEntry& entry : file.entries) {
                entry.isShadowed = filesAbove.contains(file.upperCasedName);
                byName_[io::upperCased(entry.name)].push_back(&entry);
            }
        for (const TableFile& file : *parts_[i]) filesAbove.insert(file.upperCasedName);
    }
}

const TableEntry* NamedTable::find(std::string_view name) const {
    const auto entries = declarations(name);
    const auto found = std::ranges::find(entries, false, &TableEntry::isShadowed);
    return found == entries.end() ? nullptr : *found;
}

std::span<const TableEntry* const> NamedTable::declarations(std::string_view name) const {
    const auto found = byName_.find(io::upperCased(name));
    if (found == byName_.end()) return {};
    return found->second;
}

GameTables::GameTables()
    : weapons(kWeaponFiles, nameOf),
      movementClasses(kMovementFiles, movementClassName),
      soundCategories(kSoundFiles, nameOf) {}

void GameTables::read(const io::CompositeVirtualFileSystem& files,
                      const LayerFilter& mayHaveChanged) {
    for (NamedTable* table : {&weapons, &movementClasses, &soundCategories})
        table->read(files, mayHaveChanged);
}

}  // namespace orb::unitview
