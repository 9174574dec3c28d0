#include "diagnostics/unit_health.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "diagnostics/health_checks.h"

namespace orb::unitview {
namespace {

using Check = void (*)(const health::Context&, health::Rows&);

/// In the order of the report.
constexpr Check kChecks[] = {
    health::checkIdentity,     health::checkModel,         health::checkScript,
    health::checkLints,        health::checkBuildPicture,  health::checkWeapons,
    health::checkMovement,     health::checkSoundCategory, health::checkCorpse,
    health::checkBuildOptions, health::checkExplosions,    health::checkSource,
    health::checkSourceShadow, health::checkPalette,
};

std::vector<UnitHealth::RawKey> rawKeys(const io::TdfSection& unitInfo) {
    std::vector<UnitHealth::RawKey> keys;
    for (const auto& [kind, name] : unitInfo.order)
        if (kind == io::TdfSection::Entry::Kind::value)
            keys.push_back({name, std::string(*unitInfo.getString(name))});
    return keys;
}

std::size_t countRows(const UnitHealth& report, CheckStatus status) {
    return static_cast<std::size_t>(std::ranges::count(report.rows, status, &HealthRow::status));
}

}  // namespace

std::string_view statusWord(CheckStatus status) {
    static constexpr std::array<std::string_view, 4> kWords = {"ok", "info", "warn", "missing"};
    return kWords.at(static_cast<std::size_t>(status));
}

std::string UnitHealth::verdict() const {
    if (missing > 0) return fmt::format("{} blocking issue(s), {} warning(s)", missing, warnings);
    if (warnings > 0) return fmt::format("ORB-ready — {} warning(s)", warnings);
    return "ORB-ready — no issues";
}

UnitHealth checkUnitHealth(const MountedData& data, const LoadedUnit& unit,
                           const LintSuppressions& suppressions) {
    UnitHealth report;
    report.unit = unit.name;
    report.source =
        findSource(data.files, definitionPath(data.files, data.catalogue, unit.definitionName()));
    const health::Context context{data, unit, suppressions, report.source};
    for (const Check check : kChecks) check(context, report.rows);
    report.rawFbiKeys = rawKeys(unit.unitInfo());
    report.missing = countRows(report, CheckStatus::missing);
    report.warnings = countRows(report, CheckStatus::warn);
    return report;
}

}  // namespace orb::unitview
