#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "io/formats/model3do.h"

namespace orb::unitview {

/// Horizontal and vertical texture coordinate; (0, 0) is the picture's top left corner.
using TexCoord = std::array<float, 2>;

/// A stretch of triangle corners that is drawn with one texture or colour: one face of a piece, or
/// a part of it when it has very many corners.
struct DrawRange {
    /// The face's index among its piece's primitives.
    std::size_t primIndex = 0;
    std::size_t firstVertex = 0;
    /// Three for every triangle; at most `kMaxRangeVertices`.
    std::size_t vertexCount = 0;
    /// Index into ModelMesh::textureNames; none for an untextured face.
    std::optional<std::size_t> texture;
    /// Palette index; none for a face that has no colour of its own.
    std::optional<std::uint8_t> color;
    /// The face was added to make another one visible from behind.
    bool isTwin = false;
};

/// The draw ranges of one piece.
struct PieceMesh {
    std::size_t firstRange = 0;
    /// 0 for a piece without anything to draw.
    std::size_t rangeCount = 0;
};

/// Everything that is drawn of a model, in piece-local coordinates. Every triangle corner is a
/// vertex of its own; counter-clockwise triangles face the viewer.
struct ModelMesh {
    std::vector<io::Vec3> positions;
    std::vector<TexCoord> texCoords;
    std::vector<DrawRange> ranges;
    /// One for each piece, in the order of flattenPieces.
    std::vector<PieceMesh> pieces;
    /// Upper-cased, in the order of first use.
    std::vector<std::string> textureNames;
};

/// So many vertices have 16-bit indices without the one that restarts a strip, in whole triangles.
inline constexpr std::size_t kMaxRangeVertices = 65'535;

/// Drawn triangle corners and ranges of one model. Faces may share arrays, so a file's size alone
/// does not bound them.
inline constexpr std::size_t kMaxMeshVertices = 4'194'304;
inline constexpr std::size_t kMaxMeshRanges = 65'536;

/// The flag of a face that marks it as a twin.
inline constexpr std::size_t kTwinFlag = 0;

/// Turns the faces of a model into triangles: fans from a face's first corner. The selection
/// outline, faces of fewer than three corners and faces with a corner that their piece lacks are
/// not drawn. Throws std::runtime_error "model too large to draw" beyond the limits above.
ModelMesh buildMesh(const io::Model3doObject& root);

}  // namespace orb::unitview
