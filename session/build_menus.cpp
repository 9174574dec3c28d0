#include "session/build_menus.h"

#include <algorithm>
#include <charconv>
#include <unordered_set>

#include "io/ascii.h"
#include "session/game_tables.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kCanBuildSection = "CANBUILD";
constexpr std::string_view kCanBuildKey = "canbuild";

/// The number of a key "canbuild1"; none for other keys.
std::optional<std::uint32_t> canBuildNumber(std::string_view key) {
    if (!io::equalsIgnoringCase(key.substr(0, kCanBuildKey.size()), kCanBuildKey))
        return std::nullopt;
    key.remove_prefix(kCanBuildKey.size());
    std::uint32_t number = 0;
    const char* const end = key.data() + key.size();
    const auto result = std::from_chars(key.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

/// The units of one builder's section, by their numbers.
std::vector<std::string_view> canBuildUnits(const io::TdfSection& builder) {
    std::vector<std::pair<std::uint32_t, std::string_view>> numbered;
    for (const auto& [key, unit] : builder.values)
        if (const auto number = canBuildNumber(key); number && !unit.empty())
            numbered.emplace_back(*number, unit);
    std::ranges::sort(numbered);
    std::vector<std::string_view> units;
    units.reserve(numbered.size());
    for (const auto& [number, unit] : numbered) units.push_back(unit);
    return units;
}

}  // namespace

void BuildMenus::read(const NamedTable& sideData, const NamedTable& downloads) {
    builders_.clear();
    if (const TableEntry* const canBuild = sideData.find(kCanBuildSection)) readSideData(*canBuild);
    for (const TableEntry* const entry : downloads.visible()) readDownload(*entry);
}

void BuildMenus::readSideData(const TableEntry& canBuild) {
    for (const auto& [builder, section] : canBuild.section.children) {
        if (builder.empty()) continue;
        for (const std::string_view unit : canBuildUnits(*section))
            builders_[builder].push_back({std::string(unit), {}, {}, &canBuild.file});
    }
}

void BuildMenus::readDownload(const TableEntry& entry) {
    const io::TdfSection& section = entry.section;
    const std::string_view builder = section.getString("UNITMENU").value_or("");
    const std::string_view unit = section.getString("UNITNAME").value_or("");
    if (builder.empty() || unit.empty()) return;
    builders_[io::upperCased(builder)].push_back(
        {std::string(unit), section.getInt("MENU"), section.getInt("BUTTON"), &entry.file});
}

std::span<const BuildMenuEntry> BuildMenus::of(std::string_view builder) const {
    const auto found = builders_.find(io::upperCased(builder));
    if (found == builders_.end()) return {};
    return found->second;
}

const TableEntry* findCanBuild(const GameTables& tables, std::string_view unit) {
    const TableEntry* const canBuild = tables.sideData.find(kCanBuildSection);
    if (!canBuild) return nullptr;
    for (const auto& [builder, entries] : tables.buildMenus.builders())
        for (const BuildMenuEntry& entry : entries)
            if (*entry.file == canBuild->file &&
                (io::equalsIgnoringCase(builder, unit) || io::equalsIgnoringCase(entry.unit, unit)))
                return canBuild;
    return nullptr;
}

std::vector<std::string> buildableUnits(const io::FbiUnitInfo& definition,
                                        std::span<const BuildMenuEntry> menu) {
    std::vector<std::string> units = definition.buildOptions;
    std::unordered_set<std::string> listed;
    for (const std::string& unit : units) listed.insert(io::upperCased(unit));
    for (const BuildMenuEntry& entry : menu)
        if (listed.insert(io::upperCased(entry.unit)).second) units.push_back(entry.unit);
    return units;
}

}  // namespace orb::unitview
