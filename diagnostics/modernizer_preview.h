#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/cob_lints.h"
#include "session/loaded_unit.h"
#include "session/unit_view_session.h"

namespace orb::unitview {

enum class CompileFindingKind {
    missingTexture,
    pieceCountMismatch,
    rawBaseline,
    exportPending,
    nativeAssetsPending,
};

/// One line of a compile report.
struct CompileFinding {
    LintSeverity severity = LintSeverity::info;
    CompileFindingKind kind;
    std::string message;
};

enum class CompileStatus { readyDryRun, warnings, blocked };

/// A unit that stands for a kind of unit when pictures of both formats are compared.
struct ParityCheck {
    std::string_view unit;
    std::string_view role;
};
inline constexpr std::array<ParityCheck, 6> kParityChecks = {{
    {"ARMCOM", "commander"},
    {"ARMAP", "factory-pad"},
    {"vehicle", "ground-vehicle"},
    {"ship", "naval-unit"},
    {"aircraft", "air-unit"},
    {"custom/mod", "mounted-mod-unit"},
}};

/// What compiling a unit of the game's own format into a bundle would meet. Nothing is compiled.
struct ModernizerPreview {
    std::string unitName;
    /// The unit's name in lower case.
    std::string assetId;

    struct Mesh {
        std::size_t pieceCount = 0;
        std::size_t vertexCount = 0;
        std::size_t drawRangeCount = 0;
        std::size_t textureDrawRangeCount = 0;
        std::size_t triangleCount() const { return vertexCount / 3; }
        std::size_t colorDrawRangeCount() const { return drawRangeCount - textureDrawRangeCount; }
    };
    Mesh mesh;
    /// 0 for a unit without a script.
    std::size_t scriptPieceCount = 0;
    /// The textures that are drawn, upper-cased, in the order of first use.
    std::vector<std::string> resolvedTextures;
    std::vector<std::string> missingTextures;
    /// Errors, then warnings, then notes.
    std::vector<CompileFinding> findings;

    std::size_t countFindings(LintSeverity severity) const;
    CompileStatus status() const;
};

/// Throws std::runtime_error "model too large to draw".
ModernizerPreview previewModernizer(const LoadedUnit& unit, const MountedData& data);

}  // namespace orb::unitview
