#include "bench/rough_ground.h"

#include <algorithm>
#include <vector>

namespace orb::bench {
namespace {

/// Adds random heights up to `most` on a lattice of so many cells, straight lines between them.
void addHills(std::vector<std::uint32_t>& heights, std::uint32_t side, std::uint32_t lattice,
              std::uint32_t most) {
    const std::uint32_t points = side / lattice + 2;
    Noise noise(lattice);
    std::vector<std::uint32_t> knots;
    for (std::uint32_t i = 0; i < points * points; ++i) knots.push_back(noise.below(most + 1));
    for (std::uint32_t z = 0; z < side; ++z)
        for (std::uint32_t x = 0; x < side; ++x) {
            const std::uint32_t column = x / lattice, row = z / lattice;
            const std::uint32_t east = x % lattice, south = z % lattice;
            const auto along = [&](std::uint32_t line) {
                return knots[line * points + column] * (lattice - east) +
                       knots[line * points + column + 1] * east;
            };
            heights[z * side + x] +=
                (along(row) * (lattice - south) + along(row + 1) * south) / (lattice * lattice);
        }
}

}  // namespace

io::TntFile roughGround(std::uint32_t side) {
    io::TntFile map;
    map.size = {side, side};
    map.seaLevel = 60;
    std::vector<std::uint32_t> heights(std::size_t{side} * side);
    addHills(heights, side, 48, 150);
    addHills(heights, side, 7, 110);
    map.cells.reserve(heights.size());
    for (const std::uint32_t height : heights)
        map.cells.push_back(
            {static_cast<std::uint8_t>(std::min(height, 255U)), 0, io::kTntNoFeature});
    map.tiles.resize(io::kTntTilePixels);
    map.tileMap.resize(std::size_t{side / 2} * (side / 2));
    return map;
}

}  // namespace orb::bench
