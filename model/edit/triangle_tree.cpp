#include "model/edit/triangle_tree.h"

#include <algorithm>
#include <array>
#include <limits>

#include "model/face_geometry.h"

namespace orb::unitview {
namespace {

/// How far beyond its edges a triangle still hides, in parts of them: nothing shows through the
/// seam of two triangles.
constexpr double kSeam = 1e-9;
/// Windows are wider than what they cover by so many times the distance of what touches; that is
/// more than seams and roundings make up.
constexpr double kMargin = 4;

Box boxOf(const Occluder& triangle) {
    Box box;
    box.include(triangle.corner);
    box.include(triangle.corner + triangle.edgeA);
    box.include(triangle.corner + triangle.edgeB);
    return box;
}

/// Without branches, which no processor could foresee.
void dropHidden(std::vector<Vec3d>& points, const MetTriangle& triangle, double contact) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Vec3d point = points[i];
        points[kept] = point;
        kept += triangle.hides(point, contact) ? 0 : 1;
    }
    points.resize(kept);
}

}  // namespace

SightFrame::SightFrame(const Vec3d& direction) : across_(planeAxes(direction)), along_(direction) {}

MetTriangle::MetTriangle(const Occluder& triangle, const SightFrame& frame)
    : corner_(frame.of(triangle.corner)), showsFront_(dot(triangle.normal, frame.direction()) > 0) {
    const Vec3d a = frame.of(triangle.edgeA);
    const Vec3d b = frame.of(triangle.edgeB);
    const double area = a[0] * b[1] - a[1] * b[0];
    const double inverse = area != 0 ? 1 / area : std::numeric_limits<double>::quiet_NaN();
    partA_ = {b[1] * inverse, -b[0] * inverse};
    partB_ = {-a[1] * inverse, a[0] * inverse};
    alongA_ = a[2];
    alongB_ = b[2];
}

bool MetTriangle::hides(const Vec3d& point, double contact) const {
    const double x = point[0] - corner_[0], y = point[1] - corner_[1];
    const double u = x * partA_[0] + y * partA_[1];
    const double v = x * partB_[0] + y * partB_[1];
    const double distance = corner_[2] + u * alongA_ + v * alongB_ - point[2];
    // false for NaN
    return (u >= -kSeam) & (v >= -kSeam) & (u + v <= 1 + kSeam) &
           (distance > (showsFront_ ? -contact : contact));
}

void TriangleTree::Window::include(const Vec3d& point) {
    left = std::min(left, point[0]);
    right = std::max(right, point[0]);
    low = std::min(low, point[1]);
    high = std::max(high, point[1]);
    far = std::max(far, point[2]);
}

void TriangleTree::Window::include(const Window& other) {
    left = std::min(left, other.left);
    right = std::max(right, other.right);
    low = std::min(low, other.low);
    high = std::max(high, other.high);
    far = std::max(far, other.far);
}

TriangleTree::TriangleTree(std::vector<Occluder> triangles, double contact) : contact_(contact) {
    std::vector<Box> boxes;
    boxes.reserve(triangles.size());
    for (const Occluder& triangle : triangles) boxes.push_back(boxOf(triangle));
    const BoxTree tree(boxes);
    triangles_.reserve(triangles.size());
    for (const std::uint32_t place : tree.order()) triangles_.push_back(triangles[place]);
    nodes_.reserve(tree.nodes().size());
    for (const BoxTree::Node& node : tree.nodes()) nodes_.push_back({{}, node.first, node.count});
    met_.resize(triangles_.size());
}

void TriangleTree::lookAlong(const Vec3d& direction) {
    frame_ = SightFrame(direction);
    for (std::size_t i = 0; i < triangles_.size(); ++i)
        met_[i] = {MetTriangle(triangles_[i], frame_), triangles_[i].face};
    // children stand behind their parents
    for (std::size_t i = nodes_.size(); i-- > 0;) {
        Node& node = nodes_[i];
        node.window = {};
        for (std::uint32_t t = node.first; t < node.first + node.count; ++t) {
            const Vec3d corner = frame_.of(triangles_[t].corner);
            node.window.include(corner);
            node.window.include(corner + frame_.of(triangles_[t].edgeA));
            node.window.include(corner + frame_.of(triangles_[t].edgeB));
        }
        if (node.count > 0 || nodes_.size() == 1) continue;
        node.window.include(nodes_[node.first].window);
        node.window.include(nodes_[node.first + 1].window);
    }
}

TriangleTree::Sought::Sought(const std::vector<Vec3d>& points, double margin) {
    for (const Vec3d& point : points) {
        around.include(point);
        near = std::min(near, point[2]);
    }
    around.left -= margin;
    around.right += margin;
    around.low -= margin;
    around.high += margin;
    near -= margin;
}

bool TriangleTree::Sought::isMetBy(const Window& window) const {
    return window.left <= around.right && window.right >= around.left &&
           window.low <= around.high && window.high >= around.low && window.far >= near;
}

void TriangleTree::removeHidden(std::vector<Vec3d>& points, std::uint32_t face,
                                std::uint64_t& steps) const {
    const Sought sought(points, kMargin * contact_);
    std::array<std::uint32_t, BoxTree::kMaxWaiting> waiting;
    std::size_t count = 0;
    waiting[count++] = 0;
    while (count > 0 && !points.empty()) {
        const Node& node = nodes_[waiting[--count]];
        ++steps;
        for (std::uint32_t i = node.first; i < node.first + node.count; ++i) {
            if (met_[i].face == face) continue;
            steps += points.size();
            dropHidden(points, met_[i].triangle, contact_);
        }
        if (node.count > 0 || nodes_.size() == 1) continue;
        // what lies further along hides more
        const bool isFirstFar = nodes_[node.first].window.far > nodes_[node.first + 1].window.far;
        for (const bool isFirst : {!isFirstFar, isFirstFar}) {
            const std::uint32_t child = isFirst ? node.first : node.first + 1;
            if (sought.isMetBy(nodes_[child].window)) waiting[count++] = child;
        }
    }
}

}  // namespace orb::unitview
