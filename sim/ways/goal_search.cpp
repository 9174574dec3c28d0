#include "sim/ways/goal_search.h"

#include <algorithm>
#include <utility>

namespace orb::sim {
namespace {

std::uint32_t outside(std::int32_t value, std::int32_t first, std::int32_t count) {
    if (value < first) return static_cast<std::uint32_t>(first - value);
    return static_cast<std::uint32_t>(std::max(0, value - (first + count - 1)));
}

/// From a cell to the nearest of a rectangle.
std::uint32_t leastLengthTo(Cell cell, const CellRect& cells) {
    return leastLength(outside(cell.x, cells.corner.x, cells.width),
                       outside(cell.z, cells.corner.z, cells.depth));
}

/// From a cell to the farthest of a rectangle, if nothing is in the way.
std::uint32_t mostLengthTo(Cell cell, const CellRect& cells) {
    const auto apart = [](std::int32_t value, std::int32_t first, std::int32_t count) {
        return static_cast<std::uint32_t>(
            std::max(std::abs(value - first), std::abs(value - (first + count - 1))));
    };
    return leastLength(apart(cell.x, cells.corner.x, cells.width),
                       apart(cell.z, cells.corner.z, cells.depth));
}

}  // namespace

GoalSearch::GoalSearch(const SectorGraph& graph, const ClassGrid& grid, Cell goal,
                       SectorSearch& scratch)
    : goal_(goal),
      askers_{goal, 1, 1},
      lengths_(graph.portalCount(), kUnknown),
      next_(graph.portalCount(), kGoal),
      isVisited_(graph.portalCount()) {
    const std::size_t sector = graph.layout().sectorOf(goal);
    scratch.load(grid, graph.layout().cells(sector));
    const SectorSearch::Aim aim{SectorLayout::inSector(goal), 0};
    scratch.run({&aim, 1});
    const auto& portals = graph.sector(sector).portals;
    for (std::size_t i = 0; i < portals.size(); ++i)
        if (scratch.isReached(portals[i].cell))
            reach(graph, graph.firstPortal(sector) + static_cast<PortalIndex>(i),
                  scratch.length(portals[i].cell), kGoal);
}

std::uint32_t GoalSearch::leastFromAskers(Cell cell) const {
    return leastLengthTo(cell, askers_);
}

void GoalSearch::turnTo(const SectorGraph& graph, const CellRect& askers) {
    if (askers == askers_) return;
    askers_ = askers;
    std::erase_if(open_, [&](const Open& open) {
        return isVisited_[open.portal] || open.length != lengths_[open.portal];
    });
    for (Open& open : open_) open.least = open.length + leastFromAskers(graph.cellOf(open.portal));
    std::make_heap(open_.begin(), open_.end());
}

void GoalSearch::reach(const SectorGraph& graph, PortalIndex portal, std::uint32_t length,
                       PortalIndex next) {
    if (length >= lengths_[portal]) return;
    lengths_[portal] = length;
    next_[portal] = next;
    open_.push_back({length + leastFromAskers(graph.cellOf(portal)), length, portal});
    std::push_heap(open_.begin(), open_.end());
}

void GoalSearch::visit(const SectorGraph& graph, PortalIndex portal) {
    isVisited_[portal] = true;
    ++visits_;
    const std::size_t number = graph.sectorOf(portal);
    const Sector& sector = graph.sector(number);
    const std::size_t count = sector.portals.size();
    const PortalIndex first = graph.firstPortal(number);
    const std::uint32_t length = lengths_[portal];
    const std::uint16_t* ways = &sector.lengths[(portal - first) * count];
    for (std::size_t i = 0; i < count; ++i)
        if (ways[i] != Sector::kNoWay)
            reach(graph, first + static_cast<PortalIndex>(i), length + ways[i], portal);
    const PortalIndex partner = graph.partnerOf(portal);
    reach(graph, partner,
          length + stepLength(false, graph.portal(portal).cost, graph.portal(partner).cost),
          portal);
}

/// Leaves a portal in front that has not been visited.
void GoalSearch::dropVisited() {
    while (!open_.empty() && (isVisited_[open_.front().portal] ||
                              open_.front().length != lengths_[open_.front().portal])) {
        std::pop_heap(open_.begin(), open_.end());
        open_.pop_back();
    }
}

void GoalSearch::noteVisit(const SectorGraph& graph, PortalIndex portal, Askers& askers) const {
    const std::uint32_t most = lengths_[portal] + mostLengthTo(graph.cellOf(portal), askers.cells);
    if (askers.enough == 0) askers.enough = std::max(1U, most);
}

/// Of portals that were visited for others, and of the goal itself.
void GoalSearch::noteEarlierVisits(const SectorGraph& graph, Askers& askers) const {
    const bool isHere = graph.layout().sectorOf(goal_) == askers.sector;
    if (isHere && graph.islandAt(goal_) == askers.island && askers.enough == 0)
        askers.enough = std::max(1U, mostLengthTo(goal_, askers.cells));
    const Sector& sector = graph.sector(askers.sector);
    const PortalIndex first = graph.firstPortal(askers.sector);
    for (std::size_t i = 0; i < sector.portals.size(); ++i) {
        const PortalIndex portal = first + static_cast<PortalIndex>(i);
        if (sector.portals[i].island == askers.island && isVisited_[portal])
            noteVisit(graph, portal, askers);
    }
}

std::size_t GoalSearch::expand(const SectorGraph& graph, std::span<Askers> askers,
                               std::size_t mostVisits) {
    for (Askers& some : askers) noteEarlierVisits(graph, some);
    const auto place = [](const Askers& some) { return std::pair(some.sector, some.island); };
    // Who has enough keeps it, since the front of what is open only grows.
    auto unsatisfied = askers.begin();
    std::size_t visits = 0;
    for (dropVisited(); visits < mostVisits && !open_.empty(); dropVisited()) {
        while (unsatisfied != askers.end() && isEnoughFor(*unsatisfied)) ++unsatisfied;
        if (unsatisfied == askers.end()) break;
        const PortalIndex portal = open_.front().portal;
        const std::pair here(graph.sectorOf(portal), graph.portal(portal).island);
        const auto found = std::ranges::lower_bound(askers, here, {}, place);
        if (found != askers.end() && place(*found) == here) noteVisit(graph, portal, *found);
        visit(graph, portal);
        ++visits;
    }
    return visits;
}

std::vector<Cell> GoalSearch::wayFrom(const SectorGraph& graph, PortalIndex portal) const {
    std::vector<Cell> cells;
    for (; portal != kGoal; portal = next_[portal]) cells.push_back(graph.cellOf(portal));
    cells.push_back(goal_);
    return cells;
}

}  // namespace orb::sim
