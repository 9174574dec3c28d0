#include "model/edit/polygon_overlap.h"

#include <array>

// A polygon is the sum of the triangles of its fan, where those that run the other way round take
// away what others have too much. So the common part of two polygons is the sum over all pairs of
// triangles, whatever their shape.

namespace orb::unitview {
namespace {

using Triangle = std::array<Point2, 3>;
/// A triangle cut by the three sides of another one has at most six corners.
struct Clipped {
    std::array<Point2, 8> corners;
    std::size_t count = 0;

    void add(const Point2& corner) {
        if (count < corners.size()) corners[count++] = corner;
    }
};

Point2 between(const Point2& a, const Point2& b, double share) {
    return {a[0] + (b[0] - a[0]) * share, a[1] + (b[1] - a[1]) * share};
}

/// What lies on the side of the line from `a` to `b` where turns are positive.
Clipped cutByLine(const Clipped& polygon, const Point2& a, const Point2& b) {
    Clipped result;
    for (std::size_t i = 0; i < polygon.count; ++i) {
        const Point2& here = polygon.corners[i];
        const Point2& next = polygon.corners[(i + 1) % polygon.count];
        const double hereSide = turn(a, b, here);
        const double nextSide = turn(a, b, next);
        if (hereSide >= 0) result.add(here);
        if ((hereSide < 0) != (nextSide < 0))
            result.add(between(here, next, hereSide / (hereSide - nextSide)));
    }
    return result;
}

/// Both run the way of `turn`.
double commonTriangleArea(const Triangle& a, const Triangle& b) {
    Clipped part;
    for (const Point2& corner : a) part.add(corner);
    for (std::size_t i = 0; i < b.size() && part.count > 2; ++i)
        part = cutByLine(part, b[i], b[(i + 1) % b.size()]);
    return signedArea(std::span(part.corners).first(part.count));
}

/// Calls with each triangle of the fan, turned the way of `turn`, and 1 or -1 for the way it ran.
template <typename Use>
void forFan(std::span<const Point2> polygon, Use&& use) {
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        const double area = turn(polygon[0], polygon[i - 1], polygon[i]);
        if (area > 0)
            use(Triangle{polygon[0], polygon[i - 1], polygon[i]}, 1.0);
        else if (area < 0)
            use(Triangle{polygon[0], polygon[i], polygon[i - 1]}, -1.0);
    }
}

}  // namespace

double signedArea(std::span<const Point2> polygon) {
    double sum = 0;
    for (std::size_t i = 2; i < polygon.size(); ++i)
        sum += turn(polygon[0], polygon[i - 1], polygon[i]);
    return sum;
}

double commonArea(std::span<const Point2> a, std::span<const Point2> b) {
    double sum = 0;
    forFan(a, [&](const Triangle& x, double xSign) {
        forFan(b, [&](const Triangle& y, double ySign) {
            sum += xSign * ySign * commonTriangleArea(x, y);
        });
    });
    return sum;
}

}  // namespace orb::unitview
