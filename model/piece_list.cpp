#include "model/piece_list.h"

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

}  // namespace orb::unitview
