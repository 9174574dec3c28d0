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

json encodeRow(const HealthRow& row) {
    json result = {{"category", row.category},
                   {"ref", row.ref},
                   {"status", statusWord(row.status)},
                   {"detail", row.detail}};
    if (row.action) {
        result["action"] = row.action->members;
        result["action"]["kind"] = row.action->kind;
    }
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

json encodeCompileReport(const ModernizerPreview& preview) {
    json findings = {
        {"errors", json::array()}, {"warnings", json::array()}, {"info", json::array()}};
    for (const CompileFinding& finding : preview.findings) {
        static constexpr const char* kGroups[] = {"errors", "warnings", "info"};
        findings[kGroups[static_cast<std::size_t>(finding.severity)]].push_back(
            {{"severity", severityWord(finding.severity)},
             {"code", finding.code},
             {"message", finding.message}});
    }
    return {{"status", preview.status()},
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

json encodeConflict(const ConflictFinding& finding) {
    json result = {{"kind", finding.kind},
                   {"severity", finding.severity == ConflictSeverity::warn ? "warn" : "info"},
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
