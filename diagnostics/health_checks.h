#pragma once

#include <vector>

#include "diagnostics/unit_health.h"

/// The checks of the health report. Each adds its rows, zero or more; which check they are of is
/// noted for it.
namespace orb::unitview::health {

/// What the checks look at.
struct Context {
    const MountedData& data;
    const LoadedUnit& unit;
    const LintSuppressions& suppressions;
    /// The definition's source as resolved for this report.
    const std::optional<UnitSource>& source;
    const HealthOptions& options;
};
using Rows = std::vector<HealthRow>;

// health_files.cpp: what the unit is made of
void checkIdentity(const Context& context, Rows& rows);
void checkModel(const Context& context, Rows& rows);
void checkScript(const Context& context, Rows& rows);
void checkBuildPicture(const Context& context, Rows& rows);
void checkSource(const Context& context, Rows& rows);
void checkSourceShadow(const Context& context, Rows& rows);

// health_contents.cpp: what its files hold
void checkLints(const Context& context, Rows& rows);
void checkPalette(const Context& context, Rows& rows);

// health_references.cpp: what its definition refers to
void checkWeapons(const Context& context, Rows& rows);
void checkMovement(const Context& context, Rows& rows);
void checkSoundCategory(const Context& context, Rows& rows);
void checkCorpse(const Context& context, Rows& rows);
void checkBuildOptions(const Context& context, Rows& rows);
void checkExplosions(const Context& context, Rows& rows);

}  // namespace orb::unitview::health
