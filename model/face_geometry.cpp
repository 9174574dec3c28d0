#include "model/face_geometry.h"

#include <algorithm>
#include <numbers>

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;

/// The share of its size squared that the largest triangle of a face must exceed to have an area.
constexpr double kNoArea = 1e-7;
/// The share of a face's size that a corner may lie off its plane.
constexpr double kPlanar = 0.02;
/// The sine of the angle by which an outline may turn back at a corner.
constexpr double kStraight = 1e-3;

Vec3d centerOf(std::span<const Vec3d> corners) {
    Vec3d sum{};
    for (const Vec3d& corner : corners) sum = sum + corner;
    return sum * (1.0 / static_cast<double>(corners.size()));
}

/// The edges of an outline as directions in its plane, those without length left out.
std::vector<Point2> edgesOf(const FaceShape& shape) {
    const std::vector<Point2> outline = flattened(shape.corners, planeAxes(shape.normal));
    const double shortest = shape.size() * 1e-9;
    std::vector<Point2> edges;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const Point2& from = outline[i];
        const Point2& to = outline[(i + 1) % outline.size()];
        const Point2 edge = {to[0] - from[0], to[1] - from[1]};
        const double size = std::hypot(edge[0], edge[1]);
        if (size > shortest) edges.push_back({edge[0] / size, edge[1] / size});
    }
    return edges;
}

}  // namespace

bool isSelection(const Model3doObject& piece, std::size_t primIndex) {
    return piece.selectionPrimitive &&
           static_cast<std::size_t>(*piece.selectionPrimitive) == primIndex;
}

bool hasBadIndex(const Model3doObject& piece, const Model3doPrimitive& face) {
    return std::ranges::any_of(face.vertexIndices,
                               [&](std::uint16_t index) { return index >= piece.vertices.size(); });
}

bool isDrawn(const Model3doObject& piece, std::size_t primIndex) {
    const Model3doPrimitive& face = piece.primitives[primIndex];
    return !isSelection(piece, primIndex) && face.vertexIndices.size() >= 3 &&
           !hasBadIndex(piece, face);
}

std::vector<Vec3d> cornersOf(const Model3doPrimitive& face,
                             const std::vector<io::ModelPoint>& vertices) {
    std::vector<Vec3d> corners;
    corners.reserve(face.vertexIndices.size());
    for (const std::uint16_t index : face.vertexIndices) corners.push_back(vertices[index]);
    return corners;
}

Vec3d areaVector(std::span<const Vec3d> corners) {
    Vec3d sum{};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Vec3d& a = corners[i];
        const Vec3d& b = corners[(i + 1) % corners.size()];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t y = (axis + 1) % 3;
            const std::size_t z = (axis + 2) % 3;
            sum[axis] -= (a[y] - b[y]) * (a[z] + b[z]);
        }
    }
    return sum * 0.5;
}

Vec3d facing(std::span<const Vec3d> corners) {
    return normalized(areaVector(corners));
}

FaceShape shapeOf(const Model3doObject& piece, const Model3doPrimitive& face) {
    FaceShape shape;
    if (hasBadIndex(piece, face)) return shape;
    shape.corners = cornersOf(face, piece.vertices);
    const Vec3d area = areaVector(shape.corners);
    shape.normal = normalized(area);
    shape.area = length(area);
    for (const Vec3d& corner : shape.corners) shape.bounds.include(corner);
    return shape;
}

bool isDegenerate(const FaceShape& shape) {
    const double least = 2 * kNoArea * shape.size() * shape.size();
    for (std::size_t i = 2; i < shape.corners.size(); ++i) {
        const Vec3d& tip = shape.corners[0];
        if (length(cross(shape.corners[i - 1] - tip, shape.corners[i] - tip)) > least) return false;
    }
    return true;
}

bool isNonPlanar(const FaceShape& shape) {
    if (shape.corners.size() <= 3 || isDegenerate(shape)) return false;
    const Vec3d center = centerOf(shape.corners);
    return std::ranges::any_of(shape.corners, [&](const Vec3d& corner) {
        return std::abs(dot(corner - center, shape.normal)) > kPlanar * shape.size();
    });
}

bool isConcave(const FaceShape& shape) {
    if (shape.corners.size() <= 3) return false;
    // parts that show opposite sides cancel each other out
    if (shape.area <= kNoArea * shape.size() * shape.size()) return !isDegenerate(shape);
    const std::vector<Point2> edges = edgesOf(shape);
    double turned = 0;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const Point2& a = edges[i];
        const Point2& b = edges[(i + 1) % edges.size()];
        const double sine = a[0] * b[1] - a[1] * b[0];
        const double cosine = a[0] * b[0] + a[1] * b[1];
        if (sine < -kStraight || (cosine < 0 && std::abs(sine) <= kStraight)) return true;
        turned += std::atan2(sine, cosine);
    }
    return turned > 3 * std::numbers::pi;
}

std::array<Vec3d, 2> planeAxes(const Vec3d& normal) {
    std::size_t axis = 0;
    for (const std::size_t other : {1U, 2U})
        if (std::abs(normal[other]) < std::abs(normal[axis])) axis = other;
    Vec3d helper{};
    helper[axis] = 1;
    const Vec3d first = normalized(cross(normal, helper));
    return {first, cross(first, normal)};
}

std::vector<Point2> flattened(std::span<const Vec3d> points, const std::array<Vec3d, 2>& axes) {
    std::vector<Point2> result;
    result.reserve(points.size());
    for (const Vec3d& point : points) result.push_back({dot(point, axes[0]), dot(point, axes[1])});
    return result;
}

}  // namespace orb::unitview
