#pragma once

#include <array>
#include <cmath>
#include <cstddef>

#include "io/formats/model3do.h"

/// Arithmetic with points and directions.
namespace orb::unitview {

/// Products of coordinates leave the range of float.
using Vec3d = std::array<double, 3>;

inline Vec3d toDouble(const io::Vec3& v) {
    return {v[0], v[1], v[2]};
}
inline io::Vec3 toFloat(const Vec3d& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}
inline Vec3d operator+(const Vec3d& a, const Vec3d& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
inline Vec3d operator-(const Vec3d& a, const Vec3d& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline Vec3d operator*(const Vec3d& v, double factor) {
    return {v[0] * factor, v[1] * factor, v[2] * factor};
}
inline double dot(const Vec3d& a, const Vec3d& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Vec3d cross(const Vec3d& a, const Vec3d& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double length(const Vec3d& v) {
    return std::sqrt(dot(v, v));
}
/// Zero stays zero.
inline Vec3d normalized(const Vec3d& v) {
    const double size = length(v);
    return size > 0 ? Vec3d{v[0] / size, v[1] / size, v[2] / size} : Vec3d{};
}

/// The box around points, faces the axes.
struct Box {
    Vec3d least{HUGE_VAL, HUGE_VAL, HUGE_VAL};
    Vec3d greatest{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};

    bool isEmpty() const { return least[0] > greatest[0]; }
    void include(const Vec3d& point) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (point[axis] < least[axis]) least[axis] = point[axis];
            if (point[axis] > greatest[axis]) greatest[axis] = point[axis];
        }
    }
    void include(const Box& box) {
        if (box.isEmpty()) return;
        include(box.least);
        include(box.greatest);
    }
    double diagonal() const { return isEmpty() ? 0 : length(greatest - least); }
    /// True when the boxes come within `distance` of each other on every axis.
    bool meets(const Box& other, double distance) const {
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (least[axis] > other.greatest[axis] + distance ||
                other.least[axis] > greatest[axis] + distance)
                return false;
        return true;
    }
};

}  // namespace orb::unitview
