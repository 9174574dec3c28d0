#pragma once

#include <cstdint>
#include <vector>

#include "model/edit/box_tree.h"
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
    /// The face that the triangle belongs to; a line that starts on it is not hidden by it.
    std::uint32_t face = 0;
};

/// The space as lines of one direction see it: x and y lie across them, z grows along them.
class SightFrame {
public:
    SightFrame() = default;
    explicit SightFrame(const Vec3d& direction);

    /// A point or an edge in this frame.
    Vec3d of(const Vec3d& v) const {
        return {dot(v, across_[0]), dot(v, across_[1]), dot(v, along_)};
    }
    const Vec3d& direction() const { return along_; }

private:
    std::array<Vec3d, 2> across_{};
    Vec3d along_{};
};

/// A triangle as it is met by lines of one direction.
class MetTriangle {
public:
    MetTriangle() = default;
    MetTriangle(const Occluder& triangle, const SightFrame& frame);

    /// True when the triangle hides a point, given in the frame, from where its line goes: it lies
    /// further along than `contact`, or within that of the point and shows its front there (someone
    /// looking along the line sees it in place of what is behind).
    bool hides(const Vec3d& point, double contact) const;

private:
    Vec3d corner_{};
    /// Parts of the edges from the corner to a point, for each unit across; NaN seen from the edge.
    std::array<double, 2> partA_{};
    std::array<double, 2> partB_{};
    /// How far the edges go along the lines.
    double alongA_ = 0;
    double alongB_ = 0;
    bool showsFront_ = false;
};

/// Triangles in a hierarchy of boxes, looked at along one direction after another.
class TriangleTree {
public:
    TriangleTree(std::vector<Occluder> triangles, double contact);

    /// Turns to a direction. Takes time for each triangle.
    void lookAlong(const Vec3d& direction);
    const SightFrame& frame() const { return frame_; }

    /// Removes the points, given in the frame, that a triangle of another face hides. Quick for
    /// points that lie close to each other. Adds the boxes and triangles that were looked at to
    /// `steps`.
    void removeHidden(std::vector<Vec3d>& points, std::uint32_t face, std::uint64_t& steps) const;

    std::size_t triangleCount() const { return triangles_.size(); }

private:
    /// What a node covers in the frame; nothing hides that does not reach beyond `far`.
    struct Window {
        double left = HUGE_VAL;
        double right = -HUGE_VAL;
        double low = HUGE_VAL;
        double high = -HUGE_VAL;
        double far = -HUGE_VAL;

        void include(const Vec3d& point);
        void include(const Window& other);
    };
    /// Where points are that something may hide.
    struct Sought {
        Window around;
        double near = HUGE_VAL;

        Sought(const std::vector<Vec3d>& points, double margin);
        bool isMetBy(const Window& window) const;
    };
    /// The triangles of a leaf, or its children.
    struct Node {
        Window window;
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };
    struct Met {
        MetTriangle triangle;
        std::uint32_t face = 0;
    };

    /// Leaf by leaf.
    std::vector<Occluder> triangles_;
    double contact_;
    SightFrame frame_;
    std::vector<Node> nodes_;
    std::vector<Met> met_;
};

}  // namespace orb::unitview
