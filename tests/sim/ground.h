#pragma once

#include "sim/ground/terrain.h"

namespace orb::sim {

/// A map of so many cells, all of one height, without tiles.
inline io::TntFile flatMap(std::uint32_t width, std::uint32_t depth, std::uint8_t height,
                           std::uint8_t seaLevel) {
    io::TntFile map;
    map.size = {width, depth};
    map.seaLevel = seaLevel;
    map.cells.assign(std::size_t{width} * depth, {height, 0, io::kTntNoFeature});
    return map;
}

inline io::TntCell& cellOf(io::TntFile& map, std::size_t x, std::size_t z) {
    return map.cells[z * map.size.width + x];
}

inline GroundPoint at(double x, double z) {
    return {Fixed::fromNumber(x), Fixed::fromNumber(z)};
}

}  // namespace orb::sim
