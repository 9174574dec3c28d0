#include "diagnostics/script_family.h"

#include <string>

#include "io/ascii.h"

namespace orb::unitview {
namespace {

enum class Match { whole, prefix, part };

struct FamilyRule {
    Match match;
    /// Lower-case.
    std::string_view text;
    std::string_view family;
};

// The first match wins: "querynanopiece" is a weapon query although it stands under "state" too.
constexpr FamilyRule kRules[] = {
    {Match::whole, "create", "lifecycle"},
    {Match::whole, "killed", "lifecycle"},
    {Match::whole, "deathfunction", "lifecycle"},
    {Match::whole, "activate", "activate"},
    {Match::whole, "deactivate", "activate"},
    {Match::prefix, "aim", "weapon-aim"},
    {Match::prefix, "fire", "weapon-fire"},
    {Match::prefix, "query", "weapon-query"},
    {Match::whole, "startmoving", "movement"},
    {Match::whole, "stopmoving", "movement"},
    {Match::prefix, "moverate", "movement"},
    {Match::whole, "setspeed", "movement"},
    {Match::whole, "setdirection", "movement"},
    {Match::whole, "setmaxreloadtime", "movement"},
    {Match::whole, "rockunit", "movement"},
    {Match::whole, "startbuilding", "building"},
    {Match::whole, "stopbuilding", "building"},
    {Match::part, "transport", "transport"},
    {Match::whole, "requeststate", "state"},
    {Match::whole, "hitbyweapon", "state"},
    {Match::whole, "targetcleared", "state"},
    {Match::whole, "go", "state"},
    {Match::whole, "stop", "state"},
    {Match::whole, "smokeunit", "state"},
    {Match::prefix, "sweetspot", "state"},
    {Match::whole, "restorenow", "state"},
    {Match::whole, "restoreafterdelay", "state"},
};

bool matches(const FamilyRule& rule, std::string_view name) {
    switch (rule.match) {
        case Match::whole:
            return name == rule.text;
        case Match::prefix:
            return name.starts_with(rule.text);
        case Match::part:
            return name.find(rule.text) != std::string_view::npos;
    }
    return false;
}

}  // namespace

std::string_view scriptFamily(std::string_view scriptName) {
    const std::string name = io::lowerCased(scriptName);
    for (const FamilyRule& rule : kRules)
        if (matches(rule, name)) return rule.family;
    return "helper";
}

}  // namespace orb::unitview
