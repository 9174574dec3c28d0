#include "model/edit/corner_keys.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "model/edit/cell_hash.h"
#include "model/face_geometry.h"
#include "model/mesh.h"

namespace orb::unitview {
namespace {

/// A cube of space by its place, in edges. Points within one edge of each other lie in the same or
/// in neighbouring ones. Whole numbers, in doubles because they may be of any size.
using Cell = std::array<double, 3>;

/// The step of the file's coordinates: within less of each other lies only what is equal.
constexpr double kLeastTolerance = 1.0 / 65536;

/// The vertices that stand for others, by cells as long as the tolerance. As they lie further from
/// each other than that, a cell holds few.
class VertexGrid {
public:
    VertexGrid(const std::vector<io::ModelPoint>& vertices, double tolerance)
        : vertices_(vertices), tolerance_(tolerance) {}

    /// The vertex that stands for this one.
    std::uint32_t join(std::uint32_t index) {
        const Vec3d& point = vertices_[index];
        const Cell center = cellOf(point);
        std::uint32_t first = index;
        for (int neighbour = 0; neighbour < 27; ++neighbour) {
            const auto found =
                standing_.find({center[0] + neighbour % 3 - 1,  //
                                center[1] + neighbour / 3 % 3 - 1, center[2] + neighbour / 9 - 1});
            if (found == standing_.end()) continue;
            for (const std::uint32_t other : found->second)
                if (other < first && length(vertices_[other] - point) <= tolerance_) first = other;
        }
        if (first == index) standing_[center].push_back(index);
        return first;
    }

private:
    Cell cellOf(const Vec3d& point) const {
        Cell cell;
        for (std::size_t axis = 0; axis < 3; ++axis)
            cell[axis] = std::floor(point[axis] / tolerance_) + 0.0;  // no -0
        return cell;
    }

    const std::vector<io::ModelPoint>& vertices_;
    double tolerance_;
    std::unordered_map<Cell, std::vector<std::uint32_t>, CellHash> standing_;
};

/// For each vertex the first one that equals it.
std::vector<std::uint32_t> equalVertices(const std::vector<io::ModelPoint>& vertices) {
    std::unordered_map<io::ModelPoint, std::uint32_t, CellHash> first;
    first.reserve(vertices.size());
    std::vector<std::uint32_t> joined(vertices.size());
    for (std::uint32_t i = 0; i < joined.size(); ++i) {
        const io::ModelPoint place = vertices[i] + io::ModelPoint{};  // 0 for -0
        joined[i] = first.try_emplace(place, i).first->second;
    }
    return joined;
}

/// Where the rotation of a list begins that is the least of all, in linear time: two candidates run
/// against each other, and the one that loses skips what it has lost.
std::size_t leastRotation(const CornerKey& corners) {
    const std::size_t count = corners.size();
    std::size_t a = 0, b = 1, same = 0;
    while (a < count && b < count && same < count) {
        const std::uint32_t x = corners[(a + same) % count];
        const std::uint32_t y = corners[(b + same) % count];
        if (x == y) {
            ++same;
            continue;
        }
        (x > y ? a : b) += same + 1;
        if (a == b) ++b;
        same = 0;
    }
    return std::min(a, b);
}

CornerKey fromLeast(CornerKey corners) {
    const auto first = corners.begin() + static_cast<std::ptrdiff_t>(leastRotation(corners));
    std::rotate(corners.begin(), first, corners.end());
    return corners;
}

}  // namespace

std::vector<std::uint32_t> joinedVertices(const std::vector<io::ModelPoint>& vertices,
                                          double tolerance) {
    if (tolerance < kLeastTolerance) return equalVertices(vertices);
    VertexGrid grid(vertices, tolerance);
    std::vector<std::uint32_t> joined(vertices.size());
    for (std::uint32_t i = 0; i < joined.size(); ++i) joined[i] = grid.join(i);
    return joined;
}

CornerKey cornerKey(const io::Model3doPrimitive& face, const std::vector<std::uint32_t>& joined) {
    CornerKey corners;
    for (const std::uint16_t index : face.vertexIndices) {
        if (index >= joined.size()) return {};
        if (corners.empty() || corners.back() != joined[index]) corners.push_back(joined[index]);
    }
    while (corners.size() > 1 && corners.back() == corners.front()) corners.pop_back();
    if (corners.size() < 3) return {};
    return fromLeast(std::move(corners));
}

CornerKey reversedKey(const CornerKey& key) {
    return fromLeast({key.rbegin(), key.rend()});
}

std::vector<FaceRole> faceRoles(const io::Model3doObject& piece) {
    std::vector<FaceRole> roles(piece.primitives.size());
    bool hasTwins = false;
    for (std::size_t i = 0; i < roles.size(); ++i) {
        roles[i].isSelection = isSelection(piece, i);
        roles[i].isTwin = !roles[i].isSelection && piece.primitives[i].flags[kTwinFlag];
        hasTwins |= roles[i].isTwin;
    }
    if (!hasTwins) return roles;

    const auto joined = joinedVertices(piece.vertices, 0);
    std::map<CornerKey, std::vector<std::size_t>> plain;
    for (std::size_t i = 0; i < roles.size(); ++i)
        if (!roles[i].isTwin && !roles[i].isSelection)
            plain[cornerKey(piece.primitives[i], joined)].push_back(i);
    plain.erase(CornerKey{});
    for (std::size_t i = 0; i < roles.size(); ++i) {
        if (!roles[i].isTwin) continue;
        const auto found = plain.find(reversedKey(cornerKey(piece.primitives[i], joined)));
        if (found == plain.end()) continue;
        roles[i].twinOf = found->second.front();
        for (const std::size_t shown : found->second) roles[shown].hasTwin = true;
    }
    return roles;
}

}  // namespace orb::unitview
