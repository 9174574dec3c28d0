#include "session/game_tables.h"

#include <algorithm>
#include <filesystem>
#include <unordered_set>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

/// Of one source in one layer. Links can let a folder contain itself, and entries of an archive can
/// share their data.
constexpr std::size_t kMaxFolderDepth = 256;
constexpr std::size_t kMaxFolders = 4'096;
/// The features of the largest mods have some 5 MB.
constexpr std::size_t kMaxTextBytes = 32 << 20;
constexpr std::size_t kMaxFileBytes = 8 << 20;

constexpr std::string_view kGameTables = io::kGameTableFiles.folder;
constexpr TableFiles kWeaponFiles[] = {
    {io::kWeaponFiles.folder, ""}, {kGameTables, "weapons.tdf"}, {"", "weapons.tdf"}};
constexpr TableFiles kMovementFiles[] = {{kGameTables, "moveinfo.tdf"}, {"", "moveinfo.tdf"}};
constexpr TableFiles kSoundFiles[] = {{kGameTables, "sound.tdf"},
                                      {kGameTables, "allsound.tdf"},
                                      {"", "sound.tdf"},
                                      {"", "allsound.tdf"}};

constexpr TableFiles kFeatureFiles[] = {{io::kFeatureFiles.folder, "", true}};
constexpr TableFiles kSideFiles[] = {{kGameTables, "sidedata.tdf"}, {"", "sidedata.tdf"}};
constexpr TableFiles kDownloadFiles[] = {{io::kDownloadFiles.folder, ""}};

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

void logUnreadable(const std::string& what, std::string_view error) {
    LogLine(LogLevel::warn) << "[tables] cannot read " << what << ": " << error;
}

struct Folder {
    std::string path;
    /// How far below the table's own.
    std::size_t depth = 0;
};

void addSubfolders(const io::AbstractVirtualFileSystem& files, const Folder& folder,
                   std::vector<Folder>& folders) {
    if (folder.depth == kMaxFolderDepth) return;
    for (const std::string& name : files.listDirectories(folder.path)) {
        if (folders.size() == kMaxFolders) return;
        folders.push_back({fmt::format("{}/{}", folder.path, name), folder.depth + 1});
    }
}

}  // namespace

std::shared_ptr<NamedTable::LayerPart> NamedTable::readPart(const io::VfsLayer& layer,
                                                            const TableFiles& source) const {
    auto part = std::make_shared<LayerPart>();
    std::size_t bytesLeft = kMaxTextBytes;
    std::vector<Folder> folders = {{std::string(source.directory)}};
    for (std::size_t i = 0; i < folders.size(); ++i) {
        const Folder folder = folders[i];
        try {
            readFolder(layer, folder.path, source.fileName, *part, bytesLeft);
            if (source.withSubfolders) addSubfolders(*layer.files, folder, folders);
        } catch (const std::filesystem::filesystem_error& error) {
            io::rethrowOutOfMemory(error);
            // One folder of many may lie anywhere, and the rest can be read without it.
            if (!source.withSubfolders) throw;
            logUnreadable(folder.path, error.what());
        }
    }
    std::ranges::stable_sort(*part, {}, &TableFile::upperCasedPath);
    return part;
}

void NamedTable::readFolder(const io::VfsLayer& layer, const std::string& folder,
                            std::string_view fileName, LayerPart& part,
                            std::size_t& bytesLeft) const {
    const auto visit = [&](std::string_view name, const std::optional<io::Bytes>& content,
                           std::string_view error) {
        const LayerFile file{&layer, fmt::format("{}/{}", folder, name)};
        TableFile& table = part.emplace_back(TableFile{io::upperCased(file.path), {}});
        if (!content) return logUnreadable(locationText(file.location()), error);
        const std::size_t taken = std::min({content->size(), kMaxFileBytes, bytesLeft});
        bytesLeft -= taken;
        if (taken < content->size())
            return logUnreadable(locationText(file.location()), "too much text for a table");
        table.entries = takeSections(io::parseTdf(io::asText(*content)), file, entryName_);
    };
    const auto isWanted = [&](std::string_view name) {
        return bytesLeft > 0 && (fileName.empty() || name.size() == fileName.size());
    };
    layer.files->forEachFile(folder, fileName.empty() ? io::kGameTableFiles.extension : fileName,
                             visit, isWanted);
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
                entry.isShadowed = filesAbove.contains(file.upperCasedPath);
                byName_[io::upperCased(entry.name)].push_back(&entry);
            }
        for (const TableFile& file : *parts_[i]) filesAbove.insert(file.upperCasedPath);
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

std::vector<const TableEntry*> NamedTable::visible() const {
    std::vector<const TableEntry*> entries;
    for (const auto& part : parts_)
        for (const TableFile& file : *part)
            for (const TableEntry& entry : file.entries)
                if (!entry.isShadowed) entries.push_back(&entry);
    return entries;
}

GameTables::GameTables()
    : weapons(kWeaponFiles, nameOf),
      movementClasses(kMovementFiles, movementClassName),
      soundCategories(kSoundFiles, nameOf),
      features(kFeatureFiles, nameOf),
      sideData(kSideFiles, nameOf),
      downloads(kDownloadFiles, nameOf) {}

void GameTables::read(const io::CompositeVirtualFileSystem& files,
                      const LayerFilter& mayHaveChanged) {
    for (NamedTable* table :
         {&weapons, &movementClasses, &soundCategories, &features, &sideData, &downloads})
        table->read(files, mayHaveChanged);
    buildMenus.read(sideData, downloads);
}

}  // namespace orb::unitview
