#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

/// Which findings about unit scripts the user does not want to see.
namespace orb::unitview {

/// One rule: a finding's code and target, for one unit or for all.
struct LintSuppression {
    /// In any case; none for a rule that holds for every unit.
    std::optional<std::string> unitName;
    std::string code;
    std::string target;
};

/// The rules. Codes and targets are matched exactly; there are no wildcards.
class LintSuppressions {
public:
    /// Targets by lint code.
    using Targets = std::map<std::string, std::set<std::string>, std::less<>>;

    bool isSuppressed(std::string_view unitName, std::string_view code,
                      std::string_view target) const;

    /// A rule with an empty code is ignored.
    void add(const LintSuppression& rule);
    void remove(const LintSuppression& rule);

    /// By upper-cased unit name; no entry is empty.
    const std::map<std::string, Targets, std::less<>>& perUnit() const { return perUnit_; }
    const Targets& global() const { return global_; }

private:
    std::map<std::string, Targets, std::less<>> perUnit_;
    Targets global_;
};

/// The file directly in a data root that keeps the rules.
inline constexpr const char* kLintSuppressFile = "lint-suppress.json";

/// The rules of all roots together. Of a file that is not as it should be, what can be read counts,
/// with a warning in the log, so that writing the file anew loses nothing else.
LintSuppressions loadLintSuppressions(std::span<const std::filesystem::path> roots);

/// Writes the rules into the first root; returns the file's path, none without roots. Throws
/// std::runtime_error "create dir: …", "open for write: …" or "write failed: …".
std::optional<std::filesystem::path> saveLintSuppressions(
    const LintSuppressions& rules, std::span<const std::filesystem::path> roots);

}  // namespace orb::unitview
