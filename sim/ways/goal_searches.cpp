#include "sim/ways/goal_searches.h"

#include <algorithm>
#include <utility>

namespace orb::sim {
namespace {

/// What a search that begins, or a sector from which somebody asks, counts in visits: they take
/// some 20 microseconds, a visit a fifth of one.
constexpr std::size_t kSectorVisits = 100;
/// Searches that go on at the same time. Fewer keep closer to the order of the queue, more keep all
/// threads busy.
constexpr std::size_t kSearchesAtOnce = 16;
/// Aims farther than this behind the best one are no use inside a sector, and beyond what its
/// search can count.
constexpr std::uint32_t kFarBehind = 50'000;

CellRect around(const CellRect& cells, const CellRect& other) {
    if (cells.width == 0) return other;
    const Cell corner{std::min(cells.corner.x, other.corner.x),
                      std::min(cells.corner.z, other.corner.z)};
    return {corner, std::max(cells.corner.x + cells.width, other.corner.x + other.width) - corner.x,
            std::max(cells.corner.z + cells.depth, other.corner.z + other.depth) - corner.z};
}

/// Where a way out of an island can lead.
struct Exit {
    SectorSearch::Aim aim;
    PortalIndex portal = 0;
    bool isGoal = false;
};

std::vector<Exit> exitsOf(const GoalSearch& search, const SectorGraph& graph,
                          const Askers& askers) {
    std::vector<Exit> exits;
    const Cell goal = search.goal();
    if (graph.layout().sectorOf(goal) == askers.sector && graph.islandAt(goal) == askers.island)
        exits.push_back({{SectorLayout::inSector(goal), 0}, 0, true});
    const Sector& sector = graph.sector(askers.sector);
    for (std::size_t i = 0; i < sector.portals.size(); ++i) {
        const PortalIndex portal = graph.firstPortal(askers.sector) + static_cast<PortalIndex>(i);
        if (sector.portals[i].island == askers.island && search.isKnown(portal))
            exits.push_back({{sector.portals[i].cell, search.length(portal)}, portal, false});
    }
    std::ranges::stable_sort(exits, {}, [](const Exit& exit) { return exit.aim.length; });
    std::erase_if(exits, [&](const Exit& exit) {
        return exit.aim.length - exits.front().aim.length > kFarBehind;
    });
    return exits;
}

}  // namespace

void GoalSearches::answer(std::vector<Ticket>& queue, std::span<Way> ways,
                          std::span<const ClassGround> grounds, std::size_t budget,
                          Workers& workers, RouteWork& work) {
    std::vector<SectorSearch> scratch(workers.count());
    // How far a search has to come for a walker, once his sector has been looked at.
    std::vector<std::uint32_t> enough(ways.size());
    while (!queue.empty() && budget > 0) {
        std::size_t left = budget;
        std::vector<Job> jobs = plan(queue, ways, grounds, enough, left);
        const std::size_t share = left / jobs.size();
        workers.forEach(jobs.size(), 1, [&](std::size_t i, std::size_t worker) {
            search(jobs[i], grounds[jobs[i].entry->movementClass], share, scratch[worker]);
        });
        std::vector<std::pair<const Entry*, Group*>> groups;
        for (Job& job : jobs) {
            left -= job.visits;
            for (Group& group : job.groups) groups.emplace_back(job.entry, &group);
        }
        workers.forEach(groups.size(), 1, [&](std::size_t i, std::size_t worker) {
            const auto& [entry, group] = groups[i];
            findWays(*entry, grounds[entry->movementClass], ways, *group, scratch[worker]);
        });
        for (const auto& [entry, group] : groups)
            for (std::size_t i = 0; i < group->walkers.size(); ++i) {
                enough[group->walkers[i]] = group->longest;
                if (!group->isAnswered) continue;
                Way& way = ways[group->walkers[i]];
                way.cells = std::move(group->ways[i]);
                way.next = 0;
                way.ticket = 0;
                way.isProvisional = false;
                way.hasStep = false;
                ++work.answered;
            }
        std::erase_if(queue, [&](const Ticket& ticket) {
            return ways[ticket.walker].ticket != ticket.number;
        });
        work.visits += budget - left;
        budget = left;
    }
}

std::vector<GoalSearches::Job> GoalSearches::plan(std::span<const Ticket> queue,
                                                  std::span<const Way> ways,
                                                  std::span<const ClassGround> grounds,
                                                  std::span<const std::uint32_t> enough,
                                                  std::size_t& budget) {
    std::vector<Job> jobs;
    jobs.reserve(kSearchesAtOnce);
    // Half of it is for going on.
    const std::size_t reserve = budget / 2;
    const auto take = [&] {
        if (budget <= reserve) return false;
        budget -= std::min(kSectorVisits, budget - reserve);
        return true;
    };
    for (const Ticket& ticket : queue) {
        const Way& way = ways[ticket.walker];
        auto job = std::ranges::find_if(jobs, [&](const Job& some) {
            return some.entry->movementClass == way.movementClass && some.entry->goal == way.end;
        });
        if (job == jobs.end()) {
            if (jobs.size() == kSearchesAtOnce || !take()) continue;
            jobs.push_back({&entryFor(way.movementClass, way.end), {}, 0});
            job = jobs.end() - 1;
        }
        const SectorGraph& graph = grounds[way.movementClass].graph;
        const std::size_t sector = graph.layout().sectorOf(way.start);
        const std::uint16_t island = graph.islandAt(way.start);
        auto group = std::ranges::find_if(job->groups, [&](const Group& some) {
            return some.askers.sector == sector && some.askers.island == island;
        });
        if (group == job->groups.end()) {
            if (!job->groups.empty() && !take()) continue;
            job->groups.push_back({{sector, island, {}, 0}, {}, false, 0, {}});
            group = job->groups.end() - 1;
        }
        group->askers.cells = around(group->askers.cells, {way.start, 1, 1});
        group->askers.enough = std::max(group->askers.enough, enough[ticket.walker]);
        group->walkers.push_back(ticket.walker);
    }
    for (Job& job : jobs)
        std::ranges::sort(job.groups, {}, [](const Group& group) {
            return std::pair(group.askers.sector, group.askers.island);
        });
    return jobs;
}

void GoalSearches::dropClass(std::uint32_t movementClass) {
    std::erase_if(entries_,
                  [&](const Entry& entry) { return entry.movementClass == movementClass; });
}

GoalSearches::Entry& GoalSearches::entryFor(std::uint32_t movementClass, Cell goal) {
    entries_.reserve(kMostGoals);
    auto entry = std::ranges::find_if(entries_, [&](const Entry& some) {
        return some.movementClass == movementClass && some.goal == goal;
    });
    if (entry == entries_.end()) {
        if (entries_.size() < kMostGoals) {
            entries_.emplace_back();
            entry = entries_.end() - 1;
        } else {
            entry = std::ranges::min_element(entries_, {}, &Entry::lastUse);
        }
        entry->movementClass = movementClass;
        entry->goal = goal;
        entry->hasBegun = false;
    }
    entry->lastUse = ++uses_;
    return *entry;
}

void GoalSearches::search(Job& job, const ClassGround& ground, std::size_t mostVisits,
                          SectorSearch& scratch) {
    Entry& entry = *job.entry;
    if (!entry.hasBegun) {
        entry.search = GoalSearch(ground.graph, ground.grid, entry.goal, scratch);
        entry.hasBegun = true;
    }
    CellRect all;
    std::vector<Askers> askers;
    askers.reserve(job.groups.size());
    for (const Group& group : job.groups) {
        all = around(all, group.askers.cells);
        askers.push_back(group.askers);
    }
    entry.search.turnTo(ground.graph, all);
    job.visits = entry.search.expand(ground.graph, askers, mostVisits);
    for (std::size_t i = 0; i < askers.size(); ++i) job.groups[i].askers = askers[i];
}

/// Looks at each way out of the sector together with the way to it. That can turn out longer than
/// was thought; then the search has to come so far first.
void GoalSearches::findWays(const Entry& entry, const ClassGround& ground,
                            std::span<const Way> ways, Group& group, SectorSearch& scratch) {
    const GoalSearch& search = entry.search;
    group.longest = group.askers.enough;
    if (!search.isEnoughFor(group.askers)) return;
    const std::vector<Exit> exits = exitsOf(search, ground.graph, group.askers);
    std::vector<SectorSearch::Aim> aims;
    aims.reserve(exits.size());
    for (const Exit& exit : exits) aims.push_back(exit.aim);
    scratch.load(ground.grid, ground.graph.layout().cells(group.askers.sector));
    scratch.run(aims);
    group.longest = 1;
    for (const std::uint32_t walker : group.walkers) {
        const SectorCell start = SectorLayout::inSector(ways[walker].start);
        if (scratch.isReached(start))
            group.longest = std::max(group.longest, scratch.length(start));
    }
    Askers satisfied = group.askers;
    satisfied.enough = group.longest;
    group.isAnswered = search.isEnoughFor(satisfied);
    if (!group.isAnswered) return;
    group.ways.reserve(group.walkers.size());
    for (const std::uint32_t walker : group.walkers) {
        const SectorCell start = SectorLayout::inSector(ways[walker].start);
        if (!scratch.isReached(start)) {
            group.ways.push_back({ways[walker].start});
            continue;
        }
        const Exit& exit = exits[scratch.aim(start)];
        group.ways.push_back(exit.isGoal ? std::vector<Cell>{search.goal()}
                                         : search.wayFrom(ground.graph, exit.portal));
    }
}

}  // namespace orb::sim
