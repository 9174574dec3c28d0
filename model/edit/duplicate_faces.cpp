#include "model/edit/duplicate_faces.h"

#include <algorithm>
#include <array>
#include <map>
#include <unordered_map>

#include "model/edit/analysis_limits.h"
#include "model/edit/cell_hash.h"
#include "model/edit/corner_keys.h"
#include "model/edit/polygon_overlap.h"
#include "model/face_geometry.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;

/// The length between the unit normals of faces of one plane: about half a degree.
constexpr double kParallel = 0.01;
/// Pairs of faces whose places are compared, and of triangles that are cut by each other, in one
/// piece. Real pieces need thousands.
constexpr std::size_t kMaxComparedPairs = std::size_t{1} << 27;
constexpr std::size_t kMaxCutTriangles = std::size_t{1} << 23;

/// A face where it lies.
struct PlacedFace {
    std::size_t primIndex = 0;
    FaceShape shape;
    /// Normal and distance from the piece's middle, in cells.
    std::array<std::int64_t, 4> cell{};
};

using FacesByCorners = std::map<CornerKey, std::vector<std::size_t>>;

FacesByCorners groupByCorners(const Model3doObject& piece, double tolerance) {
    const auto joined = joinedVertices(piece.vertices, tolerance);
    const std::vector<FaceRole> roles = faceRoles(piece);
    FacesByCorners groups;
    for (std::size_t i = 0; i < piece.primitives.size(); ++i) {
        if (!roles[i].isPlain() || !isDrawn(piece, i)) continue;
        CornerKey key = cornerKey(piece.primitives[i], joined);
        if (!key.empty() && !isDegenerate(shapeOf(piece, piece.primitives[i])))
            groups[std::move(key)].push_back(i);
    }
    return groups;
}

/// A grid over normals and distances of planes. Two faces that share a plane differ by at most
/// kParallel in each part of the normal, and so by at most kParallel times the piece's radius and
/// the tolerance in their distance from its middle: their cells are the same or neighbours.
class PlaneGrid {
public:
    PlaneGrid(const std::vector<PlacedFace>& faces, double tolerance)
        : faces_(faces), tolerance_(tolerance) {
        for (std::size_t i = 0; i < faces.size(); ++i) cells_[faces[i].cell].push_back(i);
    }

    /// Calls with each face before the i-th whose plane may be the same.
    template <typename Use>
    void forNeighbours(std::size_t i, Use&& use) {
        constexpr int kNeighbours = 81;
        for (int neighbour = 0; neighbour < kNeighbours; ++neighbour) {
            std::array<std::int64_t, 4> cell = faces_[i].cell;
            for (int part = 0, rest = neighbour; part < 4; ++part, rest /= 3)
                cell[static_cast<std::size_t>(part)] += rest % 3 - 1;
            const auto found = cells_.find(cell);
            if (found == cells_.end()) continue;
            for (const std::size_t other : found->second) {
                if (other >= i) break;
                budget_.spend(1);
                if (faces_[i].shape.bounds.meets(faces_[other].shape.bounds, tolerance_))
                    use(other);
            }
        }
    }

private:
    const std::vector<PlacedFace>& faces_;
    double tolerance_;
    std::unordered_map<std::array<std::int64_t, 4>, std::vector<std::size_t>, CellHash> cells_;
    WorkBudget budget_{kMaxComparedPairs};
};

/// The faces in their cells, in the order of their indices.
std::vector<PlacedFace> placeFaces(const Model3doObject& piece, const FacesByCorners& groups,
                                   double tolerance) {
    std::vector<PlacedFace> faces;
    Box bounds;
    for (const auto& [key, members] : groups) {
        faces.push_back({members.front(), shapeOf(piece, piece.primitives[members.front()]), {}});
        bounds.include(faces.back().shape.bounds);
        // one whose parts cancel each other out lies in no plane
        if (faces.back().shape.normal == Vec3d{}) faces.pop_back();
    }
    std::ranges::sort(faces, {}, &PlacedFace::primIndex);
    const Vec3d middle = (bounds.least + bounds.greatest) * 0.5;
    const double step = bounds.diagonal() / 2 * kParallel + tolerance;
    for (PlacedFace& face : faces) {
        const auto cellOf = [](double value) {
            return static_cast<std::int64_t>(std::floor(std::clamp(value, -1e18, 1e18)));
        };
        Vec3d center{};
        for (const Vec3d& corner : face.shape.corners) center = center + (corner - middle);
        center = center * (1.0 / static_cast<double>(face.shape.corners.size()));
        for (std::size_t axis = 0; axis < 3; ++axis)
            face.cell[axis] = cellOf(face.shape.normal[axis] / kParallel);
        face.cell[3] = cellOf(dot(face.shape.normal, center) / step);
    }
    return faces;
}

bool isInPlaneOf(const FaceShape& face, const FaceShape& plane, double tolerance) {
    Vec3d center{};
    for (const Vec3d& corner : plane.corners) center = center + corner;
    center = center * (1.0 / static_cast<double>(plane.corners.size()));
    return std::ranges::all_of(face.corners, [&](const Vec3d& corner) {
        return std::abs(dot(corner - center, plane.normal)) <= tolerance;
    });
}

/// The share of the smaller face that lies in the larger one; 0 when they are not in one plane.
double overlapShare(const FaceShape& a, const FaceShape& b, double tolerance, WorkBudget& cuts) {
    if (length(a.normal - b.normal) > kParallel) return 0;
    const FaceShape& smaller = a.area < b.area ? a : b;
    const FaceShape& larger = a.area < b.area ? b : a;
    if (!isInPlaneOf(smaller, larger, tolerance)) return 0;
    cuts.spend(a.corners.size() * b.corners.size());
    const auto axes = planeAxes(larger.normal);
    // near zero, where coordinates are fine
    std::vector<Vec3d> from = smaller.corners, onto = larger.corners;
    const Vec3d origin = larger.corners.front();
    for (auto* const corners : {&from, &onto})
        for (Vec3d& corner : *corners) corner = corner - origin;
    const std::vector<Point2> cut = flattened(from, axes);
    const double area = signedArea(cut);
    return area > 0 ? std::min(commonArea(cut, flattened(onto, axes)) / area, 1.0) : 0;
}

void addOverlaps(const std::vector<PlacedFace>& faces, double tolerance,
                 std::vector<DuplicateGroup>& result) {
    PlaneGrid grid(faces, tolerance);
    WorkBudget cuts(kMaxCutTriangles);
    for (std::size_t i = 0; i < faces.size(); ++i) {
        grid.forNeighbours(i, [&](std::size_t other) {
            const double share = overlapShare(faces[other].shape, faces[i].shape, tolerance, cuts);
            if (share >= kLeastOverlap)
                result.push_back(
                    {DuplicateKind::overlap, {faces[other].primIndex, faces[i].primIndex}, share});
        });
    }
}

}  // namespace

std::vector<DuplicateGroup> findDuplicates(const Model3doObject& piece, double tolerance) {
    const FacesByCorners groups = groupByCorners(piece, tolerance);
    std::vector<DuplicateGroup> result;
    for (const auto& [key, faces] : groups) {
        if (faces.size() > 1) result.push_back({DuplicateKind::same, faces});
        const CornerKey reversed = reversedKey(key);
        const auto behind = key < reversed ? groups.find(reversed) : groups.end();
        if (behind == groups.end()) continue;
        std::vector<std::size_t> both = faces;
        both.insert(both.end(), behind->second.begin(), behind->second.end());
        std::ranges::sort(both);
        result.push_back({DuplicateKind::opposite, std::move(both)});
    }
    addOverlaps(placeFaces(piece, groups, tolerance), tolerance, result);
    std::ranges::sort(result, [](const DuplicateGroup& a, const DuplicateGroup& b) {
        return a.kind != b.kind ? a.kind < b.kind : a.faces < b.faces;
    });
    return result;
}

}  // namespace orb::unitview
