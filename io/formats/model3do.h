#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/byte_cursor.h"

namespace orb::io {

/// Three single-precision numbers, along the axes x, y, z.
using Vec3 = std::array<float, 3>;

/// A point in model units, axes x, y, z; z is the negation of the file's z. Every coordinate of a
/// file is held exactly, which a float would not beyond 256.
using ModelPoint = std::array<double, 3>;

/// One face of a piece.
struct Model3doPrimitive {
    std::vector<std::uint16_t> vertexIndices;
    /// Palette index of a flat-coloured face; none when the face is textured.
    std::optional<std::uint8_t> color;
    std::optional<std::string> textureName;
    /// The editor's own markings; the format keeps them in a field that the game does not use.
    std::array<bool, 3> flags{};

    bool operator==(const Model3doPrimitive&) const = default;
};

/// One piece of a model with the pieces that hang from it.
struct Model3doObject {
    std::string name;
    /// Offset from the parent piece.
    ModelPoint position{};
    std::vector<ModelPoint> vertices;
    std::vector<Model3doPrimitive> primitives;
    /// Index into `primitives` of the face that the game uses as the selection outline.
    std::optional<std::int32_t> selectionPrimitive;
    std::vector<std::unique_ptr<Model3doObject>> children;
    /// The file hangs pieces here that were left out: nested too deep, siblings of the root, or
    /// pieces that hang elsewhere too. A file written from this model would lack them.
    bool isIncomplete = false;
};

/// Pieces nest at most this deep, the root included; the reader leaves deeper children out.
inline constexpr int kMax3doNesting = 256;

/// Bytes of vertex, primitive and index arrays that one file may be read into, counted once for
/// every piece or face that points at them.
inline constexpr std::size_t kMax3doArrayBytes = std::size_t{64} << 20;

/// Bytes of a vertex and of a face in those arrays.
inline constexpr std::size_t k3doVertexSize = 12;
inline constexpr std::size_t k3doPrimitiveSize = 32;

/// Reads a 3DO file. Throws std::runtime_error "3DO data too small" when the buffer is shorter than
/// one header, an array runs past its end, or shared arrays exceed `kMax3doArrayBytes`. A header
/// that the tree meets again ends the chain of siblings it stands in; unless it leads round in a
/// circle, so that nothing is missing, the piece is marked as incomplete.
Model3doObject parse3do(ByteView bytes);

/// Writes a model in the layout that `parse3do` reads. Coordinates are clamped to what 16.16 fixed
/// point holds (NaN becomes 0). Throws std::runtime_error "3DO nesting too deep" when pieces nest
/// deeper than `kMax3doNesting`.
Bytes write3do(const Model3doObject& root);

}  // namespace orb::io
