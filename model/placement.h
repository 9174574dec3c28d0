#pragma once

#include <span>
#include <vector>

#include "model/piece_list.h"
#include "model/vectors.h"

/// Where the pieces of a model stand in the unit's space.
namespace orb::unitview {

/// How a script has moved one piece: model units and radians.
struct PiecePose {
    io::Vec3 offset{};
    io::Vec3 angle{};
    bool isVisible = true;
};

/// A turn followed by a shift.
struct Placement {
    /// Where the axes x, y, z point.
    std::array<Vec3d, 3> axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    Vec3d origin{};
    bool isVisible = true;

    Vec3d apply(const Vec3d& point) const {
        return origin + axes[0] * point[0] + axes[1] * point[1] + axes[2] * point[2];
    }
};

/// One placement for each piece: from its parent's place on its offset, then turns about y, x and
/// z, the first outermost. Pieces beyond the end of `pose` are at rest; hiding a piece leaves those
/// that hang from it.
std::vector<Placement> placePieces(const std::vector<PieceRef>& pieces,
                                   std::span<const PiecePose> pose = {});

}  // namespace orb::unitview
