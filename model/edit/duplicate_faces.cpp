#include "model/edit/duplicate_faces.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "model/edit/analysis_limits.h"
#include "model/edit/box_tree.h"
#include "model/edit/corner_keys.h"
#include "model/edit/polygon_overlap.h"
#include "model/face_geometry.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;

/// The length between the unit normals of faces of one plane: about half a degree.
constexpr double kParallel = 0.01;
/// Steps that a search for overlaps in one piece may take: looking at a box, and cutting one
/// triangle by another. Some tenths of a second; real pieces need thousands.
constexpr std::uint64_t kMaxSteps = std::uint64_t{1} << 26;
constexpr std::uint64_t kStepsToCut = 16;
/// So that no more than 65,536 overlaps of a piece are told.
constexpr std::uint64_t kStepsToTell = 1024;

/// A face where it lies.
struct PlacedFace {
    std::size_t primIndex = 0;
    FaceShape shape;
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

/// Calls with each pair of faces whose boxes come within the tolerance of each other, the earlier
/// one first.
template <typename Use>
void forMeeting(const std::vector<PlacedFace>& faces, double tolerance, WorkBudget& budget,
                Use&& use) {
    std::vector<Box> boxes;
    boxes.reserve(faces.size());
    for (const PlacedFace& face : faces) boxes.push_back(face.shape.bounds);
    const BoxTree tree(boxes);
    for (std::size_t i = 0; i < faces.size(); ++i) {
        std::uint64_t steps = 0;
        tree.forMeeting(boxes[i], tolerance, steps, [&](std::size_t other) {
            if (other < i) use(other, i);
        });
        budget.spend(steps);
    }
}

/// Of those with the same corners the first, in the order of their indices.
std::vector<PlacedFace> placeFaces(const Model3doObject& piece, const FacesByCorners& groups) {
    std::vector<PlacedFace> faces;
    faces.reserve(groups.size());
    for (const auto& [key, members] : groups) {
        PlacedFace face{members.front(), shapeOf(piece, piece.primitives[members.front()])};
        // one whose parts cancel each other out lies in no plane
        if (face.shape.normal != Vec3d{}) faces.push_back(std::move(face));
    }
    std::ranges::sort(faces, {}, &PlacedFace::primIndex);
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
double overlapShare(const FaceShape& a, const FaceShape& b, double tolerance, WorkBudget& budget) {
    if (length(a.normal - b.normal) > kParallel) return 0;
    const FaceShape& smaller = a.area < b.area ? a : b;
    const FaceShape& larger = a.area < b.area ? b : a;
    if (!isInPlaneOf(smaller, larger, tolerance)) return 0;
    budget.spend((a.corners.size() - 2) * (b.corners.size() - 2) * kStepsToCut);
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

/// Throws when it takes too long.
std::vector<DuplicateGroup> findOverlaps(const std::vector<PlacedFace>& faces, double tolerance) {
    std::vector<DuplicateGroup> result;
    WorkBudget budget(kMaxSteps);
    forMeeting(faces, tolerance, budget, [&](std::size_t a, std::size_t b) {
        const double share = overlapShare(faces[a].shape, faces[b].shape, tolerance, budget);
        if (share < kLeastOverlap) return;
        budget.spend(kStepsToTell);
        result.push_back({DuplicateKind::overlap, {faces[a].primIndex, faces[b].primIndex}, share});
    });
    return result;
}

std::vector<DuplicateGroup> sameFacesOf(const FacesByCorners& groups) {
    std::vector<DuplicateGroup> result;
    for (const auto& [key, faces] : groups)
        if (faces.size() > 1) result.push_back({DuplicateKind::same, faces});
    return result;
}

std::vector<DuplicateGroup> oppositeFacesOf(const FacesByCorners& groups) {
    std::vector<DuplicateGroup> result;
    for (const auto& [key, faces] : groups) {
        const CornerKey reversed = reversedKey(key);
        const auto behind = key < reversed ? groups.find(reversed) : groups.end();
        if (behind == groups.end()) continue;
        std::vector<std::size_t> both = faces;
        both.insert(both.end(), behind->second.begin(), behind->second.end());
        std::ranges::sort(both);
        result.push_back({DuplicateKind::opposite, std::move(both)});
    }
    return result;
}

}  // namespace

DuplicateFaces findDuplicates(const Model3doObject& piece, double tolerance) {
    const FacesByCorners byCorners = groupByCorners(piece, tolerance);
    DuplicateFaces found;
    found.groups = sameFacesOf(byCorners);
    std::ranges::move(oppositeFacesOf(byCorners), std::back_inserter(found.groups));
    try {
        std::ranges::move(findOverlaps(placeFaces(piece, byCorners), tolerance),
                          std::back_inserter(found.groups));
    } catch (const WorkBudgetSpent&) {
        found.areOverlapsKnown = false;
    }
    std::ranges::sort(found.groups, [](const DuplicateGroup& a, const DuplicateGroup& b) {
        return a.kind != b.kind ? a.kind < b.kind : a.faces < b.faces;
    });
    return found;
}

std::vector<DuplicateGroup> findSameFaces(const Model3doObject& piece, double tolerance) {
    return sameFacesOf(groupByCorners(piece, tolerance));
}

}  // namespace orb::unitview
