#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "model/vectors.h"

namespace orb::unitview {

/// A triangle that hides what is behind it.
struct Occluder {
    Vec3d corner{};
    /// From that corner to the other two.
    Vec3d edgeA{};
    Vec3d edgeB{};
    /// Points to the visible side; its length does not matter.
    Vec3d normal{};
    /// The face that the triangle belongs to; a ray that starts on it is not hidden by it.
    std::uint32_t face = 0;
};

/// Half-lines side by side: from each of the points in one direction.
struct RayBundle {
    std::span<const Vec3d> points;
    Vec3d direction{};
    /// The face on which the points lie.
    std::uint32_t face = 0;
};

/// A triangle as it is met by lines of one direction.
class MetTriangle {
public:
    MetTriangle(const Occluder& triangle, const Vec3d& direction);

    /// True when the triangle hides a point from where its line goes: it lies further along than
    /// `contact`, or within that of the point and shows its front there (someone looking along the
    /// line sees it in place of what is behind).
    bool hides(const Vec3d& point, double contact) const;

private:
    const Occluder& triangle_;
    Vec3d direction_;
    Vec3d across_;
    /// The inverse of the volume that the edges span with the direction; 0 seen from the edge.
    double inverse_ = 0;
};

/// Triangles in a hierarchy of bounding boxes.
class TriangleTree {
public:
    TriangleTree(std::vector<Occluder> triangles, double contact);

    /// How many of the points no triangle hides. Quick for points that lie close to each other.
    /// Adds the boxes and triangles that were looked at to `steps`.
    std::size_t countReached(const RayBundle& rays, std::uint64_t& steps) const;

private:
    /// Inner nodes have their children at `first` and `first` + 1, leaves `count` triangles from
    /// there on.
    struct Node {
        Box box;
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };

    void split(std::uint32_t node, std::span<Occluder> triangles, std::uint32_t first);

    std::vector<Occluder> triangles_;
    std::vector<Node> nodes_;
    double contact_;
};

}  // namespace orb::unitview
