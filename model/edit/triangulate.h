#pragma once

#include <cstddef>
#include <vector>

#include "model/face_geometry.h"

namespace orb::unitview {

/// Cuts a face into triangles by clipping ears: their corners as numbers of the face's corners, in
/// the face's order round. A convex face becomes the fan from its first corner, and so does one
/// whose outline crosses itself, since that is what is drawn of it. Triangles without area are left
/// out.
std::vector<std::array<std::size_t, 3>> triangulate(const FaceShape& shape);

}  // namespace orb::unitview
