#pragma once

#include <cstdint>
#include <span>

#include "model/face_geometry.h"

namespace orb::unitview {

/// Twice the area that two polygons of one plane have in common, both running the same way round.
/// Either may be concave. Takes time for each pair of their corners.
double commonArea(std::span<const Point2> a, std::span<const Point2> b);

/// Twice a polygon's area, positive when it runs the way of `turn`.
double signedArea(std::span<const Point2> polygon);

}  // namespace orb::unitview
