#include "sim/ways/sectors.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace orb::sim {
namespace {

/// Sectors that a worker takes at a time.
constexpr std::size_t kSectorsPerBlock = 4;
/// Marks the components of islands without portals, which are numbered by sector and island.
constexpr std::uint32_t kWithoutPortal = 0x80000000;
constexpr int kIslandBits = 10;  // at most 512: every other cell

enum Side : std::size_t { north, east, south, west };
constexpr std::size_t kSides = 4;
constexpr std::array<Cell, kSides> kAcross = {{{0, -1}, {1, 0}, {0, 1}, {-1, 0}}};

constexpr Side opposite(std::size_t side) {
    return static_cast<Side>((side + 2) % kSides);
}

/// The cells of a sector along one of its sides, from the north or west.
CellRect border(const CellRect& cells, std::size_t side) {
    const Cell corner = cells.corner;
    switch (side) {
        case north:
            return {corner, cells.width, 1};
        case east:
            return {{corner.x + cells.width - 1, corner.z}, 1, cells.depth};
        case south:
            return {{corner.x, corner.z + cells.depth - 1}, cells.width, 1};
        default:
            return {corner, 1, cells.depth};
    }
}

/// Adds the middles of the runs in which both sides of a border can be stood on.
void findPortals(const ClassGrid& grid, const CellRect& cells, Cell across, Sector& sector) {
    const std::int32_t length = std::max(cells.width, cells.depth);
    const bool isRow = cells.depth == 1;
    const auto cellAt = [&](std::int32_t i) {
        return isRow ? Cell{cells.corner.x + i, cells.corner.z}
                     : Cell{cells.corner.x, cells.corner.z + i};
    };
    const auto isOpen = [&](std::int32_t i) {
        const Cell cell = cellAt(i);
        return grid.fits(cell) && grid.fits({cell.x + across.x, cell.z + across.z});
    };
    for (std::int32_t i = 0; i < length; ++i) {
        if (!isOpen(i)) continue;
        const std::int32_t first = i;
        while (i + 1 < length && isOpen(i + 1)) ++i;
        const Cell middle = cellAt((first + i) / 2);
        sector.portals.push_back({SectorLayout::inSector(middle), grid.cost(middle),
                                  sector.islands[SectorLayout::inSector(middle)]});
    }
}

void measureWays(Sector& sector, SectorSearch& search) {
    const std::size_t count = sector.portals.size();
    sector.lengths.assign(count * count, Sector::kNoWay);
    for (std::size_t from = 0; from < count; ++from) {
        const SectorSearch::Aim aim{sector.portals[from].cell, 0};
        search.run({&aim, 1});
        for (std::size_t to = 0; to < count; ++to)
            if (search.isReached(sector.portals[to].cell))
                sector.lengths[from * count + to] =
                    static_cast<std::uint16_t>(search.length(sector.portals[to].cell));
    }
}

/// Sets of portals that only ever grow together, each named by its smallest.
class PortalSets {
public:
    explicit PortalSets(std::size_t count) : parents_(count) {
        std::iota(parents_.begin(), parents_.end(), PortalIndex{0});
    }
    PortalIndex nameOf(PortalIndex portal) {
        while (parents_[portal] != portal) {
            parents_[portal] = parents_[parents_[portal]];
            portal = parents_[portal];
        }
        return portal;
    }
    void join(PortalIndex a, PortalIndex b) {
        a = nameOf(a);
        b = nameOf(b);
        parents_[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<PortalIndex> parents_;
};

std::uint64_t squareApart(Cell a, Cell b) {
    const std::int64_t x = a.x - b.x, z = a.z - b.z;
    return static_cast<std::uint64_t>(x * x + z * z);
}

/// The nearest cell that has been found so far.
struct Nearest {
    std::uint64_t squareApart = std::numeric_limits<std::uint64_t>::max();
    Cell cell = {};

    void offer(Cell candidate, Cell place) {
        const std::uint64_t apart = sim::squareApart(candidate, place);
        if (apart > squareApart) return;
        if (apart == squareApart && std::pair(candidate.z, candidate.x) > std::pair(cell.z, cell.x))
            return;
        squareApart = apart;
        cell = candidate;
    }
};

}  // namespace

SectorLayout::SectorLayout(std::int32_t cellsX, std::int32_t cellsZ)
    : cellsX_(cellsX),
      cellsZ_(cellsZ),
      columns_((cellsX + kSectorSide - 1) / kSectorSide),
      rows_((cellsZ + kSectorSide - 1) / kSectorSide) {}

CellRect SectorLayout::cells(std::size_t sector) const {
    const Cell corner = onMap(sector, 0);
    return {corner, std::min(kSectorSide, cellsX_ - corner.x),
            std::min(kSectorSide, cellsZ_ - corner.z)};
}

Cell SectorLayout::onMap(std::size_t sector, SectorCell cell) const {
    const auto number = static_cast<std::int32_t>(sector);
    return {number % columns_ * kSectorSide + cell % kSectorSide,
            number / columns_ * kSectorSide + cell / kSectorSide};
}

SectorGraph::SectorGraph(const ClassGrid& grid, Workers& workers)
    : layout_(grid.cellsX(), grid.cellsZ()), sectors_(layout_.count()) {
    std::vector<std::size_t> all(layout_.count());
    std::iota(all.begin(), all.end(), std::size_t{0});
    build(grid, all, workers);
}

void SectorGraph::build(const ClassGrid& grid, std::span<const std::size_t> sectors,
                        Workers& workers) {
    std::vector<SectorSearch> searches(workers.count());
    workers.forEach(sectors.size(), kSectorsPerBlock, [&](std::size_t i, std::size_t worker) {
        sectors_[sectors[i]] = makeSector(grid, sectors[i], searches[worker]);
    });
    number();
    findComponents();
}

Sector SectorGraph::makeSector(const ClassGrid& grid, std::size_t number,
                               SectorSearch& search) const {
    const CellRect cells = layout_.cells(number);
    search.load(grid, cells);
    Sector sector;
    sector.islands = search.islands();
    sector.components.resize(*std::ranges::max_element(sector.islands));
    for (std::size_t side = 0; side < kSides; ++side) {
        findPortals(grid, border(cells, side), kAcross[side], sector);
        sector.sides[side + 1] = static_cast<std::uint16_t>(sector.portals.size());
    }
    measureWays(sector, search);
    return sector;
}

void SectorGraph::number() {
    firstPortals_.clear();
    sectorOfPortal_.clear();
    for (std::size_t sector = 0; sector < sectors_.size(); ++sector) {
        firstPortals_.push_back(static_cast<PortalIndex>(sectorOfPortal_.size()));
        sectorOfPortal_.insert(sectorOfPortal_.end(), sectors_[sector].portals.size(),
                               static_cast<std::uint16_t>(sector));
    }
}

void SectorGraph::findComponents() {
    PortalSets sets(portalCount());
    std::vector<PortalIndex> firstOfIsland;
    for (std::size_t number = 0; number < sectors_.size(); ++number) {
        const Sector& sector = sectors_[number];
        firstOfIsland.assign(sector.components.size() + 1, 0);
        for (std::size_t i = 0; i < sector.portals.size(); ++i) {
            const PortalIndex portal = firstPortals_[number] + static_cast<PortalIndex>(i);
            PortalIndex& first = firstOfIsland[sector.portals[i].island];
            if (first == 0) first = portal + 1;
            sets.join(portal, first - 1);
            sets.join(portal, partnerOf(portal));
        }
    }
    for (std::size_t number = 0; number < sectors_.size(); ++number) {
        Sector& sector = sectors_[number];
        for (std::uint32_t island = 0; island < sector.components.size(); ++island)
            sector.components[island] =
                kWithoutPortal | static_cast<std::uint32_t>(number) << kIslandBits | island;
        for (std::size_t i = 0; i < sector.portals.size(); ++i)
            sector.components[sector.portals[i].island - 1U] =
                sets.nameOf(firstPortals_[number] + static_cast<PortalIndex>(i));
    }
}

PortalIndex SectorGraph::partnerOf(PortalIndex portal) const {
    const std::size_t number = sectorOf(portal);
    const Sector& sector = sectors_[number];
    const std::size_t index = portal - firstPortals_[number];
    std::size_t side = 0;
    while (index >= sector.sides[side + 1]) ++side;
    const std::size_t other =
        static_cast<std::size_t>(static_cast<std::int64_t>(number) + kAcross[side].x +
                                 std::int64_t{kAcross[side].z} * layout_.columns());
    return firstPortals_[other] + sectors_[other].sides[opposite(side)] +
           static_cast<PortalIndex>(index - sector.sides[side]);
}

Cell SectorGraph::nearestIn(std::uint32_t component, Cell place) const {
    Nearest nearest;
    const std::int32_t column = place.x / kSectorSide, row = place.z / kSectorSide;
    const auto look = [&](std::int32_t x, std::int32_t z) {
        if (x < 0 || z < 0 || x >= layout_.columns() || z >= layout_.rows()) return;
        const std::size_t number = layout_.at(x, z);
        const Sector& sector = sectors_[number];
        if (std::ranges::find(sector.components, component) == sector.components.end()) return;
        for (SectorCell cell = 0; cell < kSectorCells; ++cell)
            if (sector.islands[cell] != 0 &&
                sector.components[sector.islands[cell] - 1U] == component)
                nearest.offer(layout_.onMap(number, cell), place);
    };
    // Ring by ring of sectors round the place's own; whatever lies in a ring is at least so far
    // away.
    for (std::int32_t ring = 0; ring <= std::max(layout_.columns(), layout_.rows()); ++ring) {
        const std::int64_t least = std::int64_t{std::max(0, ring - 1)} * kSectorSide;
        if (static_cast<std::uint64_t>(least * least) > nearest.squareApart) break;
        for (std::int32_t z = row - ring; z <= row + ring; ++z) {
            const bool isWholeRow = z == row - ring || z == row + ring;
            const std::int32_t step = isWholeRow || ring == 0 ? 1 : 2 * ring;
            for (std::int32_t x = column - ring; x <= column + ring; x += step) look(x, z);
        }
    }
    return nearest.cell;
}

std::vector<std::size_t> SectorGraph::update(const ClassGrid& grid,
                                             std::span<const CellRect> changed, Workers& workers) {
    std::vector<std::size_t> touched;
    for (const CellRect& cells : changed) {
        // A border belongs to both of its sectors.
        const std::int32_t left = std::max(0, cells.corner.x - 1) / kSectorSide;
        const std::int32_t top = std::max(0, cells.corner.z - 1) / kSectorSide;
        const std::int32_t right =
            std::min(grid.cellsX() - 1, cells.corner.x + cells.width) / kSectorSide;
        const std::int32_t bottom =
            std::min(grid.cellsZ() - 1, cells.corner.z + cells.depth) / kSectorSide;
        for (std::int32_t row = top; row <= bottom; ++row)
            for (std::int32_t column = left; column <= right; ++column)
                touched.push_back(layout_.at(column, row));
    }
    std::ranges::sort(touched);
    touched.erase(std::unique(touched.begin(), touched.end()), touched.end());
    if (!touched.empty()) build(grid, touched, workers);
    return touched;
}

}  // namespace orb::sim
