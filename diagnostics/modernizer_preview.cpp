#include "diagnostics/modernizer_preview.h"

#include <algorithm>

#include <fmt/format.h>

#include "io/ascii.h"
#include "model/mesh.h"

namespace orb::unitview {
namespace {

ModernizerPreview::Mesh describeMesh(const ModelMesh& mesh) {
    const auto textured = std::ranges::count_if(
        mesh.ranges, [](const DrawRange& range) { return range.texture.has_value(); });
    return {mesh.pieces.size(), mesh.positions.size(), mesh.ranges.size(),
            static_cast<std::size_t>(textured)};
}

std::vector<CompileFinding> findObstacles(const ModernizerPreview& preview, bool hasScript) {
    std::vector<CompileFinding> findings;
    for (const std::string& name : preview.missingTextures)
        findings.push_back(
            {LintSeverity::error, CompileFindingKind::missingTexture,
             fmt::format("Missing texture '{}'; game mesh falls back to COLOR_140_140_130.",
                         name)});
    if (hasScript && preview.scriptPieceCount != preview.mesh.pieceCount)
        findings.push_back({LintSeverity::warning, CompileFindingKind::pieceCountMismatch,
                            "COB script piece count differs from 3DO model piece count; verify "
                            "script-addressable names."});
    findings.push_back({LintSeverity::info, CompileFindingKind::rawBaseline,
                        "Report uses the same UnitMeshBuilder path as in-game raw TA rendering."});
    findings.push_back(
        {LintSeverity::info, CompileFindingKind::exportPending,
         "ORB bundle export is not implemented yet; this is a dry-run compile report."});
    findings.push_back({LintSeverity::info, CompileFindingKind::nativeAssetsPending,
                        "Texture atlas, KTX2 output, deterministic binary files, and "
                        "source_map.json emission are future modernizer work."});
    return findings;
}

}  // namespace

std::size_t ModernizerPreview::countFindings(LintSeverity severity) const {
    return static_cast<std::size_t>(
        std::ranges::count(findings, severity, &CompileFinding::severity));
}

CompileStatus ModernizerPreview::status() const {
    if (countFindings(LintSeverity::error) > 0) return CompileStatus::blocked;
    if (countFindings(LintSeverity::warning) > 0) return CompileStatus::warnings;
    return CompileStatus::readyDryRun;
}

ModernizerPreview previewModernizer(const LoadedUnit& unit, const MountedData& data) {
    const ModelMesh mesh = buildMesh(unit.model);
    ModernizerPreview preview;
    preview.unitName = unit.name;
    preview.assetId = io::lowerCased(unit.name);
    preview.mesh = describeMesh(mesh);
    if (unit.cob) preview.scriptPieceCount = unit.cob->pieces.size();
    const auto textures = data.pictures.textures.find(mesh.textureNames);
    for (std::size_t i = 0; i < textures.size(); ++i)
        (textures[i] ? preview.resolvedTextures : preview.missingTextures)
            .push_back(mesh.textureNames[i]);
    preview.findings = findObstacles(preview, unit.cob != nullptr);
    return preview;
}

}  // namespace orb::unitview
