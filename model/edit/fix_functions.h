#pragma once

#include <map>
#include <string>
#include <vector>

#include "model/edit/model_fix.h"
#include "model/edit/model_values.h"

/// The functions behind the table of kinds. Each makes its change and returns how many faces,
/// vertices or pieces it changed.
namespace orb::unitview {

/// A model under change; pieces are neither added nor removed, so the list stays true.
struct EditedModel {
    io::Model3doObject& root;
    /// In the order of flattenPieces.
    std::vector<io::Model3doObject*> pieces;
    Footprint footprint;

    EditedModel(io::Model3doObject& model, const Footprint& unitFootprint);
    std::size_t indexOf(const PieceKey& key) const;
    io::Model3doObject& piece(const PieceKey& key) const { return *pieces[indexOf(key)]; }
    /// The one that is named, else all.
    std::vector<io::Model3doObject*> namedOrAll(const std::optional<PieceKey>& key) const;
};

/// Ascending indices of faces, by piece.
using FaceSelection = std::map<std::size_t, std::vector<std::size_t>>;

/// Throws ModelFixError for a piece or face that is not there.
FaceSelection selectFaces(const EditedModel& model, const std::vector<FaceKey>& faces);

/// "piece NAME"; for error texts.
std::string pieceText(const io::Model3doObject& piece);

/// A coordinate on the grid of the file. Throws ModelFixError with what `complain` makes of one
/// that the file cannot hold.
template <typename Complain>
double gridNumber(double value, Complain&& complain) {
    if (const auto number = onFileGrid(value)) return *number;
    throw ModelFixError(complain(value));
}

// face_fixes.cpp
std::size_t addTwins(EditedModel&, const ModelFix&);
std::size_t removeTwins(EditedModel&, const ModelFix&);
std::size_t flipFaces(EditedModel&, const ModelFix&);
std::size_t deleteFaces(EditedModel&, const ModelFix&);
std::size_t removeDuplicates(EditedModel&, const ModelFix&);
std::size_t removeDegenerate(EditedModel&, const ModelFix&);
std::size_t triangulateFaces(EditedModel&, const ModelFix&);
std::size_t turnCorners(EditedModel&, const ModelFix&);
std::size_t setTexture(EditedModel&, const ModelFix&);
std::size_t setColor(EditedModel&, const ModelFix&);
std::size_t replaceTexture(EditedModel&, const ModelFix&);

// vertex_fixes.cpp
std::size_t removeUnusedVertices(EditedModel&, const ModelFix&);
std::size_t weldVertices(EditedModel&, const ModelFix&);
std::size_t moveVertices(EditedModel&, const ModelFix&);
std::size_t scaleModel(EditedModel&, const ModelFix&);

// piece_fixes.cpp
std::size_t renamePiece(EditedModel&, const ModelFix&);
std::size_t movePiece(EditedModel&, const ModelFix&);
std::size_t setSelection(EditedModel&, const ModelFix&);
std::size_t makeSelection(EditedModel&, const ModelFix&);

}  // namespace orb::unitview
