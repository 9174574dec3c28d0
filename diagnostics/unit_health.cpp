#include "diagnostics/unit_health.h"

#include <algorithm>

#include <fmt/format.h>

#include "diagnostics/health_checks.h"

namespace orb::unitview {
namespace {

struct Check {
    HealthCheck name;
    void (*run)(const health::Context&, health::Rows&);
};

/// In the order of the report.
constexpr Check kChecks[] = {
    {HealthCheck::identity, health::checkIdentity},
    {HealthCheck::model, health::checkModel},
    {HealthCheck::script, health::checkScript},
    {HealthCheck::lints, health::checkLints},
    {HealthCheck::buildPicture, health::checkBuildPicture},
    {HealthCheck::weapons, health::checkWeapons},
    {HealthCheck::movement, health::checkMovement},
    {HealthCheck::soundCategory, health::checkSoundCategory},
    {HealthCheck::corpse, health::checkCorpse},
    {HealthCheck::buildOptions, health::checkBuildOptions},
    {HealthCheck::explosions, health::checkExplosions},
    {HealthCheck::source, health::checkSource},
    {HealthCheck::sourceShadow, health::checkSourceShadow},
    {HealthCheck::palette, health::checkPalette},
};

health::Rows runChecks(const health::Context& context) {
    health::Rows rows;
    for (const auto& [name, run] : kChecks) {
        const std::size_t before = rows.size();
        run(context, rows);
        for (std::size_t i = before; i < rows.size(); ++i) rows[i].check = name;
    }
    return rows;
}

std::vector<UnitHealth::RawKey> rawKeys(const io::TdfSection& unitInfo) {
    std::vector<UnitHealth::RawKey> keys;
    for (const auto& [kind, name] : unitInfo.order)
        if (kind == io::TdfSection::Entry::Kind::value)
            keys.push_back({name, std::string(*unitInfo.getString(name))});
    return keys;
}

std::size_t countRows(const UnitHealth& report, CheckStatus status) {
    return static_cast<std::size_t>(std::ranges::count_if(report.rows, [&](const HealthRow& row) {
        return row.status == status && !row.isSuppressed;
    }));
}

}  // namespace

std::string UnitHealth::verdict() const {
    if (missing > 0) return fmt::format("{} blocking issue(s), {} warning(s)", missing, warnings);
    if (warnings > 0) return fmt::format("ORB-ready — {} warning(s)", warnings);
    return "ORB-ready — no issues";
}

UnitHealth checkUnitHealth(const MountedData& data, const LoadedUnit& unit,
                           const LintSuppressions& suppressions, const HealthOptions& options) {
    UnitHealth report;
    report.unit = unit.name;
    report.source =
        findSource(data.files, definitionPath(data.files, data.catalogue, unit.definitionName()));
    if (options.faults.definition.empty()) {
        report.rows = runChecks({data, unit, suppressions, report.source, options});
        report.rawFbiKeys = rawKeys(unit.unitInfo());
    } else {
        // Without a definition there is nothing else to check.
        report.rows = {{unit.name, CheckStatus::missing, options.faults.definition}};
    }
    report.missing = countRows(report, CheckStatus::missing);
    report.warnings = countRows(report, CheckStatus::warn);
    return report;
}

}  // namespace orb::unitview
