#include "sim/sight/sight_map.h"

#include <algorithm>
#include <utility>

namespace orb::sim {
namespace {

constexpr std::int32_t kTileCells = kTilePixels / kCellPixels;

/// A tile's middle is a corner of cells.
TileHeights tileHeights(const Terrain& terrain) {
    TileHeights ground;
    ground.width = (terrain.cellsX() + kTileCells - 1) / kTileCells;
    ground.depth = (terrain.cellsZ() + kTileCells - 1) / kTileCells;
    const auto heights = terrain.heights();
    ground.heights.reserve(static_cast<std::size_t>(ground.width) *
                           static_cast<std::size_t>(ground.depth));
    for (std::int32_t z = 0; z < ground.depth; ++z)
        for (std::int32_t x = 0; x < ground.width; ++x) {
            const std::int32_t cellX = std::min(kTileCells * x + 1, terrain.cellsX() - 1);
            const std::int32_t cellZ = std::min(kTileCells * z + 1, terrain.cellsZ() - 1);
            const std::int32_t height = heights[static_cast<std::size_t>(cellZ) *
                                                    static_cast<std::size_t>(terrain.cellsX()) +
                                                static_cast<std::size_t>(cellX)];
            ground.heights.push_back(
                static_cast<std::uint8_t>(std::clamp(terrain.seaLevel(), height, 255)));
        }
    return ground;
}

}  // namespace

SightMap::SightMap(const Terrain& terrain) : ground_(tileHeights(terrain)) {}

bool SightMap::isSeen(std::int32_t player, std::int32_t tileX, std::int32_t tileZ) const {
    const Counts& counts = counts_[static_cast<std::size_t>(player - 1)];
    if (counts.empty() || tileX < 0 || tileZ < 0 || tileX >= ground_.width ||
        tileZ >= ground_.depth)
        return false;
    return counts[indexOf(tileX, tileZ)] > 0;
}

void SightMap::replace(std::uint32_t slot, std::int32_t player, std::vector<TileRun>& seen) {
    if (slot >= bySlot_.size()) bySlot_.resize(slot + std::size_t{1});
    const auto add = [&](const Seen& tiles, int change) {
        if (tiles.player == 0) return;
        Counts& counts = countsOf(tiles.player);
        if (counts.empty()) counts.resize(ground_.heights.size());
        for (const auto& [x, z, length] : tiles.runs) {
            const auto first = counts.begin() + static_cast<std::ptrdiff_t>(indexOf(x, z));
            std::for_each(first, first + length, [change](std::uint16_t& count) {
                count = static_cast<std::uint16_t>(count + change);
            });
        }
    };
    Seen& own = bySlot_[slot];
    add(own, -1);
    own.player = player;
    own.runs.swap(seen);
    if (player == 0) own.runs.clear();
    add(own, 1);
}

void SightMap::clear() {
    for (Counts& counts : counts_) counts.clear();
    bySlot_.clear();
}

}  // namespace orb::sim
