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

/// A half-line.
struct Ray {
    Vec3d origin{};
    Vec3d direction{};
    /// The face on which it starts.
    std::uint32_t face = 0;
};

/// True when the triangle hides the ray's start from where the ray goes: it lies further along than
/// `contact`, or within that of the start and shows its front there (someone looking along the ray
/// sees it in place of what is behind).
bool isHiddenBy(const Ray& ray, const Occluder& triangle, double contact);

/// Triangles in a hierarchy of bounding boxes.
class TriangleTree {
public:
    TriangleTree(std::vector<Occluder> triangles, double contact);

    /// True when one of the triangles hides the ray's start. Adds the boxes and triangles that were
    /// looked at to `steps`. Tries the triangle that hid the last ray first, so not for several
    /// threads.
    bool hides(const Ray& ray, std::uint64_t& steps) const;

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
    mutable std::uint32_t lastHider_ = 0;
};

}  // namespace orb::unitview
