#include "model/edit/triangulate.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace orb::unitview {
namespace {

using Triangle = std::array<std::size_t, 3>;

/// The share of a face's size squared below which a triangle counts as having no area.
constexpr double kNoArea = 1e-12;

class EarClipper {
public:
    explicit EarClipper(const FaceShape& shape)
        : corners_(flattened(shape.corners, planeAxes(shape.normal))),
          left_(corners_.size()),
          noArea_(kNoArea * shape.size() * shape.size()) {
        std::iota(left_.begin(), left_.end(), std::size_t{0});
    }

    /// None for an outline that crosses itself.
    std::optional<std::vector<Triangle>> clipAll() {
        std::vector<Triangle> triangles;
        while (left_.size() >= 3) {
            const auto ear = nextEar();
            if (!ear) return std::nullopt;
            const Triangle triangle = around(*ear);
            if (areaOf(triangle) > noArea_) triangles.push_back(triangle);
            left_.erase(left_.begin() + static_cast<std::ptrdiff_t>(*ear));
        }
        return triangles;
    }

private:
    /// The corners before, at and behind a place of what is left.
    Triangle around(std::size_t place) const {
        const std::size_t count = left_.size();
        return {left_[(place + count - 1) % count], left_[place], left_[(place + 1) % count]};
    }

    double areaOf(const Triangle& triangle) const {
        return turn(corners_[triangle[0]], corners_[triangle[1]], corners_[triangle[2]]);
    }

    /// True for a point inside or on the border that is none of the triangle's corners.
    bool contains(const Triangle& triangle, const Point2& point) const {
        for (std::size_t i = 0; i < 3; ++i) {
            const Point2& a = corners_[triangle[i]];
            const Point2& b = corners_[triangle[(i + 1) % 3]];
            if (turn(a, b, point) < -noArea_ || point == a) return false;
        }
        return true;
    }

    /// The corner can be cut off: it turns the right way, and no other corner lies in the triangle.
    bool isEar(std::size_t place) const {
        const Triangle triangle = around(place);
        if (!(areaOf(triangle) > noArea_)) return false;
        return std::ranges::none_of(left_, [&](std::size_t corner) {
            return std::ranges::find(triangle, corner) == triangle.end() &&
                   contains(triangle, corners_[corner]);
        });
    }

    /// The first ear behind the first corner; when there is none, a corner on a straight line,
    /// which can go without a triangle.
    std::optional<std::size_t> nextEar() const {
        std::optional<std::size_t> straight;
        for (std::size_t i = 1; i <= left_.size(); ++i) {
            const std::size_t place = i % left_.size();
            if (isEar(place)) return place;
            if (!straight && std::abs(areaOf(around(place))) <= noArea_) straight = place;
        }
        return straight;
    }

    std::vector<Point2> corners_;
    std::vector<std::size_t> left_;
    double noArea_;
};

std::vector<Triangle> fanOf(const FaceShape& shape) {
    const double least = kNoArea * shape.size() * shape.size();
    std::vector<Triangle> triangles;
    for (std::size_t i = 2; i < shape.corners.size(); ++i) {
        const Vec3d& tip = shape.corners[0];
        if (length(cross(shape.corners[i - 1] - tip, shape.corners[i] - tip)) > least)
            triangles.push_back({0, i - 1, i});
    }
    return triangles;
}

}  // namespace

std::vector<Triangle> triangulate(const FaceShape& shape) {
    auto triangles = EarClipper(shape).clipAll();
    if (triangles && !triangles->empty()) return std::move(*triangles);
    return fanOf(shape);
}

}  // namespace orb::unitview
