#include "model/placement.h"

namespace orb::unitview {
namespace {

/// Turns two of the axes about the third.
void turnAxes(std::array<Vec3d, 3>& axes, std::size_t about, double angle) {
    if (angle == 0) return;
    Vec3d& first = axes[(about + 1) % 3];
    Vec3d& second = axes[(about + 2) % 3];
    const double c = std::cos(angle), s = std::sin(angle);
    const Vec3d turned = first * c + second * s;
    second = second * c - first * s;
    first = turned;
}

}  // namespace

std::vector<Placement> placePieces(const std::vector<PieceRef>& pieces,
                                   std::span<const PiecePose> pose) {
    std::vector<Placement> placements;
    placements.reserve(pieces.size());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const auto& [piece, parent] = pieces[i];
        Placement placement =
            parent < 0 ? Placement{} : placements[static_cast<std::size_t>(parent)];
        const PiecePose moved = i < pose.size() ? pose[i] : PiecePose{};
        placement.origin = placement.apply(piece->position + toDouble(moved.offset));
        for (const std::size_t axis : {1U, 0U, 2U})
            turnAxes(placement.axes, axis, double{moved.angle[axis]});
        placement.isVisible = moved.isVisible;
        placements.push_back(placement);
    }
    return placements;
}

}  // namespace orb::unitview
