#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "model/vectors.h"

/// The shapes of faces. A face shows the side from which its corners run clockwise.
namespace orb::unitview {

/// True when the face is its piece's selection outline.
bool isSelection(const io::Model3doObject& piece, std::size_t primIndex);

/// True when a corner of the face names a vertex that the piece lacks.
bool hasBadIndex(const io::Model3doObject& piece, const io::Model3doPrimitive& face);

/// True for a face that is drawn: not the selection outline, at least three corners, and all of
/// them there.
bool isDrawn(const io::Model3doObject& piece, std::size_t primIndex);

/// The corners' places; all must be there.
std::vector<Vec3d> cornersOf(const io::Model3doPrimitive& face,
                             const std::vector<io::ModelPoint>& vertices);

/// Points to the side that a polygon shows; its length is the polygon's area.
Vec3d areaVector(std::span<const Vec3d> corners);

/// The direction that a polygon shows. Zero for one without area.
Vec3d facing(std::span<const Vec3d> corners);

/// What analyses want to know of a face.
struct FaceShape {
    std::vector<Vec3d> corners;
    /// `facing` of the corners.
    Vec3d normal{};
    double area = 0;
    Box bounds;

    /// The diagonal of the bounding box.
    double size() const { return bounds.diagonal(); }
};

/// The shape of a face; without corners when one of them is missing.
FaceShape shapeOf(const io::Model3doObject& piece, const io::Model3doPrimitive& face);

/// Fewer than three distinct corners, or no triangle of the face, as it is drawn, has an area.
bool isDegenerate(const FaceShape& shape);

/// A corner lies further from the face's plane than 2 % of its size.
bool isNonPlanar(const FaceShape& shape);

/// The outline turns both ways, or more than once around.
bool isConcave(const FaceShape& shape);

/// A polygon in its own plane, seen from the side that it shows, where corners run clockwise.
using Point2 = std::array<double, 2>;

/// Two directions of the plane with this normal: the first turned a quarter clockwise, as seen from
/// the side that the normal points to, is the second.
std::array<Vec3d, 2> planeAxes(const Vec3d& normal);

/// The points along two axes.
std::vector<Point2> flattened(std::span<const Vec3d> points, const std::array<Vec3d, 2>& axes);

/// Twice the area of a triangle; positive when it runs clockwise in `planeAxes`.
inline double turn(const Point2& a, const Point2& b, const Point2& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

}  // namespace orb::unitview
