#include "session/unit_catalogue.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/game_paths.h"
#include "io/vfs/folder_index.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

const UnitDeclaration* findDeclaration(const UnitCatalogue::NameIndex& index, std::string_view name,
                                       bool (*accepts)(const UnitDeclaration*)) {
    const auto named = index.find(io::upperCased(name));
    if (named == index.end()) return nullptr;
    const auto found = std::ranges::find_if(named->second, accepts);
    return found == named->second.end() ? nullptr : *found;
}

bool isVisible(const UnitDeclaration* unit) {
    return !unit->isShadowed;
}
bool isBase(const UnitDeclaration* unit) {
    return unit->file.isInBaseTa();
}

}  // namespace

std::shared_ptr<UnitCatalogue::LayerUnits> UnitCatalogue::readLayer(const io::VfsLayer& layer) {
    auto contents = std::make_shared<LayerUnits>();
    std::unordered_map<std::string, std::string> firstPaths;
    const auto visit = [&](std::string_view name, const std::optional<io::Bytes>& content,
                           std::string_view error) {
        std::string stem(io::kUnitFiles.stem(name));
        LayerFile file{&layer, fmt::format("{}/{}", io::kUnitFiles.folder, name)};
        contents->fileStems.push_back(io::upperCased(stem));
        const auto [first, isFirst] = firstPaths.try_emplace(contents->fileStems.back(), file.path);
        if (!isFirst) {
            std::string& path = contents->preferredPaths.insert(*first).first->second;
            if (io::isPreferredSpelling(file.path, path)) path = file.path;
        }
        if (!content) {
            LogLine(LogLevel::warn)
                << "[catalogue] cannot read " << locationText(file.location()) << ": " << error;
            return;
        }
        auto info = io::readFbiUnitInfo(io::asText(*content));
        if (!info) return;
        auto unit = std::make_unique<UnitDeclaration>();
        unit->name = info->unitName.empty() ? stem : info->unitName;
        unit->fileStem = std::move(stem);
        unit->file = std::move(file);
        unit->info = std::move(*info);
        contents->units.push_back(std::move(unit));
    };
    layer.files->forEachFile(io::kUnitFiles.folder, io::kUnitFiles.extension, visit);
    std::ranges::sort(contents->units, {},
                      [](const auto& unit) -> const std::string& { return unit->fileStem; });
    return contents;
}

void UnitCatalogue::read(const io::CompositeVirtualFileSystem& files,
                         const LayerFilter& mayHaveChanged) {
    auto layers = layers_;
    layers.resize(files.layers().size());
    for (std::size_t i = 0; i < layers.size(); ++i)
        if (!layers[i] || mayHaveChanged(files.layers()[i]))
            layers[i] = readLayer(files.layers()[i]);
    layers_ = std::move(layers);
    buildIndex();
}

void UnitCatalogue::buildIndex() {
    byName_.clear();
    byFile_.clear();
    preferredPaths_.clear();
    roster_.clear();
    std::unordered_set<std::string> filesAbove;
    for (const auto& layer : layers_) {
        for (const auto& unit : layer->units) {
            const std::string stem = io::upperCased(unit->fileStem);
            const auto preferred = layer->preferredPaths.find(stem);
            unit->isShadowed =
                filesAbove.contains(stem) ||
                (preferred != layer->preferredPaths.end() && preferred->second != unit->file.path);
            if (!unit->isShadowed) byFile_.emplace(stem, unit.get());
            byName_[io::upperCased(unit->name)].push_back(unit.get());
        }
        for (const auto& [stem, path] : layer->preferredPaths)
            if (!filesAbove.contains(stem)) preferredPaths_[stem] = path;
        filesAbove.insert(layer->fileStems.begin(), layer->fileStems.end());
    }
    for (const auto& [name, units] : byName_)
        if (const auto winner = std::ranges::find_if(units, isVisible); winner != units.end())
            roster_.push_back(*winner);
}

const UnitDeclaration* UnitCatalogue::find(std::string_view name) const {
    return findDeclaration(byName_, name, isVisible);
}

const UnitDeclaration* UnitCatalogue::findLoadable(std::string_view name) const {
    const auto file = byFile_.find(io::upperCased(name));
    return file == byFile_.end() ? find(name) : file->second;
}

const std::string* UnitCatalogue::preferredPath(std::string_view stem) const {
    const auto found = preferredPaths_.find(io::upperCased(stem));
    return found == preferredPaths_.end() ? nullptr : &found->second;
}

const UnitDeclaration* UnitCatalogue::findBase(std::string_view name) const {
    return findDeclaration(byName_, name, isBase);
}

}  // namespace orb::unitview
