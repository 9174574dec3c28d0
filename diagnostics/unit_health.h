#pragma once

#include <cstddef>
#include <map>
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

/// "ok", "info", "warn" or "missing".
std::string_view statusWord(CheckStatus status);

/// A request that would mend a finding: its type and its members.
struct HealthAction {
    std::string_view kind;
    std::map<std::string, std::string> members;
};

/// One finding.
struct HealthRow {
    /// The title of the check.
    std::string_view category;
    /// What the finding is about: a unit, a file, a weapon, a texture, a count.
    std::string ref;
    CheckStatus status = CheckStatus::ok;
    std::string detail;
    std::optional<HealthAction> action = std::nullopt;
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

/// Checks a unit against the mounted data as they are now. What is wrong becomes a row; only what
/// keeps the report from being made is thrown.
UnitHealth checkUnitHealth(const MountedData& data, const LoadedUnit& unit,
                           const LintSuppressions& suppressions);

}  // namespace orb::unitview
