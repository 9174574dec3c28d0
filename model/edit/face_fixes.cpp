#include <algorithm>

#include <fmt/format.h>

#include "io/ascii.h"
#include "model/edit/bleed_through.h"
#include "model/edit/corner_keys.h"
#include "model/edit/duplicate_faces.h"
#include "model/edit/fix_functions.h"
#include "model/edit/triangulate.h"
#include "model/mesh.h"

namespace orb::unitview {
namespace {

using io::Model3doObject;
using io::Model3doPrimitive;
using Faces = std::vector<Model3doPrimitive>;

/// Builds a piece's list of faces anew. `replace` appends what takes the place of a face; the
/// selection outline follows the first of those that take its place.
template <typename Replace>
void rebuildFaces(Model3doObject& piece, Replace&& replace) {
    Faces faces;
    std::optional<std::int32_t> selection;
    for (std::size_t i = 0; i < piece.primitives.size(); ++i) {
        const std::size_t first = faces.size();
        replace(i, piece.primitives[i], faces);
        if (isSelection(piece, i) && faces.size() > first)
            selection = static_cast<std::int32_t>(first);
    }
    piece.primitives = std::move(faces);
    piece.selectionPrimitive = selection;
}

/// `indices` ascend.
void removeFaces(Model3doObject& piece, const std::vector<std::size_t>& indices) {
    if (indices.empty()) return;
    rebuildFaces(piece, [&](std::size_t i, Model3doPrimitive& face, Faces& faces) {
        if (!std::ranges::binary_search(indices, i)) faces.push_back(std::move(face));
    });
}

std::size_t removeSelected(EditedModel& model, const FaceSelection& selection) {
    std::size_t count = 0;
    for (const auto& [piece, indices] : selection) {
        removeFaces(*model.pieces[piece], indices);
        count += indices.size();
    }
    return count;
}

/// Changes each of the named faces in place.
template <typename Change>
std::size_t changeNamed(EditedModel& model, const ModelFix& fix, Change&& change) {
    std::size_t count = 0;
    for (const auto& [piece, indices] : selectFaces(model, fix.faces.value())) {
        for (const std::size_t i : indices) {
            Model3doPrimitive& face = model.pieces[piece]->primitives[i];
            const Model3doPrimitive before = face;
            change(face);
            if (face != before) ++count;
        }
    }
    return count;
}

/// Every face of the model for which the piece's `choose` says so.
template <typename Choose>
FaceSelection selectWhere(const EditedModel& model, Choose&& choose) {
    FaceSelection selection;
    for (std::size_t piece = 0; piece < model.pieces.size(); ++piece) {
        const auto isChosen = choose(*model.pieces[piece]);
        for (std::size_t i = 0; i < model.pieces[piece]->primitives.size(); ++i)
            if (isChosen(i)) selection[piece].push_back(i);
    }
    return selection;
}

/// The first corner stays the first.
void reverseCorners(Model3doPrimitive& face) {
    if (!face.vertexIndices.empty())
        std::reverse(face.vertexIndices.begin() + 1, face.vertexIndices.end());
}

void refuseSelectionPlate(const EditedModel& model, const FaceSelection& selection) {
    for (const auto& [piece, indices] : selection)
        for (const std::size_t i : indices)
            if (isSelection(*model.pieces[piece], i))
                throw ModelFixError(fmt::format("{} face {} is the selection plate",
                                                pieceText(*model.pieces[piece]), i));
}

FaceSelection bledFaces(const EditedModel& model) {
    FaceSelection selection;
    for (const BledFace& face : findBleedThrough(model.root).faces)
        selection[face.pieceIndex].push_back(face.primIndex);
    return selection;
}

Faces trianglesOf(const Model3doObject& piece, const Model3doPrimitive& face, bool isTwin) {
    Model3doPrimitive whole = face;
    // A twin is cut like the face that it shows from behind, so that their parts are twins again.
    if (isTwin) reverseCorners(whole);
    Faces triangles;
    for (const auto& corners : triangulate(shapeOf(piece, whole))) {
        Model3doPrimitive triangle = whole;
        triangle.vertexIndices.clear();
        for (const std::size_t corner : corners)
            triangle.vertexIndices.push_back(whole.vertexIndices[corner]);
        if (isTwin) reverseCorners(triangle);
        triangles.push_back(std::move(triangle));
    }
    return triangles;
}

/// Faces that only triangles show rightly, and whose looks do not hang on their corners.
FaceSelection untexturedBentFaces(const EditedModel& model) {
    return selectWhere(model, [](const Model3doObject& piece) {
        return [&piece](std::size_t i) {
            if (!isDrawn(piece, i) || piece.primitives[i].textureName) return false;
            const FaceShape shape = shapeOf(piece, piece.primitives[i]);
            return isNonPlanar(shape) || isConcave(shape);
        };
    });
}

void requireTriangulable(const EditedModel& model, const FaceSelection& selection) {
    refuseSelectionPlate(model, selection);
    for (const auto& [index, faces] : selection) {
        const Model3doObject& piece = *model.pieces[index];
        for (const std::size_t i : faces) {
            const Model3doPrimitive& face = piece.primitives[i];
            if (hasBadIndex(piece, face))
                throw ModelFixError(fmt::format("{} face {} has a bad index", pieceText(piece), i));
            if (face.vertexIndices.size() > kMaxTriangulatedCorners)
                throw ModelFixError(fmt::format("{} face {} has more than {} corners",
                                                pieceText(piece), i, kMaxTriangulatedCorners));
        }
    }
}

}  // namespace

std::size_t addTwins(EditedModel& model, const ModelFix& fix) {
    const FaceSelection selection = fix.faces ? selectFaces(model, *fix.faces) : bledFaces(model);
    refuseSelectionPlate(model, selection);
    std::size_t count = 0;
    for (const auto& [index, faces] : selection) {
        Model3doObject& piece = *model.pieces[index];
        const std::vector<FaceRole> roles = faceRoles(piece);
        Faces twins;
        for (const std::size_t i : faces) {
            if (roles[i].isTwin || roles[i].hasTwin ||
                isDegenerate(shapeOf(piece, piece.primitives[i])))
                continue;
            twins.push_back(piece.primitives[i]);
            reverseCorners(twins.back());
            twins.back().flags[kTwinFlag] = true;
        }
        if (twins.empty()) continue;
        rebuildFaces(piece, [](std::size_t, Model3doPrimitive& face, Faces& all) {
            all.push_back(std::move(face));
        });
        piece.primitives.insert(piece.primitives.end(), twins.begin(), twins.end());
        count += twins.size();
    }
    return count;
}

std::size_t removeTwins(EditedModel& model, const ModelFix& fix) {
    const auto isTwinOf = [](const Model3doObject& piece) {
        return [roles = faceRoles(piece)](std::size_t i) { return roles[i].isTwin; };
    };
    const FaceSelection twins = selectWhere(model, isTwinOf);
    if (!fix.faces) return removeSelected(model, twins);
    const FaceSelection named = selectFaces(model, *fix.faces);
    for (const auto& [piece, indices] : named) {
        const auto found = twins.find(piece);
        for (const std::size_t i : indices)
            if (found == twins.end() || !std::ranges::binary_search(found->second, i))
                throw ModelFixError(
                    fmt::format("{} face {} is not a twin", pieceText(*model.pieces[piece]), i));
    }
    return removeSelected(model, named);
}

std::size_t flipFaces(EditedModel& model, const ModelFix& fix) {
    return changeNamed(model, fix, reverseCorners);
}

std::size_t deleteFaces(EditedModel& model, const ModelFix& fix) {
    return removeSelected(model, selectFaces(model, fix.faces.value()));
}

std::size_t removeDuplicates(EditedModel& model, const ModelFix& fix) {
    std::optional<FaceSelection> candidates;
    if (fix.faces) candidates = selectFaces(model, *fix.faces);
    FaceSelection removed;
    for (std::size_t piece = 0; piece < model.pieces.size(); ++piece) {
        if (candidates && !candidates->contains(piece)) continue;
        for (const DuplicateGroup& group :
             findSameFaces(*model.pieces[piece], fix.tolerance.value_or(kDefaultTolerance))) {
            for (std::size_t i = 1; i < group.faces.size(); ++i)
                if (!candidates ||
                    std::ranges::binary_search(candidates->at(piece), group.faces[i]))
                    removed[piece].push_back(group.faces[i]);
        }
        if (const auto found = removed.find(piece); found != removed.end())
            std::ranges::sort(found->second);
    }
    return removeSelected(model, removed);
}

std::size_t removeDegenerate(EditedModel& model, const ModelFix&) {
    return removeSelected(model, selectWhere(model, [](const Model3doObject& piece) {
                              return [&piece](std::size_t i) {
                                  const Model3doPrimitive& face = piece.primitives[i];
                                  return !isSelection(piece, i) && !hasBadIndex(piece, face) &&
                                         isDegenerate(shapeOf(piece, face));
                              };
                          }));
}

std::size_t triangulateFaces(EditedModel& model, const ModelFix& fix) {
    const FaceSelection selection =
        fix.faces ? selectFaces(model, *fix.faces) : untexturedBentFaces(model);
    requireTriangulable(model, selection);
    std::size_t count = 0;
    for (const auto& [index, indices] : selection) {
        Model3doObject& piece = *model.pieces[index];
        const std::vector<FaceRole> roles = faceRoles(piece);
        rebuildFaces(piece, [&](std::size_t i, Model3doPrimitive& face, Faces& faces) {
            const bool isNamed = std::ranges::binary_search(indices, i);
            Faces triangles;
            if (isNamed && face.vertexIndices.size() > 3)
                triangles = trianglesOf(piece, face, roles[i].isTwin);
            if (triangles.empty()) {
                faces.push_back(std::move(face));
                return;
            }
            std::ranges::move(triangles, std::back_inserter(faces));
            ++count;
        });
    }
    return count;
}

std::size_t turnCorners(EditedModel& model, const ModelFix& fix) {
    return changeNamed(model, fix, [&](Model3doPrimitive& face) {
        auto& corners = face.vertexIndices;
        if (corners.empty()) return;
        const auto count = static_cast<std::int64_t>(corners.size());
        const std::int64_t by = (fix.byCorners.value_or(1) % count + count) % count;
        std::rotate(corners.begin(), corners.begin() + by, corners.end());
    });
}

std::size_t setTexture(EditedModel& model, const ModelFix& fix) {
    return changeNamed(model, fix, [&](Model3doPrimitive& face) {
        face.textureName = fix.texture;
        face.color.reset();
    });
}

std::size_t setColor(EditedModel& model, const ModelFix& fix) {
    return changeNamed(model, fix, [&](Model3doPrimitive& face) {
        face.textureName.reset();
        face.color = static_cast<std::uint8_t>(fix.color.value());
    });
}

std::size_t replaceTexture(EditedModel& model, const ModelFix& fix) {
    std::size_t count = 0;
    for (Model3doObject* const piece : model.pieces) {
        for (Model3doPrimitive& face : piece->primitives) {
            if (!face.textureName || !io::equalsIgnoringCase(*face.textureName, *fix.from) ||
                face.textureName == fix.to)
                continue;
            face.textureName = fix.to;
            ++count;
        }
    }
    return count;
}

}  // namespace orb::unitview
