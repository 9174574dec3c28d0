#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "sim/ways/direction_fields.h"
#include "sim/ways/goal_searches.h"
#include "sim/ways/movement_class.h"
#include "sim/ways/route.h"
#include "sim/ways/sectors.h"
#include "sim/ways/way.h"
#include "sim/workers.h"

namespace orb::sim {

/// Portals that searches visit in a tick, all together. Higher finds ways sooner after large orders
/// and makes the worst ticks longer: 20,000 take some 4 ms.
inline constexpr std::size_t kRouteVisitsPerTick = 20'000;

/// Movement classes that a world can have. Games have some 15, mods twice as many.
inline constexpr std::size_t kMostMovementClasses = 64;

/// Ways over the ground for whatever walks or swims, round all that stays where it is: slopes,
/// water, buildings and features. Those who move are no obstacles here.
///
/// In each tick, whoever wants to be elsewhere says so with `wish`; `update` then plans (serially,
/// by walker), computes in parallel and applies in order; `step` answers from then on, also from
/// parallel phases. Who says nothing in a tick loses his way and his place in the queue, so the
/// dead and the arrived need not be signed off.
///
/// State are obstacles and their changes, the queue, the ways and how far the searches are; grids,
/// graphs and fields are derived.
class Routes {
public:
    explicit Routes(const Terrain& terrain, std::size_t visitsPerTick = kRouteVisitsPerTick);

    /// The number of the class with those limits, new or known; `kNoMovementClass` when there are
    /// too many for the memory that is set aside. A new one takes up to a second on a large map:
    /// for loading and spawning, not inside a tick.
    std::uint32_t classOf(const Terrain& terrain, const MovementLimits& limits, Workers& workers);

    /// Something that stays takes or frees cells: a building, a feature that blocks, a yard that
    /// opens. Ways follow in the next `update`. Cells off the map do not matter.
    void setBlocked(const CellRect& cells, bool isBlocked);
    bool isBlocked(Cell cell) const { return obstacles_.isBlocked(cell); }
    /// A footprint of the class fits with its north-western cell there, as of the last `update`:
    /// slopes, water, buildings and features are considered, those who move are not. Without a
    /// class it fits everywhere.
    bool fits(std::uint32_t movementClass, Cell cell) const;

    /// There is a way from one cell to the other, as of the last `update`; without a class there
    /// always is. The footprint fits at both.
    bool areConnected(std::uint32_t movementClass, Cell from, Cell to) const;

    /// The last one of a walker in a tick counts.
    void wish(const RouteWish& wish) { wishes_.push_back(wish); }
    /// Once a tick, in the phase of the routes.
    void update(const Terrain& terrain, Workers& workers);
    /// What somebody should do who wished in this tick.
    const RouteStep& step(std::uint32_t walker) const { return ways_[walker].step; }

    /// Grids, graphs and fields are made anew in the next `update`; no answer changes by it.
    void dropDerived();

    /// What the last update did.
    const RouteWork& work() const { return work_; }

    template <typename Visit>
    friend void eachField(const Routes& routes, Visit visit) {
        visit("nextTicket", routes.nextTicket_);
        visit("changes", routes.changes_);
        visit("queue", routes.queue_);
        visit("ways", routes.ways_);
        visit("searches", routes.searches_);
    }

private:
    /// A cell whose obstacle came or went.
    struct Change {
        Cell cell;
        bool isBlocked = false;

        template <typename Visit>
        friend void eachField(const Change& change, Visit visit) {
            visit("cell", change.cell);
            visit("isBlocked", change.isBlocked);
        }
    };

    /// What was last looked for instead of an aim out of reach.
    struct LastEnd {
        std::uint32_t movementClass = 0;
        std::uint32_t component = 0;
        Cell aim;
        Cell end;

        bool isSameQuestion(const LastEnd& other) const {
            return movementClass == other.movementClass && component == other.component &&
                   aim == other.aim;
        }
    };

    void restoreDerived(const Terrain& terrain, Workers& workers);
    void followChanges(const Terrain& terrain, Workers& workers);
    void renewWays(std::uint32_t movementClass, std::span<const std::size_t> changedSectors);
    void takeWishes();
    void takeWish(const RouteWish& wish);
    void leadOn(Way& way, std::uint32_t walker);
    void chooseAim(Way& way) const;
    void ask(Way& way, std::uint32_t walker);
    Cell reachableEnd(const Way& way);
    void takeSteps(Workers& workers);

    std::size_t visitsPerTick_;
    std::int32_t cellsX_;
    std::int32_t cellsZ_;

    // State.
    std::vector<MovementLimits> limits_;
    /// What the grids were made with, and what has come since.
    Obstacles obstacles_;
    std::vector<Change> changes_;
    std::vector<Ticket> queue_;
    std::uint64_t nextTicket_ = 1;
    /// By walker.
    std::vector<Way> ways_;
    GoalSearches searches_;

    // Derived.
    std::vector<ClassGround> grounds_;
    DirectionFields fields_;

    // Scratch of a tick.
    std::vector<RouteWish> wishes_;
    std::optional<LastEnd> lastEnd_;
    RouteWork work_;
};

}  // namespace orb::sim
