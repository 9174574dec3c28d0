#include "model/piece_list.h"

#include <unordered_set>

#include "io/ascii.h"

namespace orb::unitview {
namespace {

// As deep as the model nests, which its reader bounds.
void appendPieces(const io::Model3doObject& piece, int parent, std::vector<PieceRef>& list) {
    const int index = static_cast<int>(list.size());
    list.push_back({&piece, parent});
    for (const auto& child : piece.children) appendPieces(*child, index, list);
}

}  // namespace

std::vector<PieceRef> flattenPieces(const io::Model3doObject& root) {
    std::vector<PieceRef> list;
    appendPieces(root, -1, list);
    return list;
}

std::vector<std::string> pieceNames(const io::Model3doObject& root) {
    std::vector<std::string> names;
    for (const auto& [piece, parent] : flattenPieces(root)) names.push_back(piece->name);
    return names;
}

std::vector<std::string> textureNames(const io::Model3doObject& root) {
    std::vector<std::string> names;
    std::unordered_set<std::string> seen;
    for (const auto& [piece, parent] : flattenPieces(root))
        for (const auto& face : piece->primitives)
            if (face.textureName && seen.insert(io::upperCased(*face.textureName)).second)
                names.push_back(*face.textureName);
    return names;
}

}  // namespace orb::unitview
