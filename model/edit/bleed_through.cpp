#include "model/edit/bleed_through.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <fmt/format.h>

#include "model/edit/analysis_limits.h"
#include "model/edit/corner_keys.h"
#include "model/edit/triangle_tree.h"
#include "model/face_geometry.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;

constexpr std::size_t kMinPoints = 8;
constexpr std::size_t kMaxPoints = 64;
/// Two steps of the file's coordinates.
constexpr double kContact = 2.0 / 65536;
/// For models far larger than the file can hold, whose coordinates are coarser.
constexpr double kContactShare = 1e-9;
/// Points of one face within this share of the model's size are followed together.
constexpr double kNearby = 0.125;
/// Boxes and triangles that all rays together may look at: less than ten seconds.
constexpr std::uint64_t kMaxSteps = std::uint64_t{5} << 28;
/// What turning the tree to another direction takes for each triangle.
constexpr std::uint64_t kStepsToTurn = 16;

/// The turn between neighbours of a Fibonacci lattice: 2 - the golden ratio.
constexpr double kGoldenTurn = 2 - std::numbers::phi;
/// Steps of the two-dimensional sequence that fills a square most evenly: powers of the inverse of
/// the root of x^3 = x + 1.
constexpr double kStepX = 0.7548776662466927;
constexpr double kStepY = 0.5698402909980532;

double fraction(double value) {
    return value - std::floor(value);
}

/// A piece's face in the unit's space.
struct PlacedPolygon {
    std::vector<Vec3d> corners;
    Vec3d normal{};
    double area = 0;
};

PlacedPolygon placeFace(const Model3doObject& piece, std::size_t primIndex,
                        const Placement& placement) {
    PlacedPolygon face;
    face.corners = cornersOf(piece.primitives[primIndex], piece.vertices);
    for (Vec3d& corner : face.corners) corner = placement.apply(corner);
    const Vec3d area = areaVector(face.corners);
    face.normal = normalized(area);
    face.area = length(area);
    return face;
}

/// Points over the triangles of the fan that show the face's side, as many on each as its area
/// asks.
std::vector<Vec3d> pointsOn(const PlacedPolygon& face, std::size_t count) {
    std::vector<double> reached;  // the area up to the end of each triangle
    double sum = 0;
    for (std::size_t i = 2; i < face.corners.size(); ++i) {
        const Vec3d normal =
            cross(face.corners[i] - face.corners[0], face.corners[i - 1] - face.corners[0]);
        reached.push_back(sum += std::max(0.0, dot(normal, face.normal)));
    }
    std::vector<Vec3d> points;
    points.reserve(count);
    for (std::size_t k = 0; k < count; ++k) {
        const double step = static_cast<double>(k) + 0.5;
        const double along = sum * step / static_cast<double>(count);
        const auto i =
            static_cast<std::size_t>(std::ranges::upper_bound(reached, along) - reached.begin());
        if (i == reached.size()) break;  // no area
        double x = fraction(step * kStepX), y = fraction(step * kStepY);
        if (x + y > 1) {
            x = 1 - x;
            y = 1 - y;
        }
        const Vec3d& tip = face.corners[0];
        points.push_back(tip + (face.corners[i + 1] - tip) * x + (face.corners[i + 2] - tip) * y);
    }
    return points;
}

/// At least kMinPoints, more on faces larger than most.
std::size_t pointCount(double area, double meanArea) {
    const double wanted = static_cast<double>(kMinPoints) * area / meanArea;
    return static_cast<std::size_t>(std::clamp(std::round(wanted), static_cast<double>(kMinPoints),
                                               static_cast<double>(kMaxPoints)));
}

class SceneBuilder {
public:
    void addPiece(const Model3doObject& piece, std::size_t pieceIndex, const Placement& placement) {
        const std::vector<FaceRole> roles = faceRoles(piece);
        for (std::size_t i = 0; i < piece.primitives.size(); ++i) {
            if (!isDrawn(piece, i)) continue;
            PlacedPolygon face = placeFace(piece, i, placement);
            addTriangles(face.corners);
            if (!roles[i].isTwin && !roles[i].hasTwin && face.area > 0) {
                scene_.targets.push_back({pieceIndex, i, faceCount_, face.normal, {}});
                polygons_.push_back(std::move(face));
            }
            ++faceCount_;
        }
    }

    SightScene take() {
        double area = 0;
        for (const PlacedPolygon& polygon : polygons_) area += polygon.area;
        const double mean = area / static_cast<double>(polygons_.size());
        for (std::size_t i = 0; i < polygons_.size(); ++i)
            scene_.targets[i].points = pointsOn(polygons_[i], pointCount(polygons_[i].area, mean));
        scene_.size = bounds_.diagonal();
        scene_.contact = std::max(kContact, kContactShare * scene_.size);
        return std::move(scene_);
    }

private:
    void addTriangles(const std::vector<Vec3d>& corners) {
        for (const Vec3d& corner : corners) bounds_.include(corner);
        for (std::size_t i = 2; i < corners.size(); ++i)
            scene_.triangles.push_back({{corners[0], corners[i - 1], corners[i]}, faceCount_});
    }

    SightScene scene_;
    std::vector<PlacedPolygon> polygons_;
    Box bounds_;
    std::uint32_t faceCount_ = 0;
};

/// Points of a face that are followed together.
struct Bundle {
    std::size_t target = 0;
    std::span<const Vec3d> points;
};

/// The points of each face together, or, when they lie far apart, one by one.
std::vector<Bundle> bundlesOf(const SightScene& scene) {
    std::vector<Bundle> bundles;
    bundles.reserve(scene.targets.size());
    for (std::size_t target = 0; target < scene.targets.size(); ++target) {
        const std::span<const Vec3d> points(scene.targets[target].points);
        Box bounds;
        for (const Vec3d& point : points) bounds.include(point);
        const bool isClose = bounds.diagonal() < kNearby * scene.size;
        const std::size_t size = isClose ? points.size() : 1;
        for (std::size_t first = 0; first < points.size(); first += size)
            bundles.push_back({target, points.subspan(first, size)});
    }
    return bundles;
}

TriangleTree makeTree(const SightScene& scene) {
    std::vector<Occluder> occluders;
    occluders.reserve(scene.triangles.size());
    for (const auto& [corners, face] : scene.triangles) {
        const Vec3d a = corners[1] - corners[0];
        const Vec3d b = corners[2] - corners[0];
        occluders.push_back({corners[0], a, b, cross(b, a), face});
    }
    return {std::move(occluders), scene.contact};
}

/// The lines of sight to a face.
struct Sighted {
    std::uint64_t rays = 0;
    std::uint64_t reached = 0;
};

/// Follows the lines of the tree's direction to the backs of faces.
void followAll(const TriangleTree& tree, const SightScene& scene,
               const std::vector<Bundle>& bundles, std::vector<Sighted>& sighted,
               WorkBudget& budget) {
    std::vector<Vec3d> left;
    for (const Bundle& bundle : bundles) {
        const SightScene::Target& target = scene.targets[bundle.target];
        if (dot(target.normal, tree.frame().direction()) >= 0) continue;  // sees the front
        left.clear();
        for (const Vec3d& point : bundle.points) left.push_back(tree.frame().of(point));
        std::uint64_t steps = 0;
        tree.removeHidden(left, target.face, steps);
        budget.spend(steps);
        sighted[bundle.target].rays += bundle.points.size();
        sighted[bundle.target].reached += left.size();
    }
}

BleedThrough reportOf(const SightScene& scene, const std::vector<Sighted>& sighted) {
    BleedThrough result;
    for (std::size_t i = 0; i < sighted.size(); ++i) {
        const auto& [rays, reached] = sighted[i];
        result.rayCount += rays;
        if (reached > 0)
            result.faces.push_back({scene.targets[i].pieceIndex, scene.targets[i].primIndex,
                                    static_cast<double>(reached) / static_cast<double>(rays)});
    }
    return result;
}

}  // namespace

std::vector<Vec3d> viewDirections(const BleedThroughView& view) {
    std::vector<Vec3d> directions;
    directions.reserve(view.directions);
    const auto count = static_cast<double>(view.directions);
    for (std::size_t i = 0; i < view.directions; ++i) {
        const double step = (static_cast<double>(i) + 0.5) / count;
        const double y = view.fromAboveOnly ? 1 - step : 1 - 2 * step;
        const double radius = std::sqrt(1 - y * y);
        const double turn = 2 * std::numbers::pi * fraction(static_cast<double>(i) * kGoldenTurn);
        directions.push_back({radius * std::cos(turn), y, radius * std::sin(turn)});
    }
    return directions;
}

SightScene makeSightScene(const Model3doObject& root, std::span<const PiecePose> pose) {
    requireAnalysable(root);
    const std::vector<PieceRef> pieces = flattenPieces(root);
    const std::vector<Placement> placements = placePieces(pieces, pose);
    SceneBuilder builder;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        if (placements[i].isVisible) builder.addPiece(*pieces[i].piece, i, placements[i]);
    return builder.take();
}

BleedThrough findBleedThrough(const Model3doObject& root, const BleedThroughView& view,
                              std::span<const PiecePose> pose) {
    const SightScene scene = makeSightScene(root, pose);
    TriangleTree tree = makeTree(scene);
    const std::vector<Bundle> bundles = bundlesOf(scene);
    WorkBudget budget(
        kMaxSteps, fmt::format("model too large to look at from {} directions", view.directions));
    budget.spend(view.directions * tree.triangleCount() * kStepsToTurn);
    std::vector<Sighted> sighted(scene.targets.size());
    for (const Vec3d& direction : viewDirections(view)) {
        tree.lookAlong(direction);
        followAll(tree, scene, bundles, sighted, budget);
    }
    return reportOf(scene, sighted);
}

}  // namespace orb::unitview
