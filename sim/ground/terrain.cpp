#include "sim/ground/terrain.h"

#include <algorithm>

namespace orb::sim {

Terrain::Terrain(const io::TntFile& map)
    : cellsX_(static_cast<std::int32_t>(map.size.width)),
      cellsZ_(static_cast<std::int32_t>(map.size.height)),
      seaLevel_(map.seaLevel) {
    heights_.reserve(map.cells.size());
    isVoid_.reserve(map.cells.size());
    for (const io::TntCell& cell : map.cells) {
        heights_.push_back(cell.height);
        isVoid_.push_back(cell.feature == io::kTntVoid);
    }
}

HeightRange Terrain::heightRange() const {
    const auto [lowest, highest] = std::ranges::minmax_element(heights_);
    return {*lowest, *highest};
}

bool Terrain::contains(GroundPoint point) const {
    return point.x >= Fixed() && point.z >= Fixed() && point.x.floor() / kCellPixels < cellsX_ &&
           point.z.floor() / kCellPixels < cellsZ_;
}

bool Terrain::contains(const CellRect& cells) const {
    return cells.corner.x >= 0 && cells.corner.z >= 0 && cells.width <= cellsX_ - cells.corner.x &&
           cells.depth <= cellsZ_ - cells.corner.z;
}

GroundPoint Terrain::clamped(GroundPoint point) const {
    const auto within = [](Fixed value, std::int32_t cells) {
        const Fixed last = Fixed::fromRaw(Fixed::fromInt(cells * kCellPixels).raw() - 1);
        return std::clamp(value, Fixed(), last);
    };
    return {within(point.x, cellsX_), within(point.z, cellsZ_)};
}

HeightRange Terrain::heightRange(const CellRect& cells) const {
    const std::int32_t first = heights_[index(cells.corner)];
    HeightRange range{first, first};
    for (std::int32_t z = 0; z < cells.depth; ++z) {
        const auto row = heights_.begin() +
                         static_cast<std::ptrdiff_t>(index({cells.corner.x, cells.corner.z + z}));
        const auto [lowest, highest] = std::minmax_element(row, row + cells.width);
        range = {std::min<std::int32_t>(range.lowest, *lowest),
                 std::max<std::int32_t>(range.highest, *highest)};
    }
    return range;
}

std::int32_t Terrain::corner(std::int32_t x, std::int32_t z) const {
    return heights_[index({std::min(x, cellsX_ - 1), std::min(z, cellsZ_ - 1)})];
}

HeightRange Terrain::cornerRange(Cell cell) const {
    const auto [lowest, highest] =
        std::minmax({corner(cell.x, cell.z), corner(cell.x + 1, cell.z), corner(cell.x, cell.z + 1),
                     corner(cell.x + 1, cell.z + 1)});
    return {lowest, highest};
}

std::int32_t Terrain::slope(Cell cell) const {
    const auto [lowest, highest] = cornerRange(cell);
    return highest - lowest;
}

std::int32_t Terrain::surfaceSlope(Cell cell) const {
    const auto [lowest, highest] = cornerRange(cell);
    return std::max(highest, seaLevel_) - std::max(lowest, seaLevel_);
}

Fixed Terrain::groundHeight(GroundPoint point) const {
    // A cell's side is 2^20 steps.
    constexpr int kCellBits = Fixed::kFractionBits + 4;
    constexpr std::int64_t kCellSteps = std::int64_t{1} << kCellBits;
    const std::int32_t x = point.x.raw() >> kCellBits, z = point.z.raw() >> kCellBits;
    const std::int64_t east = point.x.raw() & (kCellSteps - 1);
    const std::int64_t south = point.z.raw() & (kCellSteps - 1);
    const auto along = [&](std::int32_t row) {
        return corner(x, row) * (kCellSteps - east) + corner(x + 1, row) * east;
    };
    const std::int64_t sum = along(z) * (kCellSteps - south) + along(z + 1) * south;
    return Fixed::fromRaw(static_cast<std::int32_t>(sum >> (2 * kCellBits - Fixed::kFractionBits)));
}

}  // namespace orb::sim
