#include "session/dependency_list.h"

#include <algorithm>

#include "io/ascii.h"
#include "io/path_text.h"
#include "io/vfs/hpi_file_system.h"

namespace orb::unitview {
namespace {

std::uint64_t sizeOf(const io::LayeredLocation& found) {
    if (found.location.kind == io::FileLocation::Kind::loose) {
        std::error_code error;
        const auto size = std::filesystem::file_size(found.location.path, error);
        return error ? 0 : size;
    }
    const auto* const archive = dynamic_cast<const io::HpiFileSystem*>(found.layer->files.get());
    const io::HpiEntry* const entry =
        archive ? archive->archive().findFile(found.location.internalPath) : nullptr;
    return entry ? entry->file()->fileSize : 0;
}

std::string storedPath(const io::LayeredLocation& found) {
    if (found.location.kind == io::FileLocation::Kind::archive) return found.location.internalPath;
    return io::textFromPath(
        found.location.path.lexically_relative(found.layer->path).generic_string());
}

}  // namespace

bool DependencyList::add(const std::string& path, DependencyRole role, bool isTable) {
    std::string key = io::upperCased(path);
    auto known = files_.find(key);
    if (known == files_.end()) {
        const auto found = data_.files.locateInLayers(path);
        if (!found) return false;
        known = files_.emplace(std::move(key), Dependency{}).first;
        Dependency& file = known->second;
        file.path = storedPath(*found);
        file.source = {found->location, found->layer->rootKind == io::DataRootKind::base};
        file.size = sizeOf(*found);
        file.isTable = isTable;
    }
    Dependency& file = known->second;
    file.roles.insert(role);
    file.usedBy.insert(user_);
    return true;
}

void DependencyList::miss(DependencyRole role, std::string_view name) {
    const auto [entry, isNewEntry] =
        missing_.try_emplace({role, io::upperCased(name)}, MissingDependency{role, {}, {}});
    if (isNewEntry) entry->second.name = name;
    entry->second.usedBy.insert(user_);
}

void DependencyList::damage(const std::string& path, std::string_view message) {
    damaged_.try_emplace(path, message);
}

void DependencyList::addSection(NamedTable GameTables::*table, const TableEntry& entry,
                                DependencyRole role) {
    add(entry.file.path, role, true);
    const auto [place, isNew] = sectionPlaces_.try_emplace(&entry, sections_.size());
    if (isNew) sections_.push_back({table, &entry, {}, {}});
    NeededSection& section = sections_[place->second];
    section.roles.insert(role);
    section.usedBy.insert(user_);
}

UnitDependencies DependencyList::take() {
    UnitDependencies all;
    for (auto& [key, file] : files_) all.files.push_back(std::move(file));
    std::ranges::sort(all.files, {}, &Dependency::path);
    for (auto& [key, missing] : missing_) all.missing.push_back(std::move(missing));
    for (auto& [path, message] : damaged_) all.damaged.push_back({path, message});
    all.sections = std::move(sections_);
    return all;
}

}  // namespace orb::unitview
