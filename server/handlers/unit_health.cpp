#include "diagnostics/unit_health.h"

#include <array>

#include "server/handlers/encode_source.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

std::string_view nameOf(CheckStatus status) {
    static constexpr std::array<std::string_view, 4> kWords = {"ok", "info", "warn", "missing"};
    return kWords.at(static_cast<std::size_t>(status));
}

std::string_view nameOf(HealthCheck check) {
    static constexpr std::array<std::string_view, 14> kTitles = {
        "Unit identity", "Model (3DO)",       "COB script",
        "COB lint",      "Build picture",     "Weapon",
        "Movement",      "Sound category",    "Corpse",
        "Build options", "Explosion",         "Source",
        "Source shadow", "Palette compliance"};
    return kTitles.at(static_cast<std::size_t>(check));
}

json encodeAction(const HealthAction& action) {
    switch (action.kind) {
        case HealthAction::Kind::createCorpseStub:
            return {{"kind", "create-corpse-stub"}, {"parentUnit", action.unit}};
        case HealthAction::Kind::promoteToMod:
            return {{"kind", "promote-to-mod"}, {"unitName", action.unit}};
        case HealthAction::Kind::suppressLint:
            return {{"kind", "lint-suppress"},
                    {"code", action.code},
                    {"target", action.target},
                    {"unitName", action.unit}};
        case HealthAction::Kind::unsuppressLint:
            if (action.isGlobal)
                return {{"kind", "lint-unsuppress"},
                        {"code", action.code},
                        {"target", action.target},
                        {"scope", "global"}};
            return {{"kind", "lint-unsuppress"},
                    {"code", action.code},
                    {"target", action.target},
                    {"unitName", action.unit}};
        case HealthAction::Kind::remapPalette:
            return {{"kind", "palette-remap"},
                    {"textureName", action.texture},
                    {"unitName", action.unit}};
    }
    return nullptr;
}

json encodeRow(const HealthRow& row) {
    json result = {{"category", nameOf(row.check)},
                   {"ref", row.ref},
                   {"status", nameOf(row.status)},
                   {"detail", row.detail}};
    if (row.action) result["action"] = encodeAction(*row.action);
    if (row.isSuppressed) result["isSuppressed"] = true;
    return result;
}

/// Put together in place: as a list of members it would be made twice, and a unit has a hundred.
json encodeKey(const UnitHealth::RawKey& raw) {
    json result = json::object();
    result["key"] = raw.key;
    result["value"] = raw.value;
    return result;
}

json encodeHealth(const UnitHealth& report) {
    json checks = json::array(), keys = json::array();
    for (const HealthRow& row : report.rows) checks.push_back(encodeRow(row));
    for (const UnitHealth::RawKey& raw : report.rawFbiKeys) keys.push_back(encodeKey(raw));
    json result = {{"unit", report.unit},
                   {"checks", std::move(checks)},
                   {"rawFbiKeys", std::move(keys)},
                   {"summary",
                    {{"missing", report.missing},
                     {"warnings", report.warnings},
                     {"ready", report.isReady()},
                     {"verdict", report.verdict()}}}};
    if (report.source) result["source"] = encodeSource(*report.source);
    return result;
}

}  // namespace

Reply unitHealth(UnitViewSession& session, const Payload& payload) {
    const auto name = textOption(payload, "name");
    HealthOptions options;
    options.withSuppressed = option(payload, "withSuppressed");
    std::optional<LoadedUnit> named;
    if (name) named = session.readUnit(*name, &options.faults);
    const LoadedUnit& unit = named ? *named : session.requireUnit();
    return reportingFailure(
        [&]() -> Reply {
            return {encodeHealth(
                checkUnitHealth(session.data(), unit, session.lintSuppressions(), options))};
        },
        "unit-health failed: ");
}

}  // namespace orb::unitview::ipc::handlers
