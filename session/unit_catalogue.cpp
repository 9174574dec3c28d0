#include "session/unit_catalogue.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "io/ascii.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kUnitsDirectory = "units";
constexpr std::string_view kFbiSuffix = ".fbi";

using LayerUnits = std::vector<std::unique_ptr<UnitDeclaration>>;

/// The definitions of one layer in the byte order of their file names, and the upper-cased stem of
/// every definition file, readable or not.
struct LayerContents {
    LayerUnits units;
    std::vector<std::string> fileStems;
};

LayerContents readLayer(const io::VfsLayer& layer) {
    LayerContents contents;
    const auto visit = [&](std::string_view name, const std::optional<io::Bytes>& content,
                           std::string_view error) {
        std::string stem(name.substr(0, name.size() - kFbiSuffix.size()));
        contents.fileStems.push_back(io::upperCased(stem));
        LayerFile file{&layer, fmt::format("{}/{}", kUnitsDirectory, name)};
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
        contents.units.push_back(std::move(unit));
    };
    layer.files->forEachFile(kUnitsDirectory, kFbiSuffix, visit);
    std::ranges::sort(contents.units, {},
                      [](const auto& unit) -> const std::string& { return unit->fileStem; });
    return contents;
}

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

UnitCatalogue::UnitCatalogue(const io::CompositeVirtualFileSystem& files) {
    std::unordered_set<std::string> filesAbove;
    for (const auto& layer : files.layers()) {
        LayerContents contents = readLayer(layer);
        for (auto& unit : contents.units) {
            unit->isShadowed = filesAbove.contains(io::upperCased(unit->fileStem));
            if (!unit->isShadowed) byFile_.emplace(io::upperCased(unit->fileStem), unit.get());
            byName_[io::upperCased(unit->name)].push_back(unit.get());
            declarations_.push_back(std::move(unit));
        }
        filesAbove.insert(contents.fileStems.begin(), contents.fileStems.end());
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

const UnitDeclaration* UnitCatalogue::findBase(std::string_view name) const {
    return findDeclaration(byName_, name, isBase);
}

}  // namespace orb::unitview
