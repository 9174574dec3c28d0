#include "sim/ways/routes.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "sim/ground/occupancy.h"
#include "sim/motion/way_steps.h"

namespace orb::sim {
namespace {

/// Cells of all classes' grids together: 30 classes of the largest maps that are known, at some 5
/// bytes a cell.
constexpr std::size_t kMostClassCells = std::size_t{30} * 1'280 * 1'280;
/// So near to his goal, in cells, a walker of a group looks for his own way. Higher spreads groups
/// out sooner and costs more searches.
constexpr std::int32_t kOwnWayReach = 48;
/// Cells round somebody who stands where his footprint does not fit, in which he looks for one
/// where it does.
constexpr std::int32_t kEscapeReach = 8;
/// Steps that a worker takes at a time.
constexpr std::size_t kStepsPerBlock = 32;

std::int32_t apart(Cell a, Cell b) {
    return std::max(std::abs(a.x - b.x), std::abs(a.z - b.z));
}

/// The cell itself or the nearest one about it that fits, of equally near ones the first from the
/// north-west; the cell itself too when none does.
Cell nearestFitting(const ClassGrid& grid, Cell cell) {
    if (grid.fits(cell)) return cell;
    std::int32_t best = 2 * kEscapeReach * kEscapeReach + 1;
    Cell nearest = cell;
    forEachCell({{cell.x - kEscapeReach, cell.z - kEscapeReach},
                 2 * kEscapeReach + 1,
                 2 * kEscapeReach + 1},
                [&](Cell other) {
                    const std::int32_t x = other.x - cell.x, z = other.z - cell.z;
                    if (x * x + z * z >= best || !grid.fits(other)) return;
                    best = x * x + z * z;
                    nearest = other;
                });
    return nearest;
}

std::uint32_t leastBetween(Cell a, Cell b) {
    return leastLength(static_cast<std::uint32_t>(std::abs(a.x - b.x)),
                       static_cast<std::uint32_t>(std::abs(a.z - b.z)));
}

/// Where to go while the way is not known: the portal of the walker's island that lies best between
/// him and his way's end, or the end itself if it lies in there.
Cell provisionalAim(const Way& way, const SectorGraph& graph) {
    const std::size_t number = graph.layout().sectorOf(way.start);
    const std::uint16_t island = graph.islandAt(way.start);
    if (graph.layout().sectorOf(way.end) == number && graph.islandAt(way.end) == island)
        return way.end;
    Cell best = way.start;
    std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
    for (const Portal& portal : graph.sector(number).portals) {
        const Cell cell = graph.layout().onMap(number, portal.cell);
        const std::uint32_t length = leastBetween(way.start, cell) + leastBetween(cell, way.end);
        if (portal.island != island || length >= least) continue;
        best = cell;
        least = length;
    }
    return best;
}

}  // namespace

Routes::Routes(const Terrain& terrain, std::size_t visitsPerTick)
    : visitsPerTick_(visitsPerTick),
      cellsX_(terrain.cellsX()),
      cellsZ_(terrain.cellsZ()),
      obstacles_(terrain.cellsX(), terrain.cellsZ()) {}

std::uint32_t Routes::classOf(const Terrain& terrain, const MovementLimits& limits,
                              Workers& workers) {
    const auto known = std::ranges::find(limits_, limits);
    const auto number = static_cast<std::uint32_t>(known - limits_.begin());
    if (known != limits_.end()) return number;
    const std::size_t cells = terrain.heights().size();
    if (limits_.size() >= kMostMovementClasses || (number + 1) * cells > kMostClassCells)
        return kNoMovementClass;
    limits_.push_back(limits);
    restoreDerived(terrain, workers);
    return number;
}

void Routes::setBlocked(const CellRect& cells, bool isBlocked) {
    forEachCell(cells, [&](Cell cell) {
        if (cell.x >= 0 && cell.z >= 0 && cell.x < cellsX_ && cell.z < cellsZ_)
            changes_.push_back({cell, isBlocked});
    });
}

bool Routes::fits(std::uint32_t movementClass, Cell cell) const {
    return movementClass == kNoMovementClass || grounds_[movementClass].grid.fits(cell);
}

bool Routes::areConnected(std::uint32_t movementClass, Cell from, Cell to) const {
    if (movementClass == kNoMovementClass) return true;
    const SectorGraph& graph = grounds_[movementClass].graph;
    return graph.componentAt(from) == graph.componentAt(to);
}

void Routes::dropDerived() {
    grounds_.clear();
    fields_.dropAll();
}

void Routes::update(const Terrain& terrain, Workers& workers) {
    work_ = {};
    lastEnd_.reset();
    fields_.beginTick();
    restoreDerived(terrain, workers);
    followChanges(terrain, workers);
    takeWishes();
    searches_.answer(queue_, ways_, grounds_, visitsPerTick_, workers, work_);
    work_.waiting = queue_.size();
    takeSteps(workers);
    wishes_.clear();
}

void Routes::restoreDerived(const Terrain& terrain, Workers& workers) {
    for (std::size_t i = grounds_.size(); i < limits_.size(); ++i) {
        ClassGrid grid(terrain, obstacles_, limits_[i]);
        SectorGraph graph(grid, workers);
        grounds_.push_back({std::move(grid), std::move(graph)});
    }
}

/// The grids are as they were made before the changes even if they were dropped since, so what is
/// renewed does not depend on that.
void Routes::followChanges(const Terrain& terrain, Workers& workers) {
    std::vector<CellRect> cells;
    for (const Change& change : changes_) {
        if (obstacles_.isBlocked(change.cell) == change.isBlocked) continue;
        obstacles_.set(change.cell, change.isBlocked);
        cells.push_back({change.cell, 1, 1});
    }
    changes_.clear();
    if (cells.empty()) return;
    for (std::uint32_t i = 0; i < grounds_.size(); ++i) {
        ClassGround& ground = grounds_[i];
        std::vector<CellRect> changed;
        for (const CellRect& cell : cells)
            if (const auto touched = ground.grid.update(terrain, obstacles_, limits_[i], cell))
                changed.push_back(*touched);
        const auto sectors = ground.graph.update(ground.grid, changed, workers);
        work_.rebuiltSectors += sectors.size();
        if (!sectors.empty()) renewWays(i, sectors);
    }
}

/// Whoever goes through a changed sector, is in the queue or had to go elsewhere asks again.
void Routes::renewWays(std::uint32_t movementClass, std::span<const std::size_t> changedSectors) {
    searches_.dropClass(movementClass);
    for (const std::size_t sector : changedSectors) fields_.dropSector(movementClass, sector);
    const SectorLayout& layout = grounds_[movementClass].graph.layout();
    const auto isChanged = [&](Cell cell) {
        return std::ranges::binary_search(changedSectors, layout.sectorOf(cell));
    };
    for (Way& way : ways_) {
        if (!way.isWanted || way.movementClass != movementClass) continue;
        way.hasStep = false;
        const auto first = way.cells.begin() + static_cast<std::ptrdiff_t>(way.next);
        if (way.state != RouteState::whole || isChanged(way.cell) ||
            std::any_of(first, way.cells.end(), isChanged))
            way.isRenewed = true;
    }
}

void Routes::takeWishes() {
    if (!std::ranges::is_sorted(wishes_, {}, &RouteWish::walker))
        std::ranges::stable_sort(wishes_, {}, &RouteWish::walker);
    // Of several the last.
    const auto kept =
        std::unique(wishes_.rbegin(), wishes_.rend(),
                    [](const RouteWish& a, const RouteWish& b) { return a.walker == b.walker; });
    wishes_.erase(wishes_.begin(), kept.base());
    if (!wishes_.empty() && wishes_.back().walker >= ways_.size())
        ways_.resize(wishes_.back().walker + 1);
    auto wish = wishes_.begin();
    for (std::uint32_t walker = 0; walker < ways_.size(); ++walker) {
        if (wish != wishes_.end() && wish->walker == walker)
            takeWish(*wish++);
        else if (ways_[walker].isWanted)
            ways_[walker] = {};
    }
    std::erase_if(
        queue_, [&](const Ticket& ticket) { return ways_[ticket.walker].ticket != ticket.number; });
    work_.wishes = wishes_.size();
}

void Routes::takeWish(const RouteWish& wish) {
    Way& way = ways_[wish.walker];
    const bool isSame = way.isWanted && way.movementClass == wish.movementClass &&
                        way.goal == wish.goal && way.gathering == wish.gathering;
    if (!isSame) {
        way = {};
        way.isWanted = true;
        way.movementClass = wish.movementClass;
        way.goal = wish.goal;
        way.gathering = wish.gathering;
    }
    way.place = wish.place;
    if (wish.movementClass == kNoMovementClass) {
        way.step = {RouteState::whole, wish.goal, true};
        return;
    }
    const MovementLimits& limits = limits_[wish.movementClass];
    const ClassGround& ground = grounds_[wish.movementClass];
    const Cell cell = cellAt(ground.grid, limits, wish.place);
    if (way.hasStep && cell == way.cell) return;
    way.hasStep = false;
    way.cell = cell;
    way.start = nearestFitting(ground.grid, cell);
    if (!ground.grid.fits(way.start)) {
        way.ticket = 0;
        way.cells.clear();
        way.step = {RouteState::waiting, wish.place, false};
        return;
    }
    leadOn(way, wish.walker);
}

/// Far from their goals a group shares the way to where it gathers.
void Routes::chooseAim(Way& way) const {
    const MovementLimits& limits = limits_[way.movementClass];
    const ClassGrid& grid = grounds_[way.movementClass].grid;
    const Cell goal = cellAt(grid, limits, way.goal);
    const Cell gathering = cellAt(grid, limits, way.gathering);
    const bool hasGathered =
        !way.cells.empty() && !way.isProvisional && apart(way.cell, way.end) <= kOwnWayReach;
    if (goal == gathering || apart(way.cell, goal) <= kOwnWayReach || hasGathered)
        way.seeksOwnGoal = true;
    way.aim = way.seeksOwnGoal ? goal : gathering;
}

void Routes::ask(Way& way, std::uint32_t walker) {
    way.end = reachableEnd(way);
    way.isRenewed = false;
    if (way.ticket != 0) return;
    way.ticket = nextTicket_++;
    queue_.push_back({way.ticket, walker});
}

/// The aim, or the cell nearest to it of the component in which the walker stands: his own when he
/// is no farther away.
Cell Routes::reachableEnd(const Way& way) {
    const ClassGround& ground = grounds_[way.movementClass];
    const std::uint32_t component = ground.graph.componentAt(way.start);
    if (ground.grid.fits(way.aim) && ground.graph.componentAt(way.aim) == component) return way.aim;
    // Those who are sent to one place follow one another.
    const LastEnd asked{way.movementClass, component, way.aim, {}};
    if (!lastEnd_ || !lastEnd_->isSameQuestion(asked)) {
        lastEnd_ = asked;
        lastEnd_->end = ground.graph.nearestIn(component, way.aim);
    }
    return standsAsNear(way, limits_[way.movementClass], lastEnd_->end) ? way.start : lastEnd_->end;
}

/// Sees to it that there are cells to follow, and asks for the way where they are not it.
void Routes::leadOn(Way& way, std::uint32_t walker) {
    const SectorGraph& graph = grounds_[way.movementClass].graph;
    const Cell aim = way.aim;
    chooseAim(way);
    if (way.cells.empty() || way.aim != aim || way.isRenewed) ask(way, walker);

    const bool isOnWay = !way.cells.empty() && !way.isProvisional;
    const auto next = isOnWay ? findNext(way, graph) : std::nullopt;
    if (next) {
        if (*next != way.next) way.hasStep = false;
        way.next = *next;
        return;
    }
    if (way.ticket == 0) ask(way, walker);
    const Cell toward = provisionalAim(way, graph);
    if (!way.isProvisional || way.cells.front() != toward) way.hasStep = false;
    way.isProvisional = true;
    way.state = RouteState::waiting;
    way.cells = {toward};
    way.next = 0;
}

void Routes::takeSteps(Workers& workers) {
    std::vector<std::uint32_t> walkers;
    walkers.reserve(wishes_.size());
    for (const RouteWish& wish : wishes_) {
        Way& way = ways_[wish.walker];
        if (way.hasStep || way.cells.empty()) continue;
        const SectorGraph& graph = grounds_[way.movementClass].graph;
        if (!way.isProvisional) {
            const bool isWhole = way.end == way.aim || !way.seeksOwnGoal;
            way.state = isWhole ? RouteState::whole : RouteState::elsewhere;
            way.next = findNext(way, graph).value_or(0);
        }
        needFields(way, graph, fields_);
        walkers.push_back(wish.walker);
    }
    work_.fields = fields_.compute(grounds_, workers);
    work_.steps = walkers.size();
    workers.forEach(walkers.size(), kStepsPerBlock, [&](std::size_t i, std::size_t) {
        Way& way = ways_[walkers[i]];
        way.step = stepAlong(way, grounds_[way.movementClass], limits_[way.movementClass], fields_);
        way.hasStep = true;
    });
}

}  // namespace orb::sim
