#include "sim/motion/way_steps.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "sim/motion/cell_line.h"
#include "sim/numbers/angle.h"
#include "sim/rules.h"

namespace orb::sim {
namespace {

/// Cells that a step looks ahead. Higher rounds corners sooner and costs in proportion.
constexpr std::size_t kLookAhead = 16;
/// Cells of the way, both ways, among which somebody who was pushed is looked for.
constexpr std::uint32_t kReach = 4;

bool isIn(const SectorGraph& graph, Cell cell, std::size_t sector, std::uint16_t island) {
    return graph.layout().sectorOf(cell) == sector && graph.islandAt(cell) == island;
}

/// The last of the cells from one on that are all in its island.
std::uint32_t lastInIsland(const Way& way, const SectorGraph& graph, std::uint32_t number) {
    const std::size_t sector = graph.layout().sectorOf(way.cells[number]);
    const std::uint16_t island = graph.islandAt(way.cells[number]);
    while (number + 1 < way.cells.size() && isIn(graph, way.cells[number + 1], sector, island))
        ++number;
    return number;
}

/// The step from a portal to its partner; `kHere` where a change of the ground has come between.
std::uint8_t exitBetween(Cell from, Cell to) {
    for (std::uint8_t side = 0; side < kDirections; side += 2)
        if (kSteps[side] == Cell{to.x - from.x, to.z - from.z}) return side;
    return kHere;
}

/// The field towards one of the way's cells: the last one in its island.
DirectionFields::Key keyOf(const Way& way, const SectorGraph& graph, std::uint32_t number) {
    const Cell aim = way.cells[number];
    DirectionFields::Key key{way.movementClass,
                             static_cast<std::uint32_t>(graph.layout().sectorOf(aim)),
                             SectorLayout::inSector(aim),
                             kHere,
                             {}};
    if (number + 1 == way.cells.size()) return key;
    key.exit = exitBetween(aim, way.cells[number + 1]);
    key.beyond = way.cells[lastInIsland(way, graph, number + 1)];
    return key;
}

/// Somebody comes so near to the border beyond one of his way's cells that he looks across it.
bool looksAcross(const Way& way, std::uint32_t number) {
    const Cell aim = way.cells[number], partner = way.cells[number + 1];
    const std::int32_t apart = aim.x != partner.x ? way.start.x - aim.x : way.start.z - aim.z;
    return std::abs(apart) <= static_cast<std::int32_t>(kLookAhead);
}

/// The cells that a walker comes through, from the one after his own on.
struct Ahead {
    std::array<Cell, kLookAhead> cells;
    /// The worst up to each.
    std::array<std::uint8_t, kLookAhead> worst;
    std::size_t count = 0;
    bool reachesEnd = false;
};

Ahead lookAhead(const Way& way, const ClassGround& ground, const DirectionFields& fields) {
    Ahead ahead;
    Cell cell = way.start;
    std::uint8_t worst = ground.grid.cost(cell);
    std::uint32_t number = way.next;
    int legs = 1;
    const DirectionField* field = &fields.at(keyOf(way, ground.graph, number));
    while (ahead.count < kLookAhead) {
        const std::uint8_t direction = (*field)[SectorLayout::inSector(cell)];
        if (direction >= kDirections) break;
        const std::size_t sector = ground.graph.layout().sectorOf(cell);
        cell = {cell.x + kSteps[direction].x, cell.z + kSteps[direction].z};
        worst = std::max(worst, ground.grid.cost(cell));
        ahead.cells[ahead.count] = cell;
        ahead.worst[ahead.count] = worst;
        ++ahead.count;
        if (ground.graph.layout().sectorOf(cell) == sector) continue;
        if (++legs > 2) break;
        number = lastInIsland(way, ground.graph, number + 1);
        field = &fields.at(keyOf(way, ground.graph, number));
    }
    ahead.reachesEnd = number + 1 == way.cells.size() && cell == way.cells[number];
    return ahead;
}

}  // namespace

Cell cellAt(const ClassGrid& grid, const MovementLimits& limits, GroundPoint place) {
    const Cell corner = footprintAt(place, limits.footprintX, limits.footprintZ).corner;
    const auto inside = [](std::int32_t value, std::int32_t cells, std::int32_t footprint) {
        return std::clamp(value, 0, std::max(0, cells - footprint));
    };
    return {inside(corner.x, grid.cellsX(), limits.footprintX),
            inside(corner.z, grid.cellsZ(), limits.footprintZ)};
}

GroundPoint middleAt(const MovementLimits& limits, Cell cell) {
    return CellRect{cell, limits.footprintX, limits.footprintZ}.center();
}

/// Where a member of a group goes instead of a place on the group's way: beside it, as his own
/// place lies beside the middle of the group's, as far as the straight line there is free.
GroundPoint besideWay(const Way& way, const ClassGrid& grid, const MovementLimits& limits,
                      GroundPoint place, std::uint8_t worst) {
    const Vector own{way.goal.x - way.gathering.x, {}, way.goal.z - way.gathering.z};
    const Vector ahead{place.x - way.place.x, {}, place.z - way.place.z};
    const std::int32_t off =
        shortestDifference(headingOf(ahead.x, ahead.z), headingOf(own.x, own.z));
    const Fixed aside = lengthOf(own).times(absolute(sine(Angle::fromSteps(off))), Rounding::down);
    const Vector across{ahead.z, {}, -ahead.x};
    // Never so far that it would lead back.
    for (Fixed out = std::min(
             {aside.over(rules::kLaneShare, Rounding::down), rules::kWidestLane, lengthOf(ahead)});
         out >= Fixed::fromInt(kCellPixels); out = out.over(2, Rounding::down)) {
        const Vector side = withLength(across, off < 0 ? -out : out);
        for (const Vector& offset : {side, -side}) {
            const GroundPoint beside{place.x + offset.x, place.z + offset.z};
            const Cell cell = footprintAt(beside, limits.footprintX, limits.footprintZ).corner;
            if (cell != cellAt(grid, limits, beside)) continue;
            const std::uint8_t met = worstOnLine(grid, limits, way.place, beside);
            // From there the way has to be in sight.
            if (met != kNoStep && met <= worst &&
                worstOnLine(grid, limits, beside, place) != kNoStep)
                return beside;
        }
    }
    return place;
}

bool standsAsNear(const Way& way, const MovementLimits& limits, Cell cell) {
    if (way.start != way.cell) return false;
    const GroundPoint aim = way.seeksOwnGoal ? way.goal : way.gathering;
    const GroundPoint middle = middleAt(limits, cell);
    return squaredDistance(way.place.x, way.place.z, aim.x, aim.z) <=
           squaredDistance(middle.x, middle.z, aim.x, aim.z);
}

std::optional<std::uint32_t> findNext(const Way& way, const SectorGraph& graph) {
    const std::size_t sector = graph.layout().sectorOf(way.start);
    const std::uint16_t island = graph.islandAt(way.start);
    const auto count = static_cast<std::uint32_t>(way.cells.size());
    for (std::uint32_t i = way.next; i < std::min(count, way.next + kReach); ++i)
        if (isIn(graph, way.cells[i], sector, island)) return lastInIsland(way, graph, i);
    for (std::uint32_t back = 1; back <= std::min(way.next, kReach); ++back)
        if (isIn(graph, way.cells[way.next - back], sector, island))
            return lastInIsland(way, graph, way.next - back);
    return std::nullopt;
}

void needFields(const Way& way, const SectorGraph& graph, DirectionFields& fields) {
    fields.need(keyOf(way, graph, way.next));
    if (way.next + 1 < way.cells.size() && looksAcross(way, way.next))
        fields.need(keyOf(way, graph, lastInIsland(way, graph, way.next + 1)));
}

RouteStep stepAlong(const Way& way, const ClassGround& ground, const MovementLimits& limits,
                    const DirectionFields& fields) {
    // Off the ground where he fits he has to get back to it first.
    if (way.start != way.cell) return {way.state, middleAt(limits, way.start), false};
    const Ahead ahead = lookAhead(way, ground, fields);
    const Cell goal = footprintAt(way.goal, limits.footprintX, limits.footprintZ).corner;
    const auto middleOf = [&](std::size_t number) {
        const bool isLast = ahead.reachesEnd && number == ahead.count;
        const Cell cell = number == 0 ? way.start : ahead.cells[number - 1];
        if (isLast && cell == goal) return way.goal;
        return isLast && cell == way.cell && standsAsNear(way, limits, cell)
                   ? way.place
                   : middleAt(limits, cell);
    };
    std::size_t number = ahead.count;
    for (; number > 1; number /= 2) {
        const std::uint8_t worst = worstOnLine(ground.grid, limits, way.place, middleOf(number));
        if (worst != kNoStep && worst <= ahead.worst[number - 1]) break;
    }
    const bool turnsCorner = number < ahead.count;
    if (number > 1 && way.goal != way.gathering && (turnsCorner || !way.seeksOwnGoal))
        return {way.state,
                besideWay(way, ground.grid, limits, middleOf(number), ahead.worst[number - 1]),
                false};
    const bool isEnd = ahead.reachesEnd && number == ahead.count && !way.isProvisional &&
                       way.aim == cellAt(ground.grid, limits, way.goal);
    return {way.state, middleOf(number), isEnd};
}

std::uint8_t worstOnLine(const ClassGrid& grid, const MovementLimits& limits, GroundPoint from,
                         GroundPoint to) {
    std::uint8_t worst = kUsualStep;
    const bool fits =
        allCellsOnLine(limits.footprintX, limits.footprintZ, from, to, [&](Cell cell) {
            const std::uint8_t cost = grid.cost(cell);
            worst = std::max(worst, cost);
            return cost != kNoStep;
        });
    return fits ? worst : kNoStep;
}

}  // namespace orb::sim
