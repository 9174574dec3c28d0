#include "model/edit/triangle_tree.h"

#include <algorithm>
#include <array>

namespace orb::unitview {
namespace {

constexpr std::size_t kLeafTriangles = 4;
/// Halving 2^32 triangles leaves one after 32 levels; a level leaves one box waiting.
constexpr std::size_t kMaxWaiting = 40;
/// How far beyond its edges a triangle still hides, in parts of them: nothing shows through the
/// seam of two triangles.
constexpr double kSeam = 1e-9;

Box boxOf(const Occluder& triangle) {
    Box box;
    box.include(triangle.corner);
    box.include(triangle.corner + triangle.edgeA);
    box.include(triangle.corner + triangle.edgeB);
    return box;
}

Vec3d middleOf(const Occluder& triangle) {
    return triangle.corner + (triangle.edgeA + triangle.edgeB) * (1.0 / 3);
}

/// True when the ray meets the box, widened by `margin`.
bool meetsBox(const Ray& ray, const Vec3d& inverse, const Box& box, double margin) {
    double from = 0, to = HUGE_VAL;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double a = (box.least[axis] - margin - ray.origin[axis]) * inverse[axis];
        const double b = (box.greatest[axis] + margin - ray.origin[axis]) * inverse[axis];
        from = std::max(from, std::min(a, b));
        to = std::min(to, std::max(a, b));
    }
    return from <= to;
}

Vec3d inverseOf(const Vec3d& direction) {
    constexpr double kAlmostZero = 1e-300;  // its inverse is finite, so that no NaN comes of it
    Vec3d inverse;
    for (std::size_t axis = 0; axis < 3; ++axis)
        inverse[axis] =
            1 / (std::abs(direction[axis]) < kAlmostZero ? kAlmostZero : direction[axis]);
    return inverse;
}

}  // namespace

bool isHiddenBy(const Ray& ray, const Occluder& triangle, double contact) {
    if (triangle.face == ray.face) return false;
    const Vec3d p = cross(ray.direction, triangle.edgeB);
    const double volume = dot(triangle.edgeA, p);
    if (volume == 0) return false;  // seen from its edge
    const Vec3d offset = ray.origin - triangle.corner;
    const double u = dot(offset, p) / volume;
    if (!(u >= -kSeam && u <= 1 + kSeam)) return false;
    const Vec3d q = cross(offset, triangle.edgeA);
    const double v = dot(ray.direction, q) / volume;
    if (!(v >= -kSeam && u + v <= 1 + kSeam)) return false;
    const double distance = dot(triangle.edgeB, q) / volume;
    if (distance > contact) return true;
    return distance >= -contact && dot(triangle.normal, ray.direction) > 0;
}

TriangleTree::TriangleTree(std::vector<Occluder> triangles, double contact)
    : triangles_(std::move(triangles)), contact_(contact) {
    nodes_.reserve(triangles_.size() + 1);
    nodes_.emplace_back();
    split(0, triangles_, 0);
}

// Halves the triangles along the longest side of the box around their middles, so it goes as deep
// as their number has bits.
void TriangleTree::split(std::uint32_t node, std::span<Occluder> triangles, std::uint32_t first) {
    Box box, middles;
    for (const Occluder& triangle : triangles) {
        box.include(boxOf(triangle));
        middles.include(middleOf(triangle));
    }
    nodes_[node].box = box;
    if (triangles.size() <= kLeafTriangles) {
        nodes_[node].first = first;
        nodes_[node].count = static_cast<std::uint32_t>(triangles.size());
        return;
    }
    const Vec3d extent = middles.greatest - middles.least;
    const auto axis = static_cast<std::size_t>(std::ranges::max_element(extent) - extent.begin());
    const std::size_t half = triangles.size() / 2;
    std::ranges::nth_element(triangles, triangles.begin() + static_cast<std::ptrdiff_t>(half), {},
                             [&](const Occluder& triangle) { return middleOf(triangle)[axis]; });
    const auto children = static_cast<std::uint32_t>(nodes_.size());
    nodes_[node].first = children;
    nodes_.resize(nodes_.size() + 2);
    split(children, triangles.first(half), first);
    split(children + 1, triangles.subspan(half), first + static_cast<std::uint32_t>(half));
}

bool TriangleTree::hides(const Ray& ray, std::uint64_t& steps) const {
    if (triangles_.empty()) return false;
    ++steps;
    if (isHiddenBy(ray, triangles_[lastHider_], contact_)) return true;
    const Vec3d inverse = inverseOf(ray.direction);
    std::array<std::uint32_t, kMaxWaiting> waiting;
    std::size_t count = 0;
    waiting[count++] = 0;
    while (count > 0) {
        const Node& node = nodes_[waiting[--count]];
        ++steps;
        if (!meetsBox(ray, inverse, node.box, contact_)) continue;
        if (node.count == 0) {
            waiting[count++] = node.first + 1;
            waiting[count++] = node.first;
            continue;
        }
        steps += node.count;
        for (std::uint32_t i = node.first; i < node.first + node.count; ++i) {
            if (!isHiddenBy(ray, triangles_[i], contact_)) continue;
            lastHider_ = i;
            return true;
        }
    }
    return false;
}

}  // namespace orb::unitview
