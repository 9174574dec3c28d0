#include "sim/ways/movement_class.h"

#include <algorithm>
#include <limits>
#include <span>

#include "sim/ground/occupancy.h"

namespace orb::sim {
namespace {

/// So many steps over usual ground are walked rather than one over bad ground.
constexpr std::uint8_t kBadStep = 3;

bool isDeepEnoughAndNotTooDeep(const SiteLimits& limits, std::int32_t depth) {
    if (limits.maxWaterDepth < rules::kNoLimit && depth > limits.maxWaterDepth) return false;
    return limits.minWaterDepth <= 0 || depth >= limits.minWaterDepth;
}

bool exceeds(std::int32_t slope, std::int32_t limit) {
    return limit < rules::kNoLimit && slope > limit;
}

/// What a single cell is to the class; the footprint's other cells count for themselves.
std::uint8_t costOfCell(const Terrain& terrain, const Obstacles& obstacles,
                        const MovementLimits& limits, Cell cell) {
    if (terrain.isVoid(cell) || obstacles.isBlocked(cell)) return kNoStep;
    const std::int32_t depth = terrain.seaLevel() - terrain.heightRange({cell, 1, 1}).lowest;
    if (!limits.site.canHover && !isDeepEnoughAndNotTooDeep(limits.site, depth)) return kNoStep;
    const std::int32_t slope =
        limits.site.canHover ? terrain.surfaceSlope(cell) : terrain.slope(cell);
    const bool isUnderWater = depth > 0;
    if (exceeds(slope, isUnderWater ? limits.site.maxWaterSlope : limits.site.maxSlope))
        return kNoStep;
    return exceeds(slope, isUnderWater ? limits.site.badWaterSlope : limits.site.badSlope)
               ? kBadStep
               : kUsualStep;
}

/// The worst of a window that moves backwards over cells.
class WorstAhead {
public:
    explicit WorstAhead(std::int32_t window) : window_(window) {}

    /// Of the cell at `position` and those behind it within the window.
    std::uint8_t step(std::int32_t position, std::uint8_t cost) {
        if (cost == kNoStep) shut_ = position;
        if (cost == kBadStep) bad_ = position;
        if (shut_ - position < window_) return kNoStep;
        return bad_ - position < window_ ? kBadStep : kUsualStep;
    }

private:
    static constexpr std::int32_t kNowhere = std::numeric_limits<std::int32_t>::max() / 2;

    std::int32_t window_;
    std::int32_t shut_ = kNowhere;
    std::int32_t bad_ = kNowhere;
};

}  // namespace

Obstacles::Obstacles(std::int32_t cellsX, std::int32_t cellsZ)
    : cellsX_(cellsX),
      isBlocked_(static_cast<std::size_t>(cellsX) * static_cast<std::size_t>(cellsZ)) {}

ClassGrid::ClassGrid(const Terrain& terrain, const Obstacles& obstacles,
                     const MovementLimits& limits)
    : cellsX_(terrain.cellsX()),
      cellsZ_(terrain.cellsZ()),
      costs_(static_cast<std::size_t>(cellsX_) * static_cast<std::size_t>(cellsZ_)) {
    fill(terrain, obstacles, limits, {{0, 0}, cellsX_, cellsZ_});
}

std::optional<CellRect> ClassGrid::update(const Terrain& terrain, const Obstacles& obstacles,
                                          const MovementLimits& limits, const CellRect& cells) {
    const Cell corner{std::max(0, cells.corner.x - limits.footprintX + 1),
                      std::max(0, cells.corner.z - limits.footprintZ + 1)};
    const CellRect touched{corner, cells.corner.x + cells.width - corner.x,
                           cells.corner.z + cells.depth - corner.z};
    std::vector<std::uint8_t> before;
    before.reserve(static_cast<std::size_t>(touched.width) *
                   static_cast<std::size_t>(touched.depth));
    forEachCell(touched, [&](Cell cell) { before.push_back(cost(cell)); });
    fill(terrain, obstacles, limits, touched);
    auto old = before.begin();
    const bool isSame = allCells(touched, [&](Cell cell) { return *old++ == cost(cell); });
    return isSame ? std::nullopt : std::optional(touched);
}

/// The worst of each row of a footprint first, then of its column of rows, each from the far end so
/// that a cell costs the same whatever the footprint.
void ClassGrid::fill(const Terrain& terrain, const Obstacles& obstacles,
                     const MovementLimits& limits, const CellRect& cells) {
    const std::int32_t endX = cells.corner.x + cells.width, endZ = cells.corner.z + cells.depth;
    const std::int32_t lastX = endX + limits.footprintX - 2, lastZ = endZ + limits.footprintZ - 2;
    std::vector<WorstAhead> columns(static_cast<std::size_t>(cells.width),
                                    WorstAhead(limits.footprintZ));
    for (std::int32_t z = lastZ; z >= cells.corner.z; --z) {
        WorstAhead inRow(limits.footprintX);
        for (std::int32_t x = lastX; x >= cells.corner.x; --x) {
            const bool isOnMap = x < cellsX_ && z < cellsZ_;
            const std::uint8_t row =
                inRow.step(x, isOnMap ? costOfCell(terrain, obstacles, limits, {x, z}) : kNoStep);
            if (x >= endX) continue;
            const std::uint8_t whole =
                columns[static_cast<std::size_t>(x - cells.corner.x)].step(z, row);
            if (z < endZ) costs_[index({x, z})] = whole;
        }
    }
}

}  // namespace orb::sim
