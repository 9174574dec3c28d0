#include "model/edit/model_fix.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "model/edit/bleed_through.h"
#include "model/edit/corner_keys.h"
#include "model/edit/model_issues.h"
#include "model/edit/model_values.h"
#include "model/edit/triangulate.h"
#include "model/face_geometry.h"
#include "tests/model/random_model.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;
using Corners = std::vector<std::uint16_t>;

constexpr Footprint kFootprint = {2, 3};

Model3doPrimitive face(Corners corners, std::optional<std::string> texture = {}) {
    Model3doPrimitive face;
    face.vertexIndices = std::move(corners);
    if (texture)
        face.textureName = std::move(texture);
    else
        face.color = 7;
    return face;
}

/// A root with a plate between two faces, and a child.
Model3doObject sample() {
    Model3doObject root;
    root.name = "base";
    root.position = {0, 2, 0};
    root.vertices = {{0, 0, 0}, {4, 0, 0}, {4, 0, 4}, {0, 0, 4}, {0, 0, 0.0005F}, {9, 9, 9}};
    root.primitives = {face({3, 2, 1, 0}, "wall"), face({0, 1, 2, 3}), face({0, 4, 0}),
                       face({3, 2, 1, 4}, "Wall")};
    root.selectionPrimitive = 1;
    root.children.push_back(std::make_unique<Model3doObject>());
    root.children[0]->name = "arm";
    root.children[0]->position = {1, 0, 0};
    root.children[0]->vertices = {{0, 0, 1}};
    return root;
}

ModelFix fixOf(const std::string& kind, std::vector<std::int64_t> faces = {}) {
    ModelFix fix;
    fix.kind = kind;
    fix.piece = "BASE";
    if (!faces.empty()) fix.faces.emplace();
    for (const std::int64_t index : faces) fix.faces->push_back({std::int64_t{0}, index});
    return fix;
}

struct Fixed {
    Model3doObject model = sample();
    std::size_t changed = 0;

    Fixed(const ModelFix& fix, Model3doObject before = sample()) : model(std::move(before)) {
        changed = applyFix(model, fix, kFootprint);
    }
    Corners corners(std::size_t primIndex) const {
        return model.primitives.at(primIndex).vertexIndices;
    }
};

std::string refusal(const ModelFix& fix, Model3doObject model = sample()) {
    try {
        applyFix(model, fix, kFootprint);
    } catch (const ModelFixError& error) {
        return error.what();
    }
    return "";
}

TEST(ModelFix, KeepsTheSelectionPlateWhatever) {
    EXPECT_EQ(Fixed(fixOf("delete-faces", {0})).model.selectionPrimitive, 0);
    EXPECT_EQ(Fixed(fixOf("delete-faces", {1})).model.selectionPrimitive, std::nullopt);
    EXPECT_EQ(Fixed(fixOf("remove-duplicates")).changed, 1U);
    EXPECT_EQ(Fixed(fixOf("remove-degenerate")).model.selectionPrimitive, 1);
    Fixed cut(fixOf("triangulate", {0}));
    EXPECT_EQ(cut.model.selectionPrimitive, 2);
    EXPECT_EQ(cut.corners(0), (Corners{3, 2, 1}));
    EXPECT_EQ(cut.corners(1), (Corners{3, 1, 0}));
    EXPECT_EQ(cut.model.primitives[1].textureName, "wall");

    // one that is not there does not become one that is
    Model3doObject dangling = sample();
    dangling.selectionPrimitive = 4;
    EXPECT_EQ(Fixed(fixOf("add-twins", {0, 3}), std::move(dangling)).model.selectionPrimitive,
              std::nullopt);

    // a plate without area is no face to remove
    Model3doObject flat = sample();
    flat.selectionPrimitive = 2;
    EXPECT_EQ(Fixed(fixOf("remove-degenerate"), std::move(flat)).changed, 0U);
}

TEST(ModelFix, TwinsComeInPairs) {
    Fixed twins(fixOf("add-twins", {0, 3, 0}));
    EXPECT_EQ(twins.changed, 2U);
    EXPECT_EQ(twins.corners(4), (Corners{3, 0, 1, 2}));
    EXPECT_EQ(twins.model.primitives[4].flags, (std::array{true, false, false}));
    EXPECT_EQ(twins.model.primitives[4].textureName, "wall");
    const auto roles = faceRoles(twins.model);
    EXPECT_EQ(roles[4].twinOf, 0U);
    EXPECT_TRUE(roles[3].hasTwin && !roles[1].hasTwin);
    EXPECT_EQ(Fixed(fixOf("add-twins", {0, 4}), copyModel(twins.model)).changed, 0U);
    EXPECT_EQ(Fixed(fixOf("add-twins", {2})).changed, 0U);  // nothing to see from any side

    // cut alike, both stay pairs
    const Fixed cut(fixOf("triangulate", {0, 4}), copyModel(twins.model));
    for (const FaceRole& role : faceRoles(cut.model))
        EXPECT_EQ(role.isTwin, role.twinOf.has_value());

    EXPECT_EQ(refusal(fixOf("remove-twins", {4, 0}), copyModel(twins.model)),
              "piece base face 0 is not a twin");
    EXPECT_TRUE(isSameModel(Fixed(fixOf("remove-twins"), copyModel(twins.model)).model, sample()));

    // by default every face that one looks through gets one, and then there is none
    ModelDraw draw(5);
    Model3doObject open = draw.model();
    while (findBleedThrough(open).faces.empty()) open = draw.model();
    ModelFix all;
    all.kind = "add-twins";
    const std::size_t seen = findBleedThrough(open).faces.size();
    EXPECT_EQ(applyFix(open, all, kFootprint), seen);
    EXPECT_TRUE(findBleedThrough(open).faces.empty());
}

TEST(ModelFix, ChangesFaces) {
    EXPECT_EQ(Fixed(fixOf("flip-faces", {0})).corners(0), (Corners{3, 0, 1, 2}));
    EXPECT_EQ(Fixed(fixOf("turn-corners", {0})).corners(0), (Corners{2, 1, 0, 3}));
    ModelFix turn = fixOf("turn-corners", {0});
    turn.byCorners = -5;
    EXPECT_EQ(Fixed(turn).corners(0), (Corners{0, 3, 2, 1}));
    turn.byCorners = 8;
    EXPECT_EQ(Fixed(turn).changed, 0U);

    ModelFix look = fixOf("set-texture", {0, 1});
    look.texture = "wall";
    const Fixed textured(look);
    EXPECT_EQ(textured.changed, 1U);
    EXPECT_EQ(textured.model.primitives[1], face({0, 1, 2, 3}, "wall"));
    look = fixOf("set-color", {0, 1});
    look.color = 7;
    const Fixed colored(look);
    EXPECT_EQ(colored.changed, 1U);
    EXPECT_EQ(colored.model.primitives[0], face({3, 2, 1, 0}));
    look = fixOf("replace-texture");
    look.from = "WALL";
    look.to = "Wall";
    EXPECT_EQ(Fixed(look).changed, 1U);

    // a face of the group only when it is named, and never the first one
    Model3doObject doubled = sample();
    doubled.primitives.push_back(face({2, 1, 0, 3}));
    EXPECT_EQ(Fixed(fixOf("remove-duplicates", {0, 4}), std::move(doubled)).corners(3),
              (Corners{3, 2, 1, 4}));
}

TEST(ModelFix, ChangesVerticesAndPieces) {
    const Fixed welded(fixOf("weld-vertices"));
    EXPECT_EQ(welded.changed, 1U);
    EXPECT_EQ(welded.model.vertices.size(), 5U);
    EXPECT_EQ(welded.model.vertices[4], (io::ModelPoint{9, 9, 9}));
    EXPECT_EQ(welded.corners(3), (Corners{3, 2, 1, 0}));
    ModelFix unused;
    unused.kind = "remove-unused-vertices";
    const Fixed trimmed(unused);
    EXPECT_EQ(trimmed.changed, 1U);  // the arm's one is the place of an effect
    EXPECT_EQ(trimmed.model.vertices.size(), 5U);

    ModelFix move = fixOf("move-vertices");
    move.vertices = {1, 1, 5};
    move.byUnits = {0.1, 0, -9};
    const Fixed moved(move);
    EXPECT_EQ(moved.changed, 2U);
    EXPECT_EQ(moved.model.vertices[1], (io::ModelPoint{4 + 6554 / 65536.0, 0, -9}));  // on the grid

    ModelFix scale = fixOf("scale");
    scale.factor = 3;
    const Fixed piece(scale);
    EXPECT_EQ(piece.changed, 2U);
    EXPECT_EQ(piece.model.position, (io::ModelPoint{0, 2, 0}));
    EXPECT_EQ(piece.model.vertices[2], (io::ModelPoint{12, 0, 12}));
    EXPECT_EQ(piece.model.children[0]->position, (io::ModelPoint{3, 0, 0}));
    EXPECT_EQ(piece.model.children[0]->vertices[0], (io::ModelPoint{0, 0, 3}));
    scale.piece.reset();
    EXPECT_EQ(Fixed(scale).model.position, (io::ModelPoint{0, 6, 0}));

    ModelFix rename = fixOf("rename-piece");
    rename.name = "hull";
    EXPECT_EQ(Fixed(rename).model.name, "hull");
    ModelFix shift = fixOf("move-piece");
    shift.position = {0, 2, 0};
    EXPECT_EQ(Fixed(shift).changed, 0U);
    shift.position = {0, 0.00001, 0};
    EXPECT_EQ(Fixed(shift).model.position[1], 1 / 65536.0);
}

TEST(ModelFix, MakesAPlateOnTheGround) {
    const auto corners = [](const Model3doObject& model) {
        const auto& plate =
            model.primitives.at(static_cast<std::size_t>(*model.selectionPrimitive));
        return cornersOf(plate, model.vertices);
    };
    const std::vector<Vec3d> ground = {{-16, -2, -24}, {16, -2, -24}, {16, -2, 24}, {-16, -2, 24}};
    const Fixed shared(fixOf("make-selection"));  // the old one shares its corners
    EXPECT_EQ(shared.model.selectionPrimitive, 1);
    EXPECT_EQ(corners(shared.model), ground);
    EXPECT_EQ(facing(ground), (Vec3d{0, 1, 0}));
    EXPECT_EQ(shared.model.vertices.size(), 10U);
    EXPECT_EQ(Fixed(fixOf("make-selection"), copyModel(shared.model)).changed, 0U);

    Model3doObject other = copyModel(shared.model);
    EXPECT_EQ(applyFix(other, fixOf("make-selection"), {4, 4}), 1U);
    EXPECT_EQ(other.vertices.size(), 10U);  // its own are moved
    Model3doObject none = sample();
    none.selectionPrimitive.reset();
    EXPECT_EQ(Fixed(fixOf("make-selection"), std::move(none)).model.selectionPrimitive, 4);

    Model3doObject bad = sample();
    bad.primitives[0].vertexIndices[0] = 6;
    EXPECT_EQ(refusal(fixOf("make-selection"), std::move(bad)),
              "piece base face 0 has a bad index, which a new vertex would take");
    Model3doObject unit = sample();
    EXPECT_THROW(applyFix(unit, fixOf("make-selection"), {0, 3}), ModelFixError);
    ModelFix set = fixOf("set-selection");
    set.primIndex = 3;
    EXPECT_EQ(Fixed(set).model.selectionPrimitive, 3);
}

TEST(ModelFix, CutsOutlinesWithoutLosingArea) {
    int cut = 0;
    for (std::uint32_t seed = 0; seed < 2000; ++seed) {
        ModelDraw draw(seed);
        Model3doObject piece;
        Corners corners;
        // a star around the origin never crosses itself, however its corners go in and out
        const std::size_t count = 4 + draw.below(12);
        for (std::size_t i = 0; i < count; ++i) {
            const double angle = -6.283185307 * static_cast<double>(i) / static_cast<double>(count);
            const double radius = 0.2 + static_cast<double>(draw.below(20));
            piece.vertices.push_back({radius * std::cos(angle), radius * std::sin(angle), 1});
            corners.push_back(static_cast<std::uint16_t>(i));
        }
        piece.primitives = {face(corners)};
        const FaceShape shape = shapeOf(piece, piece.primitives[0]);
        double sum = 0;
        for (const auto& triangle : triangulate(shape)) {
            Vec3d area = cross(shape.corners[triangle[2]] - shape.corners[triangle[0]],
                               shape.corners[triangle[1]] - shape.corners[triangle[0]]);
            EXPECT_GT(dot(area, shape.normal), 0) << seed;
            sum += length(area) / 2;
        }
        EXPECT_NEAR(sum, shape.area, 1e-9 * shape.area) << seed;
        ModelFix all;
        all.kind = "triangulate";
        cut += isConcave(shape);
        EXPECT_EQ(applyFix(piece, all, kFootprint), isConcave(shape) ? 1U : 0U);
        EXPECT_EQ(applyFix(piece, all, kFootprint), 0U);
    }
    EXPECT_GT(cut, 1500);
}

TEST(ModelFix, RefusesWhatDoesNotFit) {
    const double nan = std::nan("");
    const auto with = [](const std::string& kind, auto&& change) {
        ModelFix fix = fixOf(kind, {0});
        change(fix);
        return refusal(fix);
    };
    const auto nothing = [](ModelFix&) {};
    EXPECT_EQ(with("melt", nothing), "unknown fix: melt");
    EXPECT_EQ(refusal(fixOf("flip-faces")), "faces is required");
    EXPECT_EQ(with("set-color", nothing), "color is required");
    EXPECT_EQ(with("scale", nothing), "factor is required");
    EXPECT_EQ(with("move-vertices", nothing), "vertices is required");
    EXPECT_EQ(with("set-selection", nothing), "primIndex is required");
    EXPECT_EQ(with("set-color", [](ModelFix& fix) { fix.color = 256; }), "bad color: 256");
    for (const double factor : {0.0, -1.0, nan, HUGE_VAL})
        EXPECT_EQ(with("scale", [&](ModelFix& fix) { fix.factor = factor; }),
                  fmt::format("bad factor: {}", factor));
    EXPECT_EQ(with("scale", [&](ModelFix& fix) { fix.factor = 10000; }),
              "bad factor: piece base would reach 40000, beyond 16.16 fixed point");
    EXPECT_EQ(with("weld-vertices", [&](ModelFix& fix) { fix.tolerance = nan; }),
              "bad tolerance: nan");
    EXPECT_EQ(with("move-piece",
                   [&](ModelFix& fix) {
                       fix.position = {1, nan, 0};
                   }),
              "bad position: [1, nan, 0]");
    EXPECT_EQ(with("move-piece",
                   [&](ModelFix& fix) {
                       fix.position = {1, -32768, 0};
                   }),
              "bad position: -32768 is beyond 16.16 fixed point");
    const auto moving = [&](std::int64_t vertex, double by) {
        return with("move-vertices", [&](ModelFix& fix) {
            fix.vertices = {0, vertex};
            fix.byUnits = {by, 0, 0};
        });
    };
    EXPECT_EQ(moving(6, 1), "piece base has no vertex 6");
    EXPECT_EQ(moving(-1, 1), "piece base has no vertex -1");
    EXPECT_EQ(moving(1, 32767),
              "bad by: piece base vertex 1 would lie at 32771, beyond 16.16 fixed point");
    EXPECT_EQ(with("move-vertices",
                   [](ModelFix& fix) {
                       fix.vertices = {0};
                       fix.byCorners = 1;
                   }),
              "bad by: a number instead of [x, y, z]");
    EXPECT_EQ(with("turn-corners",
                   [](ModelFix& fix) {
                       fix.byUnits = {1, 0, 0};
                   }),
              "bad by: an array instead of a number of corners");
    const auto naming = [&](const std::string& name) {
        return with("rename-piece", [&](ModelFix& fix) { fix.name = name; });
    };
    EXPECT_EQ(naming(""), "bad name: empty");
    EXPECT_EQ(naming(std::string(64, 'x')), "bad name: longer than 63 bytes");
    EXPECT_EQ(naming(std::string("a\0b", 3)), "bad name: contains a NUL");
    EXPECT_EQ(naming("h\xC3\xBClle"), "bad name: not ASCII");
    EXPECT_EQ(naming(std::string(63, 'x')), "");

    ModelFix faces = fixOf("flip-faces", {4});
    EXPECT_EQ(refusal(faces), "piece base has no face 4");
    faces.faces = {{std::string("leg"), 0}};
    EXPECT_EQ(refusal(faces), "piece not found: leg");
    faces.faces = {{std::int64_t{2}, 0}};
    EXPECT_EQ(refusal(faces), "piece not found: 2");
    EXPECT_EQ(refusal(fixOf("add-twins", {1})), "piece base face 1 is the selection plate");
    EXPECT_EQ(refusal(fixOf("triangulate", {1})), "piece base face 1 is the selection plate");

    // at the reader's limit for arrays there is no room for another face
    Model3doObject full;
    full.name = "base";
    full.vertices.resize(io::kMax3doArrayBytes / io::k3doVertexSize - 5);
    full.vertices[1] = {1, 0, 0};
    full.vertices[2] = {0, 0, 1};
    full.primitives.push_back(face({0, 1, 2}));
    EXPECT_EQ(refusal(fixOf("flip-faces", {0}), copyModel(full)), "");
    EXPECT_EQ(refusal(fixOf("add-twins", {0}), std::move(full)), "model too large for a 3DO file");
}

}  // namespace
}  // namespace orb::unitview
