#include "model/mesh.h"

#include <numeric>

#include <gtest/gtest.h>

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Vec3;

Model3doObject pieceOf(std::vector<io::ModelPoint> vertices,
                       std::optional<std::string> texture = {}) {
    Model3doObject piece;
    piece.vertices = std::move(vertices);
    piece.primitives.resize(1);
    piece.primitives[0].textureName = std::move(texture);
    piece.primitives[0].vertexIndices.resize(piece.vertices.size());
    std::iota(piece.primitives[0].vertexIndices.begin(), piece.primitives[0].vertexIndices.end(),
              std::uint16_t{0});
    return piece;
}

TEST(Mesh, TurnsFansSoThatTheyFaceTheViewer) {
    const ModelMesh mesh =
        buildMesh(pieceOf({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}}));
    std::vector<float> corners;
    for (const Vec3& position : mesh.positions) corners.push_back(position[0]);
    EXPECT_EQ(corners, (std::vector<float>{0, 2, 1, 0, 3, 2, 0, 4, 3}));
}

TEST(Mesh, LaysTexturesOverFaces) {
    using Coords = std::vector<TexCoord>;
    const struct {
        const char* what;
        std::vector<io::ModelPoint> corners;
        Coords expected;  // in the order of the emitted triangles
    } cases[] = {
        {"a quad, wherever its corners lie",
         {{5, 0, 0}, {0, 9, 0}, {1, 0, 3}, {0, 0, 0}},
         {{0, 0}, {1, 1}, {1, 0}, {0, 0}, {0, 1}, {1, 1}}},
        {"facing +z", {{0, 0, 7}, {0, 2, 7}, {4, 1, 7}}, {{0, 1}, {1, 0.5F}, {0, 0}}},
        {"facing -z: +x is on the left",
         {{0, 0, 7}, {4, 1, 7}, {0, 2, 7}},
         {{1, 1}, {1, 0}, {0, 0.5F}}},
        {"facing up: -z is up", {{0, 0, 0}, {0, 0, -2}, {4, 0, -1}}, {{0, 1}, {1, 0.5F}, {0, 0}}},
        {"facing down", {{0, 0, 0}, {4, 0, -1}, {0, 0, -2}}, {{1, 1}, {1, 0}, {0, 0.5F}}},
        {"no area", {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, {{0, 0}, {0, 0}, {0, 0}}},
        {"huge", {{0, 0, 0}, {0, 3e38F, 0}, {3e38F, 0, 0}}, {{0, 1}, {1, 1}, {0, 0}}},
    };
    for (const auto& [what, corners, expected] : cases)
        EXPECT_EQ(buildMesh(pieceOf(corners, "wall")).texCoords, expected) << what;
}

TEST(Mesh, LeavesOutWhatIsNotDrawn) {
    Model3doObject root = pieceOf({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}});
    root.primitives.resize(5);
    root.primitives[1].vertexIndices = {0, 1};
    root.primitives[2].vertexIndices = {0, 1, 3};
    root.primitives[3] = {{0, 1, 2}, 7, std::nullopt, {true, false, false}};
    root.primitives[4] = {{2, 1, 0}, std::nullopt, "Wall", {}};
    root.selectionPrimitive = 0;
    root.children.push_back(std::make_unique<Model3doObject>());
    root.children.push_back(std::make_unique<Model3doObject>(pieceOf(root.vertices, "WALL")));

    const ModelMesh mesh = buildMesh(root);
    ASSERT_EQ(mesh.ranges.size(), 3U);
    EXPECT_EQ(mesh.ranges[0].primIndex, 3U);
    EXPECT_EQ(mesh.ranges[0].color, 7);
    EXPECT_TRUE(mesh.ranges[0].isTwin);
    EXPECT_EQ(mesh.ranges[1].primIndex, 4U);
    EXPECT_EQ(mesh.ranges[1].color, std::nullopt);
    EXPECT_EQ(mesh.ranges[1].texture, mesh.ranges[2].texture);
    EXPECT_EQ(mesh.textureNames, std::vector<std::string>{"WALL"});
    std::vector<std::size_t> counts;
    for (const PieceMesh& piece : mesh.pieces) counts.push_back(piece.rangeCount);
    EXPECT_EQ(counts, (std::vector<std::size_t>{2, 0, 1}));
}

TEST(Mesh, SplitsFacesThatShortIndicesCannotNumber) {
    for (const std::size_t triangles : {21'845U, 21'846U}) {
        const ModelMesh mesh = buildMesh(pieceOf(std::vector<io::ModelPoint>(triangles + 2)));
        ASSERT_EQ(mesh.ranges.size(), triangles == 21'845U ? 1U : 2U);
        EXPECT_EQ(mesh.ranges[0].vertexCount, 65'535U);
        EXPECT_EQ(mesh.ranges.back().primIndex, 0U);
        EXPECT_EQ(mesh.ranges.back().firstVertex + mesh.ranges.back().vertexCount,
                  mesh.positions.size());
    }
}

TEST(Mesh, RefusesModelsThatAreTooLarge) {
    Model3doObject corners =
        pieceOf(std::vector<io::ModelPoint>(60'002));  // 180,000 triangle corners
    corners.primitives.resize(24, corners.primitives[0]);
    EXPECT_THROW(buildMesh(corners), std::runtime_error);
    corners.primitives.resize(23);
    EXPECT_EQ(buildMesh(corners).positions.size(), 4'140'000U);

    Model3doObject faces = pieceOf(std::vector<io::ModelPoint>(3));
    faces.primitives.resize(kMaxMeshRanges, faces.primitives[0]);
    EXPECT_EQ(buildMesh(faces).ranges.size(), kMaxMeshRanges);
    faces.primitives.push_back(faces.primitives[0]);
    EXPECT_THROW(buildMesh(faces), std::runtime_error);
}

}  // namespace
}  // namespace orb::unitview
