/// Ways over a large map: their lengths against the shortest, and their time against a search over
/// cells in the same run.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <queue>

#include <fmt/format.h>

#include "bench/figures.h"
#include "bench/rough_ground.h"
#include "sim/ground/occupancy.h"
#include "sim/motion/way_steps.h"
#include "sim/ways/routes.h"

namespace {

using namespace orb;
using namespace orb::sim;

constexpr std::uint32_t kSide = 1'280;  // 40 x 40 screens: the largest known
constexpr std::size_t kWalkers = 2'000;
constexpr std::size_t kPairs = 100;
constexpr std::size_t kThreads = 2;

const MovementLimits kLimits{.footprintX = 2,
                             .footprintZ = 2,
                             .site = {.maxSlope = 18, .badSlope = 12, .maxWaterDepth = 30}};

/// A star over cells, as straightforward as it gets: the length of the shortest way.
class CellSearch {
public:
    explicit CellSearch(const ClassGrid& grid)
        : grid_(grid),
          lengths_(static_cast<std::size_t>(grid.cellsX()) *
                   static_cast<std::size_t>(grid.cellsZ())) {}

    std::uint32_t shortest(Cell from, Cell to) {
        std::ranges::fill(lengths_, kUnknown);
        open_ = {};
        to_ = to;
        reach(from, 0);
        while (!open_.empty()) {
            const Open first = open_.top();
            open_.pop();
            if (first.cell == to) return first.length;
            if (first.length != lengths_[index(first.cell)]) continue;
            expand(first);
        }
        return kUnknown;
    }

    static constexpr std::uint32_t kUnknown = 0xFFFFFFFF;

private:
    struct Open {
        std::uint32_t least;
        std::uint32_t length;
        Cell cell;
        bool operator<(const Open& other) const { return least > other.least; }
    };

    std::size_t index(Cell cell) const {
        return static_cast<std::size_t>(cell.z * grid_.cellsX() + cell.x);
    }
    void reach(Cell cell, std::uint32_t length) {
        std::uint32_t& known = lengths_[index(cell)];
        if (length >= known) return;
        known = length;
        const auto apart = [](std::int32_t a, std::int32_t b) {
            return static_cast<std::uint32_t>(std::abs(a - b));
        };
        open_.push(
            {length + leastLength(apart(cell.x, to_.x), apart(cell.z, to_.z)), length, cell});
    }
    void expand(const Open& from) {
        const Cell cell = from.cell;
        for (std::size_t i = 0; i < kDirections; ++i) {
            const Cell next{cell.x + kSteps[i].x, cell.z + kSteps[i].z};
            if (grid_.fits(next) && grid_.fits({cell.x, next.z}) && grid_.fits({next.x, cell.z}))
                reach(next,
                      from.length + stepLength(i % 2 == 1, grid_.cost(cell), grid_.cost(next)));
        }
    }

    const ClassGrid& grid_;
    Cell to_;
    std::vector<std::uint32_t> lengths_;
    std::priority_queue<Open> open_;
};

struct Pair {
    Cell from;
    Cell to;
};

/// Places that are connected with one another.
std::vector<Pair> drawPairs(const ClassGrid& grid, const SectorGraph& graph, std::size_t count) {
    bench::Noise noise(7);
    const auto somewhere = [&](auto isWanted) {
        for (;;) {
            const Cell cell{static_cast<std::int32_t>(noise.below(kSide)),
                            static_cast<std::int32_t>(noise.below(kSide))};
            if (grid.fits(cell) && isWanted(cell)) return cell;
        }
    };
    std::vector<Pair> pairs;
    while (pairs.size() < count) {
        const Cell from = somewhere([](Cell) { return true; });
        if (graph.sector(graph.layout().sectorOf(from)).components.empty()) continue;
        const std::uint32_t component = graph.componentAt(from);
        bool isLarge = false;
        for (int i = 0; i < 20 && !isLarge; ++i)
            isLarge = graph.componentAt(somewhere([](Cell) { return true; })) == component;
        if (!isLarge) continue;
        pairs.push_back(
            {from, somewhere([&](Cell cell) { return graph.componentAt(cell) == component; })});
    }
    return pairs;
}

/// Everything that a routes' user does, with walkers who follow their steps at once.
class Crowd {
public:
    explicit Crowd(const Terrain& terrain)
        : terrain_(terrain), workers_(kThreads), routes_(terrain) {
        movementClass_ = routes_.classOf(terrain, kLimits, workers_);
    }

    void add(const Pair& pair) {
        walkers_.push_back({middleAt(kLimits, pair.from), middleAt(kLimits, pair.to)});
    }
    void clear() { walkers_.clear(); }
    void tick() {
        for (std::uint32_t i = 0; i < walkers_.size(); ++i)
            if (!walkers_[i].isThere)
                routes_.wish(
                    {i, movementClass_, walkers_[i].place, walkers_[i].goal, walkers_[i].goal});
        routes_.update(terrain_, workers_);
    }
    void walk(double pixels) {
        for (std::uint32_t i = 0; i < walkers_.size(); ++i) {
            Walker& walker = walkers_[i];
            if (walker.isThere) continue;
            const RouteStep& step = routes_.step(i);
            const double x = step.toward.x.toNumber() - walker.place.x.toNumber();
            const double z = step.toward.z.toNumber() - walker.place.z.toNumber();
            const double apart = std::hypot(x, z), share = std::min(1.0, pixels / apart);
            walker.isThere = step.isEnd && apart <= pixels;
            walker.walked += std::min(apart, pixels);
            if (apart > 0)
                walker.place = {walker.place.x + Fixed::fromNumber(x * share),
                                walker.place.z + Fixed::fromNumber(z * share)};
        }
    }
    bool isThere(std::size_t walker) const { return walkers_[walker].isThere; }
    double walked(std::size_t walker) const { return walkers_[walker].walked; }
    Routes& routes() { return routes_; }

private:
    struct Walker {
        GroundPoint place;
        GroundPoint goal;
        double walked = 0;
        bool isThere = false;
    };

    const Terrain& terrain_;
    Workers workers_;
    Routes routes_;
    std::uint32_t movementClass_ = 0;
    std::vector<Walker> walkers_;
};

/// In pixels along, as lengths of ways are counted.
double inPixels(std::uint32_t length) {
    return static_cast<double>(length) * kCellPixels / kStraightStep;
}

void reportLengths(Crowd& crowd, const std::vector<Pair>& pairs, CellSearch& cells) {
    crowd.clear();
    for (const Pair& pair : pairs) crowd.add(pair);
    for (int i = 0; i < 40'000; ++i) {
        crowd.tick();
        crowd.walk(4);
    }
    double sum = 0, worst = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        bench::require(crowd.isThere(i), "somebody has not come to his goal");
        const double ratio = crowd.walked(i) / inPixels(cells.shortest(pairs[i].from, pairs[i].to));
        sum += ratio;
        worst = std::max(worst, ratio);
    }
    bench::report("ways walked / shortest over cells, mean",
                  sum / static_cast<double>(pairs.size()), "", 1);
    bench::report("  worst", worst, "", 1);
}

double millisecondsOf(const auto& run) {
    const auto begin = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

/// How long 2,000 walkers wait for their first ways and what a tick takes meanwhile, at worst, and
/// later; against the mean time of a way by a search over cells.
void reportCrowd(Crowd& crowd, const std::vector<Pair>& pairs, std::string_view name,
                 double cellSearch) {
    crowd.clear();
    crowd.tick();
    for (const Pair& pair : pairs) crowd.add(pair);
    double worst = 0, visits = 0;
    int ticks = 0;
    do {
        worst = std::max(worst, millisecondsOf([&] { crowd.tick(); }));
        visits += static_cast<double>(crowd.routes().work().visits);
        crowd.walk(2);
        ++ticks;
    } while (crowd.routes().work().waiting > 0);
    bench::report(fmt::format("{}: ticks until all know their way", name), ticks, "", 1);
    bench::report("  visits / walkers", visits, "", kWalkers);
    bench::report("  worst tick / A* on cells", worst, "ms", cellSearch);
    constexpr int kLater = 200;
    double later = 0;
    for (int i = 0; i < kLater; ++i) {
        later += millisecondsOf([&] { crowd.tick(); });
        crowd.walk(2);
    }
    bench::report("  a later tick / A* on cells", later / kLater, "ms", cellSearch);
}

}  // namespace

int main() {
    const bench::QuietLog quiet;
    const Terrain terrain(bench::roughGround(kSide, 16));
    Workers workers(kThreads);
    const ClassGrid grid(terrain, Obstacles(kSide, kSide), kLimits);
    const SectorGraph graph(grid, workers);
    CellSearch cells(grid);
    const std::vector<Pair> pairs = drawPairs(grid, graph, kPairs);
    Crowd crowd(terrain);
    const auto cellCount = static_cast<double>(std::ranges::count_if(
        std::vector<std::uint8_t>(grid.row({0, 0}), grid.row({0, 0}) + kSide * kSide),
        [](std::uint8_t cost) { return cost != kNoStep; }));
    bench::report("cells that fit / cells", cellCount, "", kSide * kSide);
    bench::report("portals / sectors", static_cast<double>(graph.portalCount()), "",
                  static_cast<double>(graph.layout().count()));
    reportLengths(crowd, pairs, cells);

    const auto timings = bench::measure({
        [&] {
            for (const Pair& pair : pairs)
                bench::require(cells.shortest(pair.from, pair.to) != CellSearch::kUnknown, "shut");
        },
        [&] {
            for (const Pair& pair : pairs) {
                crowd.clear();
                crowd.add(pair);
                crowd.tick();
                bench::require(crowd.routes().work().waiting == 0, "no answer");
            }
        },
        [&] { const ClassGrid again(terrain, Obstacles(kSide, kSide), kLimits); },
        [&] { const SectorGraph again(grid, workers); },
    });
    bench::reportTime("100 ways, each alone / A* on cells", timings[1], "ms", timings[0]);
    bench::reportTime("  grid of a class", timings[2], "ms", timings[0]);
    bench::reportTime("  its graph", timings[3], "ms", timings[0]);

    const double cellSearch = timings[0].best * 1'000 / static_cast<double>(pairs.size());
    std::vector<Pair> many = drawPairs(grid, graph, kWalkers);
    reportCrowd(crowd, many, "2,000 with goals of their own", cellSearch);
    for (Pair& pair : many) pair.to = pairs.front().to;
    reportCrowd(crowd, many, "2,000 to one goal", cellSearch);
    return 0;
}
