#include <gtest/gtest.h>

#include "model/edit/analysis_limits.h"
#include "model/edit/bleed_through.h"
#include "model/edit/corner_keys.h"
#include "model/edit/duplicate_faces.h"
#include "model/edit/model_issues.h"
#include "model/face_geometry.h"
#include "tests/model/random_model.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;
using io::ModelPoint;
using io::Vec3;
using Corners = std::vector<std::uint16_t>;

Model3doPrimitive face(Corners corners, std::array<bool, 3> flags = {}) {
    return {std::move(corners), std::uint8_t{7}, std::nullopt, flags};
}

std::vector<std::string> named(const IssueSet& issues) {
    const auto names = issues.names();
    return {names.begin(), names.end()};
}

using Names = std::vector<std::string>;

TEST(ModelIssues, AreFoundByTheirKinds) {
    Model3doObject root;
    root.name = "base";
    root.vertices = {{0, 0, 0}, {4, 0, 0}, {4, 0, 4}, {0, 0, 4},     {3, 0, 3},  {4, 1, 4},
                     {2, 0, 0}, {9, 9, 9}, {5, 0, 4}, {4, 0.05F, 4}, {1, 0, -8}, {5, 0, -8}};
    const std::vector<std::pair<Model3doPrimitive, Names>> cases = {
        {face({3, 2, 1, 0}), {}},
        {face({0, 6, 1}), {"degenerate"}},
        {face({0, 1, 0, 1}), {"degenerate"}},
        {face({0, 1}), {"degenerate"}},
        {face({3, 5, 1, 0}), {"non-planar"}},
        {face({3, 9, 1, 0}), {}},  // half a percent off
        {face({3, 2, 1, 4}), {"concave", "overlap"}},
        {face({0, 2, 1, 3}), {"concave"}},  // crosses itself: its halves show opposite sides
        {face({0, 1, 99}), {"bad-index"}},
        {{{8, 1, 0, 3}, {}, "Lost", {}}, {"overlap", "missing-texture"}},
        {{{10, 11, 1}, {}, "wall", {}}, {}},
    };
    for (const auto& [added, issues] : cases) root.primitives.push_back(added);
    auto child = std::make_unique<Model3doObject>();
    child->name = "BASE";
    child->vertices = {{0, 0, 0}, {0, 0, 1}};  // an effect's place and direction
    root.children.push_back(std::move(child));
    root.children.push_back(std::make_unique<Model3doObject>());
    root.children[1]->name = std::string(31, 'n');

    const auto issues =
        findIssues(root, {{"LOST"}, std::set<std::string>{"BASE", std::string(31, 'N')}});
    for (std::size_t i = 0; i < cases.size(); ++i) {
        Names expected = cases[i].second;
        if (i == 0) expected.insert(expected.begin(), "overlap");
        EXPECT_EQ(named(issues[0].ofFaces[i]), expected) << i;
    }
    EXPECT_EQ(named(issues[0].ofPiece), (Names{"unused-vertex", "no-selection", "piece-name"}));
    EXPECT_EQ(named(issues[1].ofPiece), Names{"piece-name"});
    EXPECT_EQ(named(issues[2].ofPiece), Names{"piece-name"});
    EXPECT_EQ(issues[0].count(), 3U + 11U);

    root.selectionPrimitive = 7;
    const auto others = findIssues(root, {{}, std::set<std::string>{}});
    EXPECT_EQ(named(others[0].ofFaces[7]), Names{});  // the plate is not drawn
    EXPECT_EQ(named(others[0].ofPiece), (Names{"unused-vertex", "piece-name", "unscripted-piece"}));
    root.primitives.resize(1, face({}));
    root.primitives[0].vertexIndices.resize(kMaxAnalysedParts);
    EXPECT_THROW(findIssues(root, {}), std::runtime_error);
}

/// A second opinion: every pair of faces, areas by counting points of a fine lattice.
class PlainOverlaps {
public:
    explicit PlainOverlaps(const Model3doObject& piece) : piece_(piece) {}

    std::optional<double> shareOf(std::size_t a, std::size_t b) const {
        const auto first = cornersOf(piece_.primitives[a], piece_.vertices);
        const auto second = cornersOf(piece_.primitives[b], piece_.vertices);
        const Vec3d normal = facing(first);
        if (dot(normal, facing(second)) < 0.9999) return std::nullopt;
        for (const Vec3d& corner : second)
            if (std::abs(dot(corner - first[0], normal)) > kDefaultTolerance) return std::nullopt;
        std::size_t inFirst = 0, inSecond = 0, inBoth = 0;
        const auto axes = planeAxes(normal);
        const auto outlineA = flattened(first, axes), outlineB = flattened(second, axes);
        for (double x = -8; x < 8; x += kStep) {
            for (double y = -8; y < 8; y += kStep) {
                const bool isInA = contains(outlineA, {x + kOffset, y + kOffset});
                const bool isInB = contains(outlineB, {x + kOffset, y + kOffset});
                inFirst += isInA;
                inSecond += isInB;
                inBoth += isInA && isInB;
            }
        }
        return static_cast<double>(inBoth) / static_cast<double>(std::min(inFirst, inSecond));
    }

private:
    static constexpr double kStep = 0.03125;
    static constexpr double kOffset = 0.0123;

    /// Crossings of a line from the point to the right.
    static bool contains(const std::vector<Point2>& outline, const Point2& p) {
        bool isInside = false;
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const Point2& a = outline[i];
            const Point2& b = outline[(i + 1) % outline.size()];
            if ((a[1] > p[1]) != (b[1] > p[1]) &&
                p[0] < a[0] + (b[0] - a[0]) * (p[1] - a[1]) / (b[1] - a[1]))
                isInside = !isInside;
        }
        return isInside;
    }

    const Model3doObject& piece_;
};

/// A piece whose faces lie in few planes: triangles, quads and bent outlines of lattice points.
Model3doObject flatPiece(ModelDraw& draw) {
    Model3doObject piece;
    for (int plane = 0; plane < 3; ++plane) {
        for (int i = 0; i < 8; ++i) {
            ModelPoint corners[4];
            for (ModelPoint& corner : corners) {
                corner = draw.point();
                if (plane < 2) corner[static_cast<std::size_t>(plane)] = 1;
                if (plane == 2) corner[0] = corner[1] + corner[2];  // lies askew
            }
            Corners indices;
            for (std::size_t c = 0; c < 3 + draw.below(2); ++c) {
                indices.push_back(static_cast<std::uint16_t>(piece.vertices.size()));
                piece.vertices.push_back(corners[c]);
            }
            piece.primitives.push_back(face(indices));
        }
    }
    return piece;
}

bool isSimple(const FaceShape& shape) {
    if (isDegenerate(shape)) return false;
    if (shape.corners.size() == 3) return true;
    const auto p = flattened(shape.corners, planeAxes(shape.normal));
    const auto crosses = [&](int a, int b, int c, int d) {
        const auto at = [&](int i) { return p[static_cast<std::size_t>(i)]; };
        return turn(at(a), at(b), at(c)) * turn(at(a), at(b), at(d)) <= 0 &&
               turn(at(c), at(d), at(a)) * turn(at(c), at(d), at(b)) <= 0;
    };
    return !crosses(0, 1, 2, 3) && !crosses(1, 2, 3, 0);
}

TEST(DuplicateFaces, OverlapWhereCountedPointsSaySo) {
    int overlapping = 0;
    for (std::uint32_t seed = 0; seed < 12; ++seed) {
        ModelDraw draw(seed);
        Model3doObject piece = flatPiece(draw);
        std::erase_if(piece.primitives,
                      [&](const auto& drawn) { return !isSimple(shapeOf(piece, drawn)); });
        const PlainOverlaps plain(piece);
        std::map<std::vector<std::size_t>, double> found;
        for (const DuplicateGroup& group : findDuplicates(piece, kDefaultTolerance).groups)
            found[group.faces] = group.kind == DuplicateKind::opposite ? 0 : group.share;
        for (std::size_t a = 0; a < piece.primitives.size(); ++a) {
            for (std::size_t b = a + 1; b < piece.primitives.size(); ++b) {
                const double share = plain.shareOf(a, b).value_or(0);
                const double claimed = found.contains({a, b}) ? found[{a, b}] : 0;
                EXPECT_NEAR(share, claimed, 0.06) << seed << ": " << a << ", " << b;
                overlapping += claimed > 0;
            }
        }
    }
    EXPECT_GT(overlapping, 100);
}

TEST(DuplicateFaces, AreGroupedByTheirCorners) {
    Model3doObject piece;
    // each corner twice, the second time a little off
    for (const double off : {0.0, 0.0005})
        for (const ModelPoint& corner : {ModelPoint{0, 0, 0}, {4, 0, 0}, {4, 0, 4}, {0, 0, 4}})
            piece.vertices.push_back({corner[0] + off, corner[1], corner[2]});
    piece.primitives = {face({3, 2, 1, 0}), face({6, 5, 4, 7}),    // the same, from another corner
                        face({4, 5, 6, 7}),                        // its back
                        face({0, 1, 2, 3}, {true, false, false}),  // a twin takes no part
                        face({3, 2, 1, 0})};
    piece.selectionPrimitive = 4;
    const auto groups = findDuplicates(piece, kDefaultTolerance).groups;
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].kind, DuplicateKind::same);
    EXPECT_EQ(groups[0].faces, (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(groups[1].kind, DuplicateKind::opposite);
    EXPECT_EQ(groups[1].faces, (std::vector<std::size_t>{0, 1, 2}));

    const auto strict = findDuplicates(piece, 0).groups;
    ASSERT_EQ(strict.size(), 2U);  // one in place of the other, moved by a hair
    EXPECT_EQ(strict[0].faces, (std::vector<std::size_t>{1, 2}));
    EXPECT_EQ(strict[1].kind, DuplicateKind::overlap);
    EXPECT_EQ(strict[1].faces, (std::vector<std::size_t>{0, 1}));
    EXPECT_NEAR(strict[1].share, 1, 0.001);
    EXPECT_TRUE(findDuplicates(piece, 100).groups.empty());

    // a twin that has lost its face is a face like others
    piece.primitives = {face({3, 2, 1, 0}, {true, false, false}),
                        face({7, 6, 5, 4}, {true, false, false})};
    piece.selectionPrimitive.reset();
    ASSERT_EQ(findDuplicates(piece, kDefaultTolerance).groups.size(), 1U);
    EXPECT_EQ(findSameFaces(piece, kDefaultTolerance).size(), 1U);
}

/// Adds a triangle at the end of a piece.
void addTriangle(Model3doObject& piece, const std::array<ModelPoint, 3>& corners) {
    const auto base = static_cast<std::uint16_t>(piece.vertices.size());
    piece.vertices.insert(piece.vertices.end(), corners.begin(), corners.end());
    piece.primitives.push_back(
        face({base, static_cast<std::uint16_t>(base + 1), static_cast<std::uint16_t>(base + 2)}));
}

TEST(DuplicateFaces, AreFoundInLargePlates) {
    Model3doObject plate;
    plate.name = "base";
    for (int x = 0; x < 140; ++x)
        for (int z = 0; z < 140; ++z) {
            const ModelPoint at = {x * 2.0, 0, z * 2.0};
            addTriangle(plate, {at, ModelPoint{at[0] + 1, 0, at[2]}, {at[0], 0, at[2] + 1}});
        }
    addTriangle(plate, {ModelPoint{80.5, 0, 80}, {81.5, 0, 80}, {80.5, 0, 81}});
    const DuplicateFaces found = findDuplicates(plate, kDefaultTolerance);
    EXPECT_TRUE(found.areOverlapsKnown);
    ASSERT_EQ(found.groups.size(), 1U);
    EXPECT_EQ(found.groups[0].faces, (std::vector<std::size_t>{40 * 140 + 40, 140 * 140}));
    EXPECT_DOUBLE_EQ(found.groups[0].share, 0.25);

    // all in one place: too many to tell, but only that
    Model3doObject heap;
    for (int i = 0; i < 20'000; ++i) {
        const double x = i * 0.001;
        addTriangle(heap, {ModelPoint{x, 0, 0}, {x + 90, 0, 0}, {x, 0, 90}});
    }
    heap.primitives.push_back(heap.primitives[7]);
    EXPECT_FALSE(findDuplicates(heap, kDefaultTolerance).areOverlapsKnown);
    const auto issues = findIssues(heap, {});
    EXPECT_EQ(issues[0].unknown.names(), (std::vector<std::string_view>{"overlap"}));
    EXPECT_EQ(issues[0].ofFaces[7].names(), (std::vector<std::string_view>{"duplicate"}));
}

TEST(JoinedVertices, AreFoundWhereverTheyCrowd) {
    std::vector<ModelPoint> crowd;
    for (int i = 0; i < 100'000; ++i) crowd.push_back({i * 1e-12, 0, 0});
    crowd.push_back({0, 0, -0.0});
    const auto apart = joinedVertices(crowd, 0);
    EXPECT_EQ(apart[99'999], 99'999U);
    EXPECT_EQ(apart.back(), 0U);
    EXPECT_EQ(joinedVertices(crowd, 1.0 / 65536)[99'999], 0U);
    for (ModelPoint& point : crowd) point = {1e30 + point[0] * 1e40, 1, 1};  // beyond all cells
    EXPECT_EQ(joinedVertices(crowd, 0.001)[99'999], 99'999U);
}

/// A second opinion: every ray against every triangle, by the volumes that its line spans with the
/// triangle's edges.
bool isHidden(const SightScene& scene, const Vec3d& point, const Vec3d& direction,
              std::uint32_t ownFace) {
    for (const auto& [corners, hider] : scene.triangles) {
        if (hider == ownFace) continue;
        int positive = 0, negative = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const double volume =
                dot(direction, cross(corners[i] - point, corners[(i + 1) % 3] - point));
            positive += volume >= 0;
            negative += volume <= 0;
        }
        if (positive < 3 && negative < 3) continue;
        // clockwise corners: the other way round than cross products
        const Vec3d normal = cross(corners[2] - corners[0], corners[1] - corners[0]);
        const double slope = dot(normal, direction);
        if (slope == 0) continue;
        const double distance = dot(normal, corners[0] - point) / slope;
        if (distance > scene.contact || (distance >= -scene.contact && slope > 0)) return true;
    }
    return false;
}

TEST(BleedThrough, SeesWhatEveryRayAgainstEveryTriangleSees) {
    std::size_t bled = 0, tight = 0;
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        ModelDraw draw(seed);
        const Model3doObject model = draw.model();
        const BleedThroughView view{draw.isOneIn(2), 16 + draw.below(30)};
        std::vector<PiecePose> pose(draw.below(4));
        for (PiecePose& moved : pose)
            moved = {toFloat(draw.point()), toFloat(draw.point()), !draw.isOneIn(5)};
        const SightScene scene = makeSightScene(model, pose);
        const BleedThrough result = findBleedThrough(model, view, pose);

        std::map<std::pair<std::size_t, std::size_t>, double> expected;
        std::uint64_t rayCount = 0;
        for (const auto& target : scene.targets) {
            ASSERT_GE(target.points.size(), 8U);
            double rays = 0, reached = 0;
            for (const Vec3d& direction : viewDirections(view)) {
                if (dot(target.normal, direction) >= 0) continue;
                for (const Vec3d& point : target.points) {
                    reached += !isHidden(scene, point, direction, target.face);
                    ++rays;
                }
            }
            rayCount += static_cast<std::uint64_t>(rays);
            if (reached > 0) expected[{target.pieceIndex, target.primIndex}] = reached / rays;
        }
        EXPECT_EQ(result.rayCount, rayCount);
        std::map<std::pair<std::size_t, std::size_t>, double> found;
        for (const BledFace& bledFace : result.faces)
            found[{bledFace.pieceIndex, bledFace.primIndex}] = bledFace.share;
        EXPECT_EQ(found, expected) << seed;
        bled += found.size();
        tight += scene.targets.size() - found.size();
    }
    EXPECT_GT(bled, 100U);
    EXPECT_GT(tight, 100U);
}

Model3doObject box() {
    Model3doObject box;
    box.name = "box";
    for (int corner = 0; corner < 8; ++corner)
        box.vertices.push_back({(corner & 1) != 0 ? 1.0F : 0, (corner & 4) != 0 ? 1.0F : 0,
                                (corner & 2) != 0 ? 1.0F : 0});
    box.primitives = {face({4, 5, 7, 6}), face({0, 2, 3, 1}), face({6, 7, 3, 2}),
                      face({5, 4, 0, 1}), face({4, 6, 2, 0}), face({7, 5, 1, 3})};
    return box;
}

std::vector<std::size_t> bledFaces(const Model3doObject& model, const BleedThroughView& view = {}) {
    std::vector<std::size_t> faces;
    for (const BledFace& found : findBleedThrough(model, view).faces)
        faces.push_back(found.primIndex);
    return faces;
}

TEST(BleedThrough, TellsHolesFromWhatNobodySees) {
    using Faces = std::vector<std::size_t>;
    EXPECT_EQ(bledFaces(box(), {false, 256}), Faces{});
    Model3doObject open = box();
    open.primitives.erase(open.primitives.begin());  // the lid
    EXPECT_EQ(bledFaces(open), (Faces{0, 1, 2, 3, 4}));
    Model3doObject bottomless = box();
    bottomless.primitives.erase(bottomless.primitives.begin() + 1);
    EXPECT_EQ(bledFaces(bottomless), Faces{});
    EXPECT_EQ(bledFaces(bottomless, {false, 256}), (Faces{0, 1, 2, 3, 4}));

    // the plate hides nothing, a hidden piece neither
    Model3doObject plated = box();
    plated.selectionPrimitive = 0;
    EXPECT_EQ(bledFaces(plated), (Faces{1, 2, 3, 4, 5}));
    const std::vector<PiecePose> hidden = {{{}, {}, false}};
    EXPECT_TRUE(findBleedThrough(box(), {}, hidden).faces.empty());

    // turned by half a turn about x, the open box lies on its hole
    const std::vector<PiecePose> over = {{{}, {3.14159265F, 0, 0}, true}};
    EXPECT_TRUE(findBleedThrough(open, {}, over).faces.empty());
}

TEST(BleedThrough, StopsBeforeItTakesTooLong) {
    Model3doObject large = box();
    const std::vector<Model3doPrimitive> sides = large.primitives;
    while (large.primitives.size() < 30'000)
        large.primitives.insert(large.primitives.end(), sides.begin(), sides.end());
    try {
        findBleedThrough(large, {true, kMaxDirections});
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "model too large to look at from 4096 directions");
    }
}

TEST(Placement, TurnsAboutYThenXThenZ) {
    Model3doObject root;
    root.position = {10, 0, 0};
    root.children.push_back(std::make_unique<Model3doObject>());
    root.children[0]->position = {0, 0, 1};
    const float quarter = std::acos(0.0F);
    const auto at = [&](const Vec3& angle) {
        const std::vector<PiecePose> pose = {{{}, angle, true}, {{0, 0, 1}, {}, true}};
        Vec3d place = placePieces(flattenPieces(root), pose)[1].origin;
        for (double& part : place) part = std::round(part * 1000) / 1000 + 0.0;
        return place;
    };
    EXPECT_EQ(at({}), (Vec3d{10, 0, 2}));
    EXPECT_EQ(at({0, quarter, 0}), (Vec3d{12, 0, 0}));
    EXPECT_EQ(at({quarter, 0, 0}), (Vec3d{10, -2, 0}));
    EXPECT_EQ(at({quarter, quarter, 0}), (Vec3d{10, -2, 0}));  // y is outermost
    EXPECT_EQ(at({0, quarter, quarter}), (Vec3d{12, 0, 0}));
}

}  // namespace
}  // namespace orb::unitview
