#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "sim/ways/sectors.h"

namespace orb::sim {

/// Those who ask one search for their way from one island of a sector.
struct Askers {
    std::size_t sector = 0;
    std::uint16_t island = 0;
    /// Round the cells where they stand.
    CellRect cells = {};
    /// No way that is not known yet can be shorter than this for all of them, once the search has
    /// come so far; 0 while none is known.
    std::uint32_t enough = 0;
};

/// The lengths of the ways from the portals of a class to one goal. It goes on where it stopped
/// when somebody asks from farther away, and looks first towards those who ask.
class GoalSearch {
public:
    GoalSearch() = default;
    /// The goal's footprint fits.
    GoalSearch(const SectorGraph& graph, const ClassGrid& grid, Cell goal, SectorSearch& scratch);

    Cell goal() const { return goal_; }

    /// Sets towards whom to look.
    void turnTo(const SectorGraph& graph, const CellRect& askers);
    /// Goes on until all have `enough` or so many portals have been visited; returns how many were.
    /// The askers stand by sector and island.
    std::size_t expand(const SectorGraph& graph, std::span<Askers> askers, std::size_t mostVisits);
    /// The search has come so far that their way is known.
    bool isEnoughFor(const Askers& askers) const {
        return open_.empty() || (askers.enough > 0 && open_.front().least >= askers.enough);
    }

    /// A way from there is known; the best one when the search has come beyond it.
    bool isKnown(PortalIndex portal) const { return lengths_[portal] != kUnknown; }
    std::uint32_t length(PortalIndex portal) const { return lengths_[portal]; }
    /// The cells of the portals from one on and the goal.
    std::vector<Cell> wayFrom(const SectorGraph& graph, PortalIndex portal) const;

    template <typename Visit>
    friend void eachField(const GoalSearch& search, Visit visit) {
        visit("goalX", search.goal_.x);
        visit("goalZ", search.goal_.z);
        visit("visits", search.visits_);
        visit("open", search.open_);
    }

private:
    /// A portal that has been reached but not visited.
    struct Open {
        /// Of any way through it from those who ask.
        std::uint32_t least = 0;
        std::uint32_t length = 0;
        PortalIndex portal = 0;

        /// For a heap whose front is the most promising.
        bool operator<(const Open& other) const {
            return least != other.least ? least > other.least : portal > other.portal;
        }
        template <typename Visit>
        friend void eachField(const Open& open, Visit visit) {
            visit("least", open.least);
            visit("length", open.length);
            visit("portal", open.portal);
        }
    };
    static constexpr std::uint32_t kUnknown = 0xFFFFFFFF;
    /// The goal follows.
    static constexpr PortalIndex kGoal = 0xFFFFFFFF;

    std::uint32_t leastFromAskers(Cell cell) const;
    void reach(const SectorGraph& graph, PortalIndex portal, std::uint32_t length,
               PortalIndex next);
    void visit(const SectorGraph& graph, PortalIndex portal);
    void dropVisited();
    void noteVisit(const SectorGraph& graph, PortalIndex portal, Askers& askers) const;
    void noteEarlierVisits(const SectorGraph& graph, Askers& askers) const;

    Cell goal_;
    CellRect askers_ = {};
    std::uint64_t visits_ = 0;
    std::vector<std::uint32_t> lengths_;
    /// The next portal on the way.
    std::vector<PortalIndex> next_;
    std::vector<bool> isVisited_;
    std::vector<Open> open_;
};

}  // namespace orb::sim
