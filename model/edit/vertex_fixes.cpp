#include <algorithm>

#include <fmt/format.h>

#include "model/edit/corner_keys.h"
#include "model/edit/duplicate_faces.h"
#include "model/edit/fix_functions.h"
#include "model/edit/model_issues.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;

/// Drops vertices; `standsFor` names for each vertex the one that faces use instead of it, itself
/// when it stays. Corners beyond the list stay beyond it.
std::size_t mergeVertices(Model3doObject& piece, const std::vector<std::uint32_t>& standsFor,
                          const std::vector<bool>& isDropped) {
    std::vector<std::uint32_t> places(piece.vertices.size());
    std::uint32_t kept = 0;
    for (std::size_t i = 0; i < piece.vertices.size(); ++i) {
        if (isDropped[i]) continue;
        places[i] = kept;
        piece.vertices[kept++] = piece.vertices[i];
    }
    const std::size_t dropped = piece.vertices.size() - kept;
    for (auto& face : piece.primitives)
        for (std::uint16_t& index : face.vertexIndices)
            if (index < places.size()) index = static_cast<std::uint16_t>(places[standsFor[index]]);
    piece.vertices.resize(kept);
    return dropped;
}

std::size_t dropUnused(Model3doObject& piece) {
    const std::vector<std::size_t> unused = unusedVertices(piece);
    if (unused.empty()) return 0;
    std::vector<bool> isDropped(piece.vertices.size());
    for (const std::size_t i : unused) isDropped[i] = true;
    std::vector<std::uint32_t> itself(piece.vertices.size());
    for (std::uint32_t i = 0; i < itself.size(); ++i) itself[i] = i;
    return mergeVertices(piece, itself, isDropped);
}

std::size_t weld(Model3doObject& piece, double tolerance) {
    // without faces its vertices are the places of effects
    if (piece.primitives.empty()) return 0;
    const std::vector<std::uint32_t> joined = joinedVertices(piece.vertices, tolerance);
    std::vector<bool> isDropped(joined.size());
    for (std::size_t i = 0; i < joined.size(); ++i) isDropped[i] = joined[i] != i;
    return mergeVertices(piece, joined, isDropped);
}

/// Sets a point to what a change makes of it; tells whether it is another one now.
template <typename Change, typename Complain>
bool changePoint(io::ModelPoint& point, Change&& change, Complain&& complain) {
    const io::ModelPoint before = point;
    for (std::size_t axis = 0; axis < 3; ++axis)
        point[axis] = gridNumber(change(point[axis], axis), complain);
    return point != before;
}

bool scalePoint(const Model3doObject& piece, io::ModelPoint& point, double factor) {
    return changePoint(
        point, [&](double value, std::size_t) { return value * factor; },
        [&](double value) {
            return fmt::format("bad factor: {} would reach {}, beyond 16.16 fixed point",
                               pieceText(piece), value);
        });
}

bool scaleVertices(Model3doObject& piece, double factor) {
    bool isChanged = false;
    for (io::ModelPoint& vertex : piece.vertices) isChanged |= scalePoint(piece, vertex, factor);
    return isChanged;
}

/// A piece with its offset and all that hangs from it, as deep as the model nests.
std::size_t scaleTree(Model3doObject& piece, double factor) {
    const bool isMoved = scalePoint(piece, piece.position, factor);
    const bool isChanged = scaleVertices(piece, factor) || isMoved;
    std::size_t count = isChanged ? 1 : 0;
    for (const auto& child : piece.children) count += scaleTree(*child, factor);
    return count;
}

}  // namespace

std::size_t removeUnusedVertices(EditedModel& model, const ModelFix& fix) {
    std::size_t count = 0;
    for (Model3doObject* const piece : model.namedOrAll(fix.piece)) count += dropUnused(*piece);
    return count;
}

std::size_t weldVertices(EditedModel& model, const ModelFix& fix) {
    std::size_t count = 0;
    for (Model3doObject* const piece : model.namedOrAll(fix.piece))
        count += weld(*piece, fix.tolerance.value_or(kDefaultTolerance));
    return count;
}

std::size_t moveVertices(EditedModel& model, const ModelFix& fix) {
    Model3doObject& piece = model.piece(fix.piece.value());
    std::vector<std::int64_t> indices = fix.vertices.value();
    std::ranges::sort(indices);
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    std::size_t count = 0;
    for (const std::int64_t index : indices) {
        if (index < 0 || static_cast<std::uint64_t>(index) >= piece.vertices.size())
            throw ModelFixError(fmt::format("{} has no vertex {}", pieceText(piece), index));
        const bool isMoved = changePoint(
            piece.vertices[static_cast<std::size_t>(index)],
            [&](double value, std::size_t axis) { return value + fix.byUnits.value()[axis]; },
            [&](double value) {
                return fmt::format("bad by: {} vertex {} would lie at {}, beyond 16.16 fixed point",
                                   pieceText(piece), index, value);
            });
        if (isMoved) ++count;
    }
    return count;
}

std::size_t scaleModel(EditedModel& model, const ModelFix& fix) {
    const double factor = fix.factor.value();
    if (!fix.piece) return scaleTree(model.root, factor);
    Model3doObject& piece = model.piece(*fix.piece);
    std::size_t count = scaleVertices(piece, factor) ? 1 : 0;
    for (const auto& child : piece.children) count += scaleTree(*child, factor);
    return count;
}

}  // namespace orb::unitview
