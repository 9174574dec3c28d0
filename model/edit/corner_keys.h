#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "io/formats/model3do.h"

/// Which vertices and outlines of a piece lie in the same place.
namespace orb::unitview {

/// For each vertex the first vertex within `tolerance` model units that stands for it: itself, or
/// an earlier one that stands for itself. A tolerance below the file's step, 1/65,536, joins what
/// is equal.
std::vector<std::uint32_t> joinedVertices(const std::vector<io::ModelPoint>& vertices,
                                          double tolerance);

/// The corners of an outline, as the vertices that stand for them, from the one on that makes the
/// list the least: equal for faces with the same corners in the same order round. Corners that
/// repeat the one before are left out.
using CornerKey = std::vector<std::uint32_t>;

/// The key of a face. Empty when a corner is missing or fewer than three are left.
CornerKey cornerKey(const io::Model3doPrimitive& face, const std::vector<std::uint32_t>& joined);

/// The key of the same outline the other way round.
CornerKey reversedKey(const CornerKey& key);

/// The part that a face plays among those of its piece.
struct FaceRole {
    bool isSelection = false;
    /// It is marked as another face's back: flag 0 is set, and it is not the selection outline.
    bool isTwin = false;
    /// The first face that is no twin and has the same corners the other way round. Of twins only;
    /// none for one that has lost its face.
    std::optional<std::size_t> twinOf;
    /// A twin shows its back.
    bool hasTwin = false;

    /// Neither another face's back nor the selection outline.
    bool isPlain() const { return !isSelection && !twinOf; }
};

/// One role for each face.
std::vector<FaceRole> faceRoles(const io::Model3doObject& piece);

}  // namespace orb::unitview
