#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "sim/ways/movement_class.h"
#include "sim/ways/sector_search.h"
#include "sim/workers.h"

namespace orb::sim {

/// Which cells a sector has: 32 by 32, fewer at the map's eastern and southern edges.
class SectorLayout {
public:
    SectorLayout(std::int32_t cellsX, std::int32_t cellsZ);

    std::int32_t columns() const { return columns_; }
    std::int32_t rows() const { return rows_; }
    std::size_t count() const {
        return static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_);
    }
    std::size_t at(std::int32_t column, std::int32_t row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
               static_cast<std::size_t>(column);
    }
    std::size_t sectorOf(Cell cell) const { return at(cell.x / kSectorSide, cell.z / kSectorSide); }
    CellRect cells(std::size_t sector) const;
    static SectorCell inSector(Cell cell) {
        return static_cast<SectorCell>(cell.z % kSectorSide * kSectorSide + cell.x % kSectorSide);
    }
    Cell onMap(std::size_t sector, SectorCell cell) const;

private:
    std::int32_t cellsX_;
    std::int32_t cellsZ_;
    std::int32_t columns_;
    std::int32_t rows_;
};

/// The middle of one run of cells through which a sector's border can be crossed; its partner lies
/// on the other side of the border.
struct Portal {
    SectorCell cell = 0;
    /// How dear its cell is.
    std::uint8_t cost = kUsualStep;
    /// Of the cells of its sector, from 1.
    std::uint16_t island = 0;
    bool operator==(const Portal&) const = default;
};

/// What is known of one sector.
struct Sector {
    /// Portals of the northern, eastern, southern and western side begin here; the last is the end.
    std::array<std::uint16_t, 5> sides{};
    /// By side, along it from the north or west.
    std::vector<Portal> portals;
    /// For each portal those to each portal; `kNoWay` where there is none inside the sector.
    std::vector<std::uint16_t> lengths;
    /// Of each cell, from 1; 0 where the footprint does not fit.
    std::vector<std::uint16_t> islands;
    /// The component of each island.
    std::vector<std::uint32_t> components;
    bool operator==(const Sector&) const = default;

    static constexpr std::uint16_t kNoWay = 0xFFFF;
};

/// A portal by number: its place in the order of sectors and, in them, of portals. Numbers follow
/// from the map as it is, not from the order of its changes.
using PortalIndex = std::uint32_t;

/// The portals of a movement class and the ways between them. Two cells are in one component when
/// one can be reached from the other. Derived from the class's grid.
class SectorGraph {
public:
    SectorGraph(const ClassGrid& grid, Workers& workers);

    const SectorLayout& layout() const { return layout_; }
    std::size_t portalCount() const { return sectorOfPortal_.size(); }

    const Sector& sector(std::size_t sector) const { return sectors_[sector]; }
    /// The number of a sector's first portal.
    PortalIndex firstPortal(std::size_t sector) const { return firstPortals_[sector]; }
    std::size_t sectorOf(PortalIndex portal) const { return sectorOfPortal_[portal]; }
    const Portal& portal(PortalIndex portal) const {
        const std::size_t sector = sectorOf(portal);
        return sectors_[sector].portals[portal - firstPortals_[sector]];
    }
    Cell cellOf(PortalIndex portal) const {
        return layout_.onMap(sectorOf(portal), this->portal(portal).cell);
    }
    /// The one across the border.
    PortalIndex partnerOf(PortalIndex portal) const;

    /// 0 where the footprint does not fit.
    std::uint16_t islandAt(Cell cell) const {
        return sectors_[layout_.sectorOf(cell)].islands[SectorLayout::inSector(cell)];
    }
    /// The smallest number of its portals, or one of its own for ground without any. Only where the
    /// footprint fits.
    std::uint32_t componentAt(Cell cell) const {
        return sectors_[layout_.sectorOf(cell)].components[islandAt(cell) - 1U];
    }
    /// The cell of a component that is nearest to a place on the map; of equally near ones the most
    /// northern, then the most western.
    Cell nearestIn(std::uint32_t component, Cell place) const;

    /// Follows a change of the grid in those cells; the sectors that it touched, rising.
    std::vector<std::size_t> update(const ClassGrid& grid, std::span<const CellRect> changed,
                                    Workers& workers);

    bool operator==(const SectorGraph& other) const { return sectors_ == other.sectors_; }

private:
    void build(const ClassGrid& grid, std::span<const std::size_t> sectors, Workers& workers);
    Sector makeSector(const ClassGrid& grid, std::size_t sector, SectorSearch& search) const;
    void number();
    void findComponents();

    SectorLayout layout_;
    std::vector<Sector> sectors_;
    std::vector<PortalIndex> firstPortals_;
    std::vector<std::uint16_t> sectorOfPortal_;
};

/// The ground as a movement class sees it.
struct ClassGround {
    ClassGrid grid;
    SectorGraph graph;
};

}  // namespace orb::sim
