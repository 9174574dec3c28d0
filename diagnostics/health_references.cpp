#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "diagnostics/health_checks.h"
#include "diagnostics/references.h"

namespace orb::unitview::health {
namespace {

/// Some unit files write "-1" for "none"; the game reads it as a name, yet nobody means it.
bool isAbsent(std::string_view name) {
    return name == "-1" || isAbsentName(name);
}

}  // namespace

void checkWeapons(const Context& context, Rows& rows) {
    int slot = 0;
    for (const std::string_view name : context.unit.fbi.weaponSlots()) {
        ++slot;
        if (isAbsent(name)) continue;
        if (isKnownWeapon(context.data, name))
            rows.push_back(
                {std::string(name), CheckStatus::ok, fmt::format("slot {} resolves", slot)});
        else
            rows.push_back(
                {std::string(name), CheckStatus::missing,
                 fmt::format("weapon '{}' (slot {}) {}", name, slot, kNotInWeaponRegistry)});
    }
}

void checkMovement(const Context& context, Rows& rows) {
    const io::FbiUnitInfo& fbi = context.unit.fbi;
    const std::string& name = fbi.movementClass;
    if (fbi.canFly)
        rows.push_back({name.empty() ? "(aircraft)" : name, CheckStatus::info,
                        "aircraft — flight params, not a MovementClass"});
    else if (!name.empty() && context.data.tables.movementClasses.find(name))
        rows.push_back({name, CheckStatus::ok, "resolved"});
    else if (!name.empty())
        rows.push_back({name, CheckStatus::missing,
                        fmt::format("MovementClass '{}' not found in moveinfo", name)});
    else if (fbi.isMobile())
        rows.push_back({"", CheckStatus::warn, "mobile unit has no MovementClass"});
}

void checkSoundCategory(const Context& context, Rows& rows) {
    const std::string& name = context.unit.fbi.soundCategory;
    if (name.empty()) return;
    if (context.data.tables.soundCategories.find(name))
        rows.push_back({name, CheckStatus::ok, "resolved"});
    else
        rows.push_back({name, CheckStatus::warn, "sound category not found — unit will be silent"});
}

void checkCorpse(const Context& context, Rows& rows) {
    const std::string& name = context.unit.fbi.corpse;
    if (isAbsent(name)) return;
    if (context.data.catalogue.find(name))
        rows.push_back({name, CheckStatus::ok, "wreckage unit resolves"});
    else if (isKnownCorpse(context.data, name))
        rows.push_back({name, CheckStatus::ok, "wreckage feature resolves"});
    else
        rows.push_back({name, CheckStatus::warn,
                        fmt::format("corpse unit '{}' not found — no wreckage", name),
                        HealthAction{.kind = HealthAction::Kind::createCorpseStub,
                                     .unit = context.unit.name}});
}

void checkBuildOptions(const Context& context, Rows& rows) {
    const std::vector<std::string> options =
        buildableUnits(context.unit.fbi, context.data.tables.buildMenus.of(context.unit.name));
    if (options.empty()) return;
    std::vector<std::string> unknown;
    std::ranges::copy_if(options, std::back_inserter(unknown), [&](const std::string& name) {
        return !isAbsent(name) && !context.data.catalogue.find(name);
    });
    const std::string list = fmt::format("{}", fmt::join(unknown, ", "));
    if (unknown.empty())
        rows.push_back(
            {std::to_string(options.size()), CheckStatus::ok, "all build options resolve"});
    else
        rows.push_back({list, CheckStatus::warn,
                        fmt::format("{} build option(s) not found: {}", unknown.size(), list)});
}

void checkExplosions(const Context& context, Rows& rows) {
    const auto check = [&](std::string_view key, const std::string& name) {
        if (isAbsent(name)) return;
        if (isKnownWeapon(context.data, name))
            rows.push_back({name, CheckStatus::ok,
                            fmt::format("{} resolves in the weapon/explosion registry", key)});
        else
            rows.push_back(
                {name, CheckStatus::warn, fmt::format("{} '{}' {}", key, name, kNoDeathEffect)});
    };
    check("explodeAs", context.unit.fbi.explodeAs);
    check("selfDestructAs", context.unit.fbi.selfDestructAs);
}

}  // namespace orb::unitview::health
