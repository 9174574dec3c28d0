#include "model/edit/analysis_limits.h"

#include "model/piece_list.h"

namespace orb::unitview {

void requireAnalysable(const io::Model3doObject& root) {
    WorkBudget parts(kMaxAnalysedParts);
    for (const auto& [piece, parent] : flattenPieces(root)) {
        parts.spend(piece->vertices.size() + piece->primitives.size());
        for (const auto& face : piece->primitives) parts.spend(face.vertexIndices.size());
    }
}

}  // namespace orb::unitview
