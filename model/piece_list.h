#pragma once

#include <string>
#include <vector>

#include "io/formats/model3do.h"

namespace orb::unitview {

/// One piece of a flattened model; borrows from the model.
struct PieceRef {
    const io::Model3doObject* piece = nullptr;
    /// Index into the list; -1 for the root.
    int parent = -1;
};

/// The pieces depth first, parents before their children; a piece's index here is the model piece
/// index that scripts, poses and glTF nodes use.
std::vector<PieceRef> flattenPieces(const io::Model3doObject& root);

/// The names of the pieces in the same order.
std::vector<std::string> pieceNames(const io::Model3doObject& root);

/// The textures that the faces name, each once in any case, as first written.
std::vector<std::string> textureNames(const io::Model3doObject& root);

}  // namespace orb::unitview
