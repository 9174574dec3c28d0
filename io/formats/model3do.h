#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/byte_cursor.h"

namespace orb::io {

/// A point in model units, axes x, y, z; z is the negation of the file's z.
using Vec3 = std::array<float, 3>;

/// One face of a piece.
struct Model3doPrimitive {
    std::vector<std::uint16_t> vertexIndices;
    /// Palette index of a flat-coloured face; none when the face is textured.
    std::optional<std::uint8_t> color;
    std::optional<std::string> textureName;
    /// The editor's own markings; the format keeps them in a field that the game does not use.
    std::array<bool, 3> flags{};
};

/// One piece of a model with the pieces that hang from it.
struct Model3doObject {
    std::string name;
    /// Offset from the parent piece.
    Vec3 position{};
    std::vector<Vec3> vertices;
    std::vector<Model3doPrimitive> primitives;
    /// Index into `primitives` of the face that the game uses as the selection outline.
    std::optional<std::int32_t> selectionPrimitive;
    std::vector<std::unique_ptr<Model3doObject>> children;
};

/// Pieces nest at most this deep; deeper children are left out.
inline constexpr int kMax3doNesting = 256;

/// Reads a 3DO file. Throws std::runtime_error "3DO data too small" when the buffer is shorter than
/// one header or an array runs past its end.
Model3doObject parse3do(ByteView bytes);

/// Writes a model in the layout that `parse3do` reads.
Bytes write3do(const Model3doObject& root);

}  // namespace orb::io
