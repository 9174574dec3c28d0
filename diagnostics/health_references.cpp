#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "diagnostics/absent_name.h"
#include "diagnostics/health_checks.h"

namespace orb::unitview::health {
namespace {

/// Some unit files write "-1" for "none"; the game reads it as a name, yet nobody means it.
bool isAbsent(std::string_view name) {
    return name == "-1" || isAbsentName(name);
}

}  // namespace

void checkWeapons(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Weapon";
    const io::FbiUnitInfo& fbi = context.unit.fbi;
    int slot = 0;
    for (const std::string* name : {&fbi.weapon1, &fbi.weapon2, &fbi.weapon3}) {
        ++slot;
        if (isAbsent(*name)) continue;
        if (context.data.tables.weapons.find(*name))
            rows.push_back({kTitle, *name, CheckStatus::ok, fmt::format("slot {} resolves", slot)});
        else
            rows.push_back(
                {kTitle, *name, CheckStatus::missing,
                 fmt::format("weapon '{}' (slot {}) not in the weapon registry", *name, slot)});
    }
}

void checkMovement(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Movement";
    const io::FbiUnitInfo& fbi = context.unit.fbi;
    const std::string& name = fbi.movementClass;
    if (fbi.canFly)
        rows.push_back({kTitle, name.empty() ? "(aircraft)" : name, CheckStatus::info,
                        "aircraft — flight params, not a MovementClass"});
    else if (!name.empty() && context.data.tables.movementClasses.find(name))
        rows.push_back({kTitle, name, CheckStatus::ok, "resolved"});
    else if (!name.empty())
        rows.push_back({kTitle, name, CheckStatus::missing,
                        fmt::format("MovementClass '{}' not found in moveinfo", name)});
    else if (fbi.canMove)
        rows.push_back({kTitle, "", CheckStatus::warn, "mobile unit has no MovementClass"});
}

void checkSoundCategory(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Sound category";
    const std::string& name = context.unit.fbi.soundCategory;
    if (name.empty()) return;
    if (context.data.tables.soundCategories.find(name))
        rows.push_back({kTitle, name, CheckStatus::ok, "resolved"});
    else
        rows.push_back(
            {kTitle, name, CheckStatus::warn, "sound category not found — unit will be silent"});
}

void checkCorpse(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Corpse";
    const std::string& name = context.unit.fbi.corpse;
    if (isAbsent(name)) return;
    if (context.data.catalogue.find(name))
        rows.push_back({kTitle, name, CheckStatus::ok, "wreckage unit resolves"});
    else
        rows.push_back({kTitle, name, CheckStatus::warn,
                        fmt::format("corpse unit '{}' not found — no wreckage", name),
                        HealthAction{"create-corpse-stub", {{"parentUnit", context.unit.name}}}});
}

void checkBuildOptions(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Build options";
    const std::vector<std::string>& options = context.unit.fbi.buildOptions;
    if (options.empty()) return;
    std::vector<std::string> unknown;
    std::ranges::copy_if(options, std::back_inserter(unknown), [&](const std::string& name) {
        return !isAbsent(name) && !context.data.catalogue.find(name);
    });
    const std::string list = fmt::format("{}", fmt::join(unknown, ", "));
    if (unknown.empty())
        rows.push_back(
            {kTitle, std::to_string(options.size()), CheckStatus::ok, "all build options resolve"});
    else
        rows.push_back({kTitle, list, CheckStatus::warn,
                        fmt::format("{} build option(s) not found: {}", unknown.size(), list)});
}

void checkExplosions(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Explosion";
    const auto check = [&](std::string_view key, const std::string& name) {
        if (isAbsent(name)) return;
        if (context.data.tables.weapons.find(name))
            rows.push_back({kTitle, name, CheckStatus::ok,
                            fmt::format("{} resolves in the weapon/explosion registry", key)});
        else
            rows.push_back(
                {kTitle, name, CheckStatus::warn,
                 fmt::format("{} '{}' not in the weapon/explosion registry — no death effect", key,
                             name)});
    };
    check("explodeAs", context.unit.fbi.explodeAs);
    check("selfDestructAs", context.unit.fbi.selfDestructAs);
}

}  // namespace orb::unitview::health
