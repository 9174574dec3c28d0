#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "session/lint_suppressions.h"
#include "session/loaded_unit.h"
#include "session/unit_view_session.h"

namespace orb::unitview {

/// Only `missing` keeps a unit from being shipped; `ok` and `info` are no complaints.
enum class CheckStatus { ok, info, warn, missing };

/// In the order of the report.
enum class HealthCheck {
    identity,
    model,
    script,
    lints,
    buildPicture,
    weapons,
    movement,
    soundCategory,
    corpse,
    buildOptions,
    explosions,
    source,
    sourceShadow,
    palette,
};

/// What would mend a finding. Members that a kind of action has no use for are empty.
struct HealthAction {
    enum class Kind { createCorpseStub, promoteToMod, suppressLint, unsuppressLint, remapPalette };
    Kind kind;
    std::string unit = {};
    /// Of a rule to take back: it holds for every unit.
    bool isGlobal = false;
    /// Of a lint.
    std::string_view code = {};
    std::string target = {};
    std::string texture = {};
};

/// One finding.
struct HealthRow {
    /// What the finding is about: a unit, a file, a weapon, a texture, a count.
    std::string ref;
    CheckStatus status = CheckStatus::ok;
    std::string detail;
    std::optional<HealthAction> action = std::nullopt;
    HealthCheck check = HealthCheck::identity;
    /// A lint that a rule suppresses; it does not count.
    bool isSuppressed = false;
};

struct UnitHealth {
    std::string unit;
    /// Where the definition lies now; none when it has gone.
    std::optional<UnitSource> source;
    std::vector<HealthRow> rows;
    struct RawKey {
        std::string key;
        std::string value;
    };
    /// The definition as written, in file order.
    std::vector<RawKey> rawFbiKeys;
    std::size_t missing = 0;
    std::size_t warnings = 0;

    bool isReady() const { return missing == 0; }
    /// The summary in one line.
    std::string verdict() const;
};

struct HealthOptions {
    /// What of the unit could not be read.
    UnitFaults faults = {};
    /// Rows of suppressed lints too.
    bool withSuppressed = false;
};

/// Checks a unit against the mounted data as they are now. What is wrong becomes a row; only what
/// keeps the report from being made is thrown.
UnitHealth checkUnitHealth(const MountedData& data, const LoadedUnit& unit,
                           const LintSuppressions& suppressions, const HealthOptions& options = {});

}  // namespace orb::unitview
