#include "diagnostics/modernizer_preview.h"

#include <array>

#include "io/ascii.h"
#include "server/handlers/handlers.h"
#include "session/request_error.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

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

}  // namespace

Reply modernizerPreview(UnitViewSession& session, const Payload&) {
    const LoadedUnit& unit = session.requireUnit();
    return reportingFailure(
        [&]() -> Reply { return {encodePreview(previewModernizer(unit, session.data()))}; },
        "modernizer preview failed: ");
}

}  // namespace orb::unitview::ipc::handlers
