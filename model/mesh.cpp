#include "model/mesh.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

#include "io/ascii.h"
#include "model/face_geometry.h"
#include "model/piece_list.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;

constexpr std::size_t kQuadCorners = 4;
constexpr std::array<TexCoord, kQuadCorners> kQuadTexCoords = {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}};
/// A plane whose normal leans less than this (as a cosine) from the vertical has no upward
/// direction to speak of.
constexpr double kLevel = 0.999;

/// Where each corner lies between the least and the greatest along `direction`, from 0 to 1.
std::vector<float> spread(const std::vector<Vec3d>& corners, const Vec3d& direction) {
    std::vector<double> along(corners.size());
    std::ranges::transform(corners, along.begin(),
                           [&](const Vec3d& corner) { return dot(corner, direction); });
    const auto [least, greatest] = std::ranges::minmax(along);
    const double extent = greatest - least;
    std::vector<float> result(corners.size());
    if (!(extent > 0)) return result;
    std::ranges::transform(along, result.begin(), [&, low = least](double value) {
        return static_cast<float>((value - low) / extent);
    });
    return result;
}

/// Lays the picture over the polygon's bounding box in its own plane, upright and readable from the
/// side that the polygon faces; on level ground "up" is towards -z.
std::vector<TexCoord> projectedTexCoords(const std::vector<Vec3d>& corners) {
    const Vec3d outward = facing(corners);
    const Vec3d upward = std::abs(outward[1]) < kLevel ? Vec3d{0, 1, 0} : Vec3d{0, 0, -1};
    const Vec3d right = normalized(cross(upward, outward));
    const Vec3d down = cross(right, outward);
    const std::vector<float> u = spread(corners, right);
    const std::vector<float> v = spread(corners, down);
    std::vector<TexCoord> result(corners.size());
    for (std::size_t i = 0; i < result.size(); ++i) result[i] = {u[i], v[i]};
    return result;
}

std::vector<TexCoord> texCoordsOf(const Model3doPrimitive& face,
                                  const std::vector<io::ModelPoint>& vertices) {
    if (!face.textureName) return std::vector<TexCoord>(face.vertexIndices.size());
    if (face.vertexIndices.size() == kQuadCorners)
        return {kQuadTexCoords.begin(), kQuadTexCoords.end()};
    return projectedTexCoords(cornersOf(face, vertices));
}

class MeshBuilder {
public:
    void addPiece(const Model3doObject& piece) {
        const std::size_t firstRange = mesh_.ranges.size();
        for (std::size_t i = 0; i < piece.primitives.size(); ++i) {
            if (isDrawn(piece, i)) addFace(piece, i);
        }
        mesh_.pieces.push_back({firstRange, mesh_.ranges.size() - firstRange});
    }

    ModelMesh take() { return std::move(mesh_); }

private:
    void addFace(const Model3doObject& piece, std::size_t primIndex) {
        const Model3doPrimitive& face = piece.primitives[primIndex];
        const std::size_t vertexCount = (face.vertexIndices.size() - 2) * 3;
        requireRoom(vertexCount);
        DrawRange range;
        range.primIndex = primIndex;
        range.color = face.color;
        range.isTwin = face.flags[kTwinFlag];
        if (face.textureName) range.texture = textureIndex(*face.textureName);
        for (std::size_t done = 0; done < vertexCount; done += range.vertexCount) {
            range.firstVertex = mesh_.positions.size() + done;
            range.vertexCount = std::min(vertexCount - done, kMaxRangeVertices);
            mesh_.ranges.push_back(range);
        }
        addTriangles(piece, face);
    }

    // A face's corners run clockwise as seen from outside: reading each triangle of the fan
    // backwards makes it face the viewer.
    void addTriangles(const Model3doObject& piece, const Model3doPrimitive& face) {
        const std::vector<TexCoord> texCoords = texCoordsOf(face, piece.vertices);
        for (std::size_t i = 1; i + 1 < face.vertexIndices.size(); ++i) {
            for (const std::size_t corner : {std::size_t{0}, i + 1, i}) {
                mesh_.positions.push_back(toFloat(piece.vertices[face.vertexIndices[corner]]));
                mesh_.texCoords.push_back(texCoords[corner]);
            }
        }
    }

    void requireRoom(std::size_t vertexCount) const {
        const std::size_t rangeCount = (vertexCount - 1) / kMaxRangeVertices + 1;
        if (vertexCount > kMaxMeshVertices - mesh_.positions.size() ||
            rangeCount > kMaxMeshRanges - mesh_.ranges.size())
            throw std::runtime_error("model too large to draw");
    }

    std::size_t textureIndex(const std::string& name) {
        const auto [found, isNew] =
            textures_.try_emplace(io::upperCased(name), mesh_.textureNames.size());
        if (isNew) mesh_.textureNames.push_back(found->first);
        return found->second;
    }

    ModelMesh mesh_;
    std::map<std::string, std::size_t> textures_;
};

}  // namespace

ModelMesh buildMesh(const Model3doObject& root) {
    MeshBuilder builder;
    for (const auto& [piece, parent] : flattenPieces(root)) builder.addPiece(*piece);
    return builder.take();
}

}  // namespace orb::unitview
