#include "session/lint_suppressions.h"

#include "io/ascii.h"

namespace orb::unitview {
namespace {

bool holds(const LintSuppressions::Targets& targets, std::string_view code,
           std::string_view target) {
    const auto found = targets.find(code);
    return found != targets.end() && found->second.contains(std::string(target));
}

void erase(LintSuppressions::Targets& targets, const LintSuppression& rule) {
    const auto found = targets.find(rule.code);
    if (found == targets.end()) return;
    found->second.erase(rule.target);
    if (found->second.empty()) targets.erase(found);
}

}  // namespace

bool LintSuppressions::isSuppressed(std::string_view unitName, std::string_view code,
                                    std::string_view target) const {
    if (holds(global_, code, target)) return true;
    const auto unit = perUnit_.find(io::upperCased(unitName));
    return unit != perUnit_.end() && holds(unit->second, code, target);
}

void LintSuppressions::add(const LintSuppression& rule) {
    if (rule.code.empty()) return;
    Targets& targets = rule.unitName ? perUnit_[io::upperCased(*rule.unitName)] : global_;
    targets[rule.code].insert(rule.target);
}

void LintSuppressions::remove(const LintSuppression& rule) {
    if (!rule.unitName) return erase(global_, rule);
    const auto unit = perUnit_.find(io::upperCased(*rule.unitName));
    if (unit == perUnit_.end()) return;
    erase(unit->second, rule);
    if (unit->second.empty()) perUnit_.erase(unit);
}

}  // namespace orb::unitview
