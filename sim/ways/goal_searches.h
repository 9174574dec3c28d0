#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/ways/goal_search.h"
#include "sim/ways/way.h"
#include "sim/workers.h"

namespace orb::sim {

/// A place in the queue of those who wait for their way; state.
struct Ticket {
    /// Rising from 1.
    std::uint64_t number = 0;
    std::uint32_t walker = 0;
};

/// The searches towards the goals that were asked for lately. Which of them are there decides who
/// waits how long, so they are state.
class GoalSearches {
public:
    static constexpr std::size_t kMostGoals = 64;

    /// Finds ways for those in the queue, the oldest first, with at most `budget` visits, and takes
    /// the answered out of it. A search that is new and each sector that somebody asks from count
    /// as visits too, since they take as long as many of them.
    void answer(std::vector<Ticket>& queue, std::span<Way> ways,
                std::span<const ClassGround> grounds, std::size_t budget, Workers& workers,
                RouteWork& work);

    /// The graph of a class has changed.
    void dropClass(std::uint32_t movementClass);

    template <typename Visit>
    friend void eachField(const GoalSearches& searches, Visit visit) {
        visit("uses", searches.uses_);
        visit("entries", searches.entries_);
    }

private:
    struct Entry {
        std::uint32_t movementClass = 0;
        /// The higher, the later it was used.
        std::uint64_t lastUse = 0;
        Cell goal;
        bool hasBegun = false;
        GoalSearch search;

        template <typename Visit>
        friend void eachField(const Entry& entry, Visit visit) {
            visit("movementClass", entry.movementClass);
            visit("lastUse", entry.lastUse);
            visit("search", entry.search);
        }
    };
    /// Those who ask from one island, and what they are told.
    struct Group {
        Askers askers;
        std::vector<std::uint32_t> walkers;
        bool isAnswered = false;
        std::uint32_t longest = 0;
        std::vector<std::vector<Cell>> ways;
    };
    /// What one search has to do.
    struct Job {
        Entry* entry = nullptr;
        std::vector<Group> groups;
        std::size_t visits = 0;
    };

    std::vector<Job> plan(std::span<const Ticket> queue, std::span<const Way> ways,
                          std::span<const ClassGround> grounds,
                          std::span<const std::uint32_t> enough, std::size_t& budget);
    Entry& entryFor(std::uint32_t movementClass, Cell goal);
    static void search(Job& job, const ClassGround& ground, std::size_t mostVisits,
                       SectorSearch& scratch);
    static void findWays(const Entry& entry, const ClassGround& ground, std::span<const Way> ways,
                         Group& group, SectorSearch& scratch);

    std::uint64_t uses_ = 0;
    /// Stay where they are.
    std::vector<Entry> entries_;
};

template <typename Visit>
void eachField(const Ticket& ticket, Visit visit) {
    visit("number", ticket.number);
    visit("walker", ticket.walker);
}

}  // namespace orb::sim
