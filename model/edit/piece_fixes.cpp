#include <algorithm>

#include <fmt/format.h>

#include "model/edit/fix_functions.h"
#include "model/face_geometry.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;
using Plate = std::array<io::ModelPoint, 4>;

constexpr std::size_t kMaxIndexedVertices = 65536;

/// The corners of a plate on the ground below the unit, in the root's own space, from its back left
/// on; it shows its upper side.
Plate groundPlate(const Model3doObject& root, const Footprint& footprint) {
    if (footprint.x <= 0 || footprint.z <= 0)
        throw ModelFixError(
            fmt::format("unit has no footprint: {} x {} cells", footprint.x, footprint.z));
    const double x = static_cast<double>(footprint.x) * kUnitsPerCell / 2;
    const double z = static_cast<double>(footprint.z) * kUnitsPerCell / 2;
    const auto onGrid = [](double value) {
        return gridNumber(value, [](double beyond) {
            return fmt::format("bad footprint: the plate would reach {}, beyond 16.16 fixed point",
                               beyond);
        });
    };
    Plate plate;
    std::size_t corner = 0;
    for (const auto& [signX, signZ] : {std::pair{-1, -1}, {1, -1}, {1, 1}, {-1, 1}})
        plate[corner++] = {onGrid(signX * x - root.position[0]), onGrid(-root.position[1]),
                           onGrid(signZ * z - root.position[2])};
    return plate;
}

Model3doPrimitive* plateOf(Model3doObject& piece) {
    for (std::size_t i = 0; i < piece.primitives.size(); ++i)
        if (isSelection(piece, i)) return &piece.primitives[i];
    return nullptr;
}

/// True when the face has four vertices of its own, which no other face uses.
bool ownsFourVertices(const Model3doObject& piece, const Model3doPrimitive& face) {
    std::vector<std::uint16_t> own = face.vertexIndices;
    std::ranges::sort(own);
    if (own.size() != 4 || std::ranges::adjacent_find(own) != own.end() || hasBadIndex(piece, face))
        return false;
    return std::ranges::none_of(piece.primitives, [&](const Model3doPrimitive& other) {
        return &other != &face &&
               std::ranges::any_of(other.vertexIndices, [&](std::uint16_t index) {
                   return std::ranges::binary_search(own, index);
               });
    });
}

/// Appends vertices for a face; its corners are these then.
void appendCorners(Model3doObject& piece, Model3doPrimitive& face, const Plate& corners) {
    for (std::size_t i = 0; i < piece.primitives.size(); ++i)
        if (&piece.primitives[i] != &face && hasBadIndex(piece, piece.primitives[i]))
            throw ModelFixError(fmt::format(
                "{} face {} has a bad index, which a new vertex would take", pieceText(piece), i));
    if (piece.vertices.size() + corners.size() > kMaxIndexedVertices)
        throw ModelFixError(fmt::format("{} has too many vertices", pieceText(piece)));
    face.vertexIndices.clear();
    for (const io::ModelPoint& corner : corners) {
        face.vertexIndices.push_back(static_cast<std::uint16_t>(piece.vertices.size()));
        piece.vertices.push_back(corner);
    }
}

}  // namespace

std::size_t renamePiece(EditedModel& model, const ModelFix& fix) {
    std::string& name = model.piece(fix.piece.value()).name;
    if (name == fix.name) return 0;
    name = fix.name.value();
    return 1;
}

std::size_t movePiece(EditedModel& model, const ModelFix& fix) {
    io::ModelPoint& position = model.piece(fix.piece.value()).position;
    const io::ModelPoint before = position;
    for (std::size_t axis = 0; axis < 3; ++axis)
        position[axis] = gridNumber(fix.position.value()[axis], [](double value) {
            return fmt::format("bad position: {} is beyond 16.16 fixed point", value);
        });
    return position == before ? 0 : 1;
}

std::size_t setSelection(EditedModel& model, const ModelFix& fix) {
    const PieceKey& key = fix.piece.value();
    const std::int64_t primIndex = fix.primIndex.value();
    selectFaces(model, {{key, primIndex}});
    Model3doObject& piece = model.piece(key);
    if (piece.selectionPrimitive == primIndex) return 0;
    piece.selectionPrimitive = static_cast<std::int32_t>(primIndex);
    return 1;
}

std::size_t makeSelection(EditedModel& model, const ModelFix&) {
    Model3doObject& root = model.root;
    const Plate corners = groundPlate(root, model.footprint);
    if (!plateOf(root)) {
        root.selectionPrimitive = static_cast<std::int32_t>(root.primitives.size());
        root.primitives.push_back({{}, std::uint8_t{0}, std::nullopt, {}});
    }
    Model3doPrimitive& plate = *plateOf(root);
    if (!ownsFourVertices(root, plate)) {
        appendCorners(root, plate, corners);
        return 1;
    }
    bool isChanged = false;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        io::ModelPoint& vertex = root.vertices[plate.vertexIndices[i]];
        isChanged |= vertex != corners[i];
        vertex = corners[i];
    }
    return isChanged ? 1 : 0;
}

}  // namespace orb::unitview
