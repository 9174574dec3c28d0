#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "model/placement.h"

namespace orb::unitview {

inline constexpr std::size_t kDefaultDirections = 256;
inline constexpr std::size_t kMinDirections = 16;
inline constexpr std::size_t kMaxDirections = 4096;

/// From where a model is looked at.
struct BleedThroughView {
    /// The game's camera never looks from below; else from everywhere.
    bool fromAboveOnly = true;
    std::size_t directions = kDefaultDirections;
};

/// A face whose back can be seen.
struct BledFace {
    std::size_t pieceIndex = 0;
    std::size_t primIndex = 0;
    /// The part of the lines of sight towards its back that reach it before anything else, above 0.
    double share = 0;
};

struct BleedThrough {
    /// In the order of pieces and faces.
    std::vector<BledFace> faces;
    /// Lines of sight that were followed.
    std::uint64_t rayCount = 0;
};

/// Finds where one looks through a model, since viewers draw only the fronts of faces: parallel
/// lines for each direction, to points spread over each face. Twins, faces that have one and the
/// selection outline are not asked about; the outline, and hidden pieces, hide nothing. The same
/// model gives the same result. Throws std::runtime_error "model too large to analyse", or "model
/// too large to look at from N directions" when it would take too long.
BleedThrough findBleedThrough(const io::Model3doObject& root, const BleedThroughView& view = {},
                              std::span<const PiecePose> pose = {});

/// Unit vectors to viewers, spread evenly over the upper hemisphere or the whole sphere.
std::vector<Vec3d> viewDirections(const BleedThroughView& view);

/// What is drawn of a model as triangles in the unit's space, and the faces that are asked about.
struct SightScene {
    struct Target {
        std::size_t pieceIndex = 0;
        std::size_t primIndex = 0;
        /// The number of the face among all that are drawn; triangles have it too.
        std::uint32_t face = 0;
        Vec3d normal{};
        /// Spread over the face by area.
        std::vector<Vec3d> points;
    };
    struct Triangle {
        std::array<Vec3d, 3> corners;
        std::uint32_t face = 0;
    };
    std::vector<Target> targets;
    std::vector<Triangle> triangles;
    /// The diagonal of the box around it all.
    double size = 0;
    /// Surfaces that lie within this distance of each other touch, in model units.
    double contact = 0;
};
SightScene makeSightScene(const io::Model3doObject& root, std::span<const PiecePose> pose = {});

}  // namespace orb::unitview
