#include "model/edit/model_issues.h"

#include <algorithm>
#include <bit>
#include <map>
#include <numeric>

#include "io/ascii.h"
#include "model/edit/analysis_limits.h"
#include "model/edit/duplicate_faces.h"
#include "model/face_geometry.h"
#include "model/piece_list.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;

/// A piece with what several kinds ask about it.
struct CheckedPiece {
    const Model3doObject& piece;
    bool isRoot;
    /// How many pieces of the model have each name, upper-cased.
    const std::map<std::string, int>& nameCounts;
    const IssueContext& context;
    /// One for each face.
    std::vector<FaceShape> shapes;
    DuplicateFaces duplicates;
};

/// What one kind finds in a piece.
struct Findings {
    bool inPiece = false;
    std::vector<std::size_t> faces = {};
    bool isUnknown = false;
};

template <typename Predicate>
Findings facesWhere(const CheckedPiece& checked, Predicate&& isAtFault) {
    Findings found;
    for (std::size_t i = 0; i < checked.shapes.size(); ++i)
        if (isAtFault(i)) found.faces.push_back(i);
    return found;
}

/// Among the faces that are drawn.
Findings drawnFacesWhere(const CheckedPiece& checked, bool (*isAtFault)(const FaceShape&)) {
    return facesWhere(checked, [&](std::size_t i) {
        return isDrawn(checked.piece, i) && isAtFault(checked.shapes[i]);
    });
}

Findings facesOfGroups(const CheckedPiece& checked, DuplicateKind kind) {
    Findings found;
    for (const DuplicateGroup& group : checked.duplicates.groups)
        if (group.kind == kind)
            found.faces.insert(found.faces.end(), group.faces.begin(), group.faces.end());
    return found;
}

Findings findDegenerate(const CheckedPiece& checked) {
    return facesWhere(checked, [&](std::size_t i) {
        return !hasBadIndex(checked.piece, checked.piece.primitives[i]) &&
               isDegenerate(checked.shapes[i]);
    });
}

Findings findNonPlanar(const CheckedPiece& checked) {
    return drawnFacesWhere(checked, isNonPlanar);
}

Findings findConcave(const CheckedPiece& checked) {
    return drawnFacesWhere(checked, isConcave);
}

Findings findDuplicated(const CheckedPiece& checked) {
    return facesOfGroups(checked, DuplicateKind::same);
}

Findings findOverlapping(const CheckedPiece& checked) {
    Findings found = facesOfGroups(checked, DuplicateKind::overlap);
    found.isUnknown = !checked.duplicates.areOverlapsKnown;
    return found;
}

Findings findMissingTextures(const CheckedPiece& checked) {
    return facesWhere(checked, [&](std::size_t i) {
        const auto& texture = checked.piece.primitives[i].textureName;
        return texture && !isSelection(checked.piece, i) &&
               checked.context.missingTextures.contains(io::upperCased(*texture));
    });
}

Findings findUnusedVertices(const CheckedPiece& checked) {
    return {!unusedVertices(checked.piece).empty()};
}

Findings findBadIndices(const CheckedPiece& checked) {
    return facesWhere(checked, [&](std::size_t i) {
        return hasBadIndex(checked.piece, checked.piece.primitives[i]);
    });
}

Findings findNoSelection(const CheckedPiece& checked) {
    const auto& plate = checked.piece.selectionPrimitive;
    return {checked.isRoot &&
            !(plate && static_cast<std::size_t>(*plate) < checked.piece.primitives.size())};
}

Findings findBadName(const CheckedPiece& checked) {
    const std::string& name = checked.piece.name;
    const bool isAscii = std::ranges::all_of(name, [](char c) { return (c & 0x80) == 0; });
    return {name.empty() || name.size() > kMaxPieceName || !isAscii ||
            checked.nameCounts.at(io::upperCased(name)) > 1};
}

Findings findUnscripted(const CheckedPiece& checked) {
    const auto& scripted = checked.context.scriptPieces;
    return {scripted && !scripted->contains(io::upperCased(checked.piece.name))};
}

Findings findLostPieces(const CheckedPiece& checked) {
    return {checked.piece.isIncomplete};
}

struct IssueKind {
    std::string_view name;
    Findings (*find)(const CheckedPiece&);
};

constexpr IssueKind kIssueKinds[] = {
    {"degenerate", findDegenerate},
    {"non-planar", findNonPlanar},
    {"concave", findConcave},
    {"duplicate", findDuplicated},
    {"overlap", findOverlapping},
    {"missing-texture", findMissingTextures},
    {"unused-vertex", findUnusedVertices},
    {"bad-index", findBadIndices},
    {"no-selection", findNoSelection},
    {"piece-name", findBadName},
    {"unscripted-piece", findUnscripted},
    {"lost-pieces", findLostPieces},
};

PieceIssues issuesOf(const CheckedPiece& checked) {
    PieceIssues issues;
    issues.ofFaces.resize(checked.piece.primitives.size());
    for (std::size_t kind = 0; kind < std::size(kIssueKinds); ++kind) {
        const Findings found = kIssueKinds[kind].find(checked);
        if (found.inPiece) issues.ofPiece.add(kind);
        if (found.isUnknown) issues.unknown.add(kind);
        for (const std::size_t face : found.faces) issues.ofFaces[face].add(kind);
    }
    return issues;
}

std::vector<FaceShape> shapesOf(const Model3doObject& piece) {
    std::vector<FaceShape> shapes;
    shapes.reserve(piece.primitives.size());
    for (const Model3doPrimitive& face : piece.primitives) shapes.push_back(shapeOf(piece, face));
    return shapes;
}

}  // namespace

std::span<const std::string_view> issueKinds() {
    static const auto kNames = [] {
        std::array<std::string_view, std::size(kIssueKinds)> names;
        std::ranges::transform(kIssueKinds, names.begin(), &IssueKind::name);
        return names;
    }();
    return kNames;
}

std::size_t IssueSet::count() const {
    return static_cast<std::size_t>(std::popcount(bits_));
}

std::vector<std::string_view> IssueSet::names() const {
    std::vector<std::string_view> names;
    for (std::size_t kind = 0; kind < issueKinds().size(); ++kind)
        if (has(kind)) names.push_back(issueKinds()[kind]);
    return names;
}

std::size_t PieceIssues::count() const {
    return std::accumulate(
        ofFaces.begin(), ofFaces.end(), ofPiece.count(),
        [](std::size_t sum, const IssueSet& face) { return sum + face.count(); });
}

std::vector<PieceIssues> findIssues(const Model3doObject& root, const IssueContext& context) {
    requireAnalysable(root);
    const std::vector<PieceRef> pieces = flattenPieces(root);
    std::map<std::string, int> nameCounts;
    for (const auto& [piece, parent] : pieces) ++nameCounts[io::upperCased(piece->name)];
    std::vector<PieceIssues> issues;
    issues.reserve(pieces.size());
    for (const auto& [piece, parent] : pieces)
        issues.push_back(issuesOf({*piece, parent < 0, nameCounts, context, shapesOf(*piece),
                                   findDuplicates(*piece, kDefaultTolerance)}));
    return issues;
}

std::vector<std::size_t> unusedVertices(const Model3doObject& piece) {
    std::vector<std::size_t> unused;
    if (piece.primitives.empty()) return unused;
    std::vector<bool> isUsed(piece.vertices.size());
    for (const Model3doPrimitive& face : piece.primitives)
        for (const std::uint16_t index : face.vertexIndices)
            if (index < isUsed.size()) isUsed[index] = true;
    for (std::size_t i = 0; i < isUsed.size(); ++i)
        if (!isUsed[i]) unused.push_back(i);
    return unused;
}

}  // namespace orb::unitview
