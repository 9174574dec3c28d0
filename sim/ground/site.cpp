#include "sim/ground/site.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>

// A yard map has a letter a cell:
//
//   o w     always occupied (on land, in water)
//   c C     free while the yard is open (on land, in water); occupied while it is closed
//   y Y     never occupied (on land, in water)
//   f       a feature
//   g G     occupied, and on a vent
//   O       the reverse of c

namespace orb::sim {
namespace {

constexpr std::string_view kFreeLetters = "yY";
/// Free while the yard is open, and while it is closed.
constexpr std::string_view kClosedLetters = "cC";
constexpr std::string_view kOpenLetters = "O";
constexpr std::string_view kVentLetters = "gG";

bool isOneOf(std::string_view letters, char letter) {
    return letters.find(letter) != std::string_view::npos;
}

char letterAt(const UnitType& type, const CellRect& cells, Cell cell) {
    if (!type.isBuilding) return 'o';
    return type.yard[static_cast<std::size_t>((cell.z - cells.corner.z) * cells.width + cell.x -
                                              cells.corner.x)];
}

bool isUnderWater(const Terrain& terrain, Cell cell) {
    return terrain.heightRange({cell, 1, 1}).lowest < terrain.seaLevel();
}

bool isLevelEnough(const Terrain& terrain, const SiteLimits& limits, Cell cell) {
    const std::int32_t most = isUnderWater(terrain, cell) ? limits.maxWaterSlope : limits.maxSlope;
    if (most >= rules::kNoLimit) return true;
    return (limits.canHover ? terrain.surfaceSlope(cell) : terrain.slope(cell)) <= most;
}

SiteFault testDepth(const Terrain& terrain, const UnitType& type, const CellRect& cells) {
    if (type.limits.canHover) return SiteFault::none;
    const auto [lowest, highest] = terrain.heightRange(cells);
    const std::int32_t sea = terrain.seaLevel();
    if (type.limits.maxWaterDepth < rules::kNoLimit && sea - lowest > type.limits.maxWaterDepth)
        return SiteFault::tooDeep;
    if (type.limits.minWaterDepth > 0 && sea - highest < type.limits.minWaterDepth)
        return SiteFault::tooShallow;
    return SiteFault::none;
}

}  // namespace

bool takesCell(const UnitType& type, const CellRect& cells, Cell cell, bool isYardOpen) {
    const char letter = letterAt(type, cells, cell);
    return !isOneOf(kFreeLetters, letter) &&
           !isOneOf(isYardOpen ? kClosedLetters : kOpenLetters, letter);
}

std::string_view textOf(SiteFault fault) {
    constexpr std::array<std::string_view, 8> kTexts = {"",         "outside the map", "void",
                                                        "too deep", "too shallow",     "too steep",
                                                        "no vent",  "occupied"};
    return kTexts[static_cast<std::size_t>(fault)];
}

SiteFault testSite(const Ground& ground, const UnitType& type, const CellRect& cells) {
    if (!ground.terrain.contains(cells)) return SiteFault::outside;
    return type.canFly ? SiteFault::none : testGround(ground, type, cells);
}

std::optional<GroundPoint> freePlaceNear(const Ground& ground, const UnitType& type,
                                         GroundPoint place, std::int32_t stepCells,
                                         std::int32_t rings) {
    const Fixed step = Fixed::fromInt(stepCells * kCellPixels);
    for (std::int32_t ring = 0; ring <= rings; ++ring)
        for (std::int32_t z = -ring; z <= ring; ++z) {
            // All of the first and last row, and the ends of those between.
            const std::int32_t gap = std::abs(z) == ring ? 1 : 2 * ring;
            for (std::int32_t x = -ring; x <= ring; x += gap) {
                const GroundPoint there{place.x + step.times(x), place.z + step.times(z)};
                const CellRect cells = footprintAt(there, type.footprintX, type.footprintZ);
                if (testGround(ground, type, cells) == SiteFault::none) return there;
            }
        }
    return std::nullopt;
}

SiteFault testGround(const Ground& ground, const UnitType& type, const CellRect& cells) {
    const Terrain& terrain = ground.terrain;
    if (!terrain.contains(cells)) return SiteFault::outside;
    if (!allCells(cells, [&](Cell cell) { return !terrain.isVoid(cell); }))
        return SiteFault::noGround;
    if (const SiteFault fault = testDepth(terrain, type, cells); fault != SiteFault::none)
        return fault;

    const auto solid = [&](auto holds) {
        return allCells(cells,
                        [&](Cell cell) { return !takesCell(type, cells, cell) || holds(cell); });
    };
    if (!solid([&](Cell cell) { return isLevelEnough(terrain, type.limits, cell); }))
        return SiteFault::tooSteep;
    if (!solid([&](Cell cell) {
            return !isOneOf(kVentLetters, letterAt(type, cells, cell)) || ground.isVent(cell);
        }))
        return SiteFault::noVent;
    if (!solid([&](Cell cell) { return ground.occupancy.isFreeFor(ground.mover, {cell, 1, 1}); }))
        return SiteFault::occupied;
    return SiteFault::none;
}

std::string yardOf(std::string_view letters, std::int32_t footprintX, std::int32_t footprintZ) {
    std::string yard;
    const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    std::ranges::remove_copy_if(letters, std::back_inserter(yard), isBlank);
    const char last = yard.empty() ? 'o' : yard.back();
    yard.resize(static_cast<std::size_t>(footprintX) * static_cast<std::size_t>(footprintZ), last);
    return yard;
}

}  // namespace orb::sim
