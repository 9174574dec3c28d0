#include <array>

#include "diagnostics/conflict_scan.h"
#include "diagnostics/modernizer_preview.h"
#include "diagnostics/unit_health.h"
#include "io/ascii.h"
#include "io/path_text.h"
#include "server/handlers/encode_unit.h"
#include "server/handlers/handlers.h"
#include "server/handlers/reporting.h"

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
    return result;
}

json encodeHealth(const UnitHealth& report) {
    json checks = json::array(), keys = json::array();
    for (const HealthRow& row : report.rows) checks.push_back(encodeRow(row));
    for (const auto& [key, value] : report.rawFbiKeys)
        keys.push_back({{"key", key}, {"value", value}});
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

std::string_view nameOf(CompileFindingKind kind) {
    static constexpr std::array<std::string_view, 5> kCodes = {
        "missing-texture", "cob-model-piece-count-mismatch", "raw-ta-baseline", "export-pending",
        "native-assets-pending"};
    return kCodes.at(static_cast<std::size_t>(kind));
}

std::string_view nameOf(CompileStatus status) {
    static constexpr std::array<std::string_view, 3> kWords = {"ready-dry-run", "warnings",
                                                               "blocked"};
    return kWords.at(static_cast<std::size_t>(status));
}

json encodeCompileReport(const ModernizerPreview& preview) {
    json findings = {
        {"errors", json::array()}, {"warnings", json::array()}, {"info", json::array()}};
    for (const CompileFinding& finding : preview.findings) {
        static constexpr const char* kGroups[] = {"errors", "warnings", "info"};
        findings[kGroups[static_cast<std::size_t>(finding.severity)]].push_back(
            {{"severity", severityWord(finding.severity)},
             {"code", nameOf(finding.kind)},
             {"message", finding.message}});
    }
    return {{"status", nameOf(preview.status())},
            {"dryRun", true},
            {"canEmitBundle", false},
            {"nativeBundleExportImplemented", false},
            {"summary",
             {{"errorCount", preview.countFindings(LintSeverity::error)},
              {"warningCount", preview.countFindings(LintSeverity::warning)},
              {"infoCount", preview.countFindings(LintSeverity::info)}}},
            {"findings", std::move(findings)}};
}

json encodeParity(const ModernizerPreview& preview) {
    json checks = json::array();
    for (const auto& [unit, role] : kParityChecks)
        checks.push_back(
            {{"unit", unit},
             {"role", role},
             {"status", "manual-pending"},
             {"mark", io::equalsIgnoringCase(unit, preview.unitName) ? "current" : "recommended"}});
    return {{"baseline", "raw-ta-game-mesh"}, {"usesGameMeshBuilder", true}, {"checks", checks}};
}

// What does not depend on the unit tells what the game's format offers a compiler: pieces keep
// their names and can be hidden, faces their order and indices; only the game's own pictures are
// limited to its palette, and nothing is drawn translucent.
json encodePreview(const ModernizerPreview& preview) {
    const auto& mesh = preview.mesh;
    return {{"unitName", preview.unitName},
            {"assetId", preview.assetId},
            {"sourceFormat", "legacy-ta"},
            {"mesh",
             {{"pieceCount", mesh.pieceCount},
              {"vertexCount", mesh.vertexCount},
              {"triangleCount", mesh.triangleCount()},
              {"drawRangeCount", mesh.drawRangeCount},
              {"textureDrawRangeCount", mesh.textureDrawRangeCount},
              {"colorDrawRangeCount", mesh.colorDrawRangeCount()}}},
            {"rig",
             {{"pieceCount", mesh.pieceCount},
              {"scriptPieceCount", preview.scriptPieceCount},
              {"pieceNamesPreserved", true},
              {"supportsShowHide", true}}},
            {"textures",
             {{"availableCount", preview.resolvedTextures.size()},
              {"referencedCount", preview.resolvedTextures.size() + preview.missingTextures.size()},
              {"resolved", preview.resolvedTextures},
              {"missing", preview.missingTextures},
              {"compatColorSpace", "sRGB"},
              {"nativePaletteLimited", false}}},
            {"materials",
             {{"opaqueDepthQueueReady", true},
              {"transparentQueueDeclared", false},
              {"teamColorMode", "legacy-palette-mask"},
              {"baseColorSpace", "sRGB"},
              {"nativePaletteLimited", false}}},
            {"sourceMap",
             {{"originalPaintOrderAvailable", true},
              {"piecePrimitiveRefsAvailable", true},
              {"emitted", false}}},
            {"compileReport", encodeCompileReport(preview)},
            {"renderParity", encodeParity(preview)}};
}

constexpr const char* kUnitScope = "unit";
constexpr const char* kGlobalScope = "global";

Reply changeSuppression(UnitViewSession& session, const Payload& payload, bool isSuppressed) {
    const std::string unitName = payload.text("unitName").value_or("");
    const std::string code = payload.text("code").value_or("");
    const std::string target = payload.text("target").value_or("");
    const std::string scope = payload.text("scope").value_or(kUnitScope);
    const bool isGlobal = scope == kGlobalScope;
    if (!isGlobal && scope != kUnitScope) throw RequestError("scope must be 'unit' or 'global'");
    if (code.empty()) throw RequestError("code is required");
    if (!isGlobal && unitName.empty())
        throw RequestError("unitName is required for unit-scoped suppression");

    const auto unit = isGlobal ? std::nullopt : std::optional(unitName);
    const auto path = session.setLintSuppressed({unit, code, target}, isSuppressed);
    Reply reply{{{"unitName", unitName}, {"code", code}, {"target", target}, {"scope", scope}}};
    if (path) reply.data["resolvedPath"] = io::textFromPath(*path);
    return reply;
}

std::string_view nameOf(ConflictKind kind) {
    static constexpr std::array<std::string_view, 8> kWords = {
        "unit-name-collision", "weapon-name-collision", "missing-3do",        "missing-cob",
        "missing-buildpic",    "missing-corpse",        "missing-weapon-ref", "missing-explode-as"};
    return kWords.at(static_cast<std::size_t>(kind));
}

json encodeConflict(const ConflictFinding& finding) {
    json result = {
        {"kind", nameOf(finding.kind)},
        {"severity", severityOf(finding.kind) == ConflictSeverity::warn ? "warn" : "info"},
        {"detail", finding.detail}};
    if (!finding.unitName.empty()) result["unitName"] = finding.unitName;
    if (!finding.unitFile.empty()) result["unitFile"] = finding.unitFile;
    if (!finding.asset.empty()) result["asset"] = finding.asset;
    if (!finding.files.empty()) result["files"] = finding.files;
    return result;
}

}  // namespace

Reply unitHealth(UnitViewSession& session, const Payload&) {
    const LoadedUnit& unit = session.requireUnit();
    return reportingFailure(
        [&]() -> Reply {
            return {
                encodeHealth(checkUnitHealth(session.data(), unit, session.lintSuppressions()))};
        },
        "unit-health failed: ");
}

Reply modernizerPreview(UnitViewSession& session, const Payload&) {
    const LoadedUnit& unit = session.requireUnit();
    return reportingFailure(
        [&]() -> Reply { return {encodePreview(previewModernizer(unit, session.data()))}; },
        "modernizer preview failed: ");
}

Reply lintSuppress(UnitViewSession& session, const Payload& payload) {
    return changeSuppression(session, payload, true);
}

Reply lintUnsuppress(UnitViewSession& session, const Payload& payload) {
    return changeSuppression(session, payload, false);
}

Reply conflictScan(UnitViewSession& session, const Payload&) {
    const MountedData& data = session.data();
    json findings = json::array();
    for (const ConflictFinding& finding : scanConflicts(data))
        findings.push_back(encodeConflict(finding));
    return {{{"findings", std::move(findings)}, {"unitCount", data.catalogue.roster().size()}}};
}

}  // namespace orb::unitview::ipc::handlers
