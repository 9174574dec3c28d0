/// A large map on which 2,000 units with the sample game's scripts go to and fro: what each phase
/// of a tick takes, against sorting numbers in the same run, and how much work it is.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>

#include <fmt/format.h>

#include "bench/figures.h"
#include "bench/large_data_root.h"
#include "bench/rough_ground.h"
#include "session/map_play.h"
#include "session/unit_view_session.h"

namespace {

using namespace orb;
namespace fs = std::filesystem;

constexpr std::uint32_t kSide = 1'280;  // 40 x 40 screens: the largest known
constexpr std::size_t kUnits = 2'000;
constexpr std::size_t kUnitsPerGroup = 25;
constexpr std::size_t kThreads = 2;
constexpr int kTicksBefore = 300, kTicks = 600;
constexpr const char* kName = "rough";

/// Sorting 100,000 numbers: what the milliseconds are compared with.
double sortingTime() {
    std::vector<std::uint32_t> numbers;
    const auto fill = [&] {
        bench::Noise noise;
        numbers.clear();
        for (int i = 0; i < 100'000; ++i) numbers.push_back(noise.below(1'000'000));
    };
    const auto timings = bench::measure({[&] {
                                             fill();
                                             std::ranges::sort(numbers);
                                         },
                                         fill});
    return (timings[0].best - timings[1].best) * 1'000;
}

fs::path writeMaps(const fs::path& root) {
    fs::remove_all(root);
    fs::create_directories(root / "maps");
    std::ofstream(root / "maps" / fmt::format("{}.tnt", kName), std::ios::binary)
        << io::asText(io::writeTnt(bench::roughGround(kSide, 6)));
    return root;
}

/// Groups that patrol from where they are born to elsewhere; all of one player, or of two.
class Crowd {
public:
    Crowd(unitview::UnitViewSession& session, std::int32_t players)
        : map_(session.requireMap()), data_(session.data()) {
        constexpr std::array<const char*, 3> kNames = {"FENWADE", "KILCART", "FENTILL"};
        for (std::size_t group = 0; count() < kUnits; ++group)
            addGroup(kNames[group % kNames.size()], 1 + static_cast<std::int32_t>(group) % players);
    }
    std::size_t count() const { return map_.world.units().count(); }
    sim::World& world() { return map_.world; }

private:
    sim::GroundPoint somewhere() {
        constexpr std::uint32_t kPixels = kSide * 16 - 1'000;
        const auto coordinate = [&] {
            return sim::Fixed::fromInt(static_cast<std::int32_t>(500 + noise_.below(kPixels)));
        };
        const sim::Fixed x = coordinate();
        return {x, coordinate()};
    }
    void addGroup(const char* name, std::int32_t player) {
        const sim::GroundPoint place = somewhere();
        std::vector<std::uint32_t> ids;
        try {
            ids = unitview::spawnUnits(map_, data_,
                                       {.unit = name,
                                        .x = place.x.toNumber(),
                                        .z = place.z.toNumber(),
                                        .player = player,
                                        .count = std::min(kUnitsPerGroup, kUnits - count()),
                                        .isActive = {}})
                      .ids;
        } catch (const std::exception&) {
            return;  // a lake
        }
        const std::vector<std::int64_t> group(ids.begin(), ids.end());
        sim::OrderRequest order;
        order.kind = sim::OrderKind::patrol;
        order.place = somewhere();
        unitview::giveOrder(map_, group, order);
    }

    unitview::LoadedMap& map_;
    const unitview::MountedData& data_;
    bench::Noise noise_;
};

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Of a busy machine's times, some of which belong to others.
double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

void reportTicks(sim::World& world, std::string_view how, double sorting) {
    for (int i = 0; i < kTicksBefore; ++i) world.runTick();
    std::map<std::string, std::vector<double>> phases;
    std::vector<std::string> order;
    std::vector<double> ticks;
    const sim::WorkCounts before = world.counts();
    for (int i = 0; i < kTicks; ++i) {
        const auto begin = Clock::now();
        auto last = begin;
        world.runTick([&](std::string_view phase) {
            const std::string name(phase);
            if (!phases.contains(name)) order.push_back(name);
            phases[name].push_back(millisecondsSince(last));
            last = Clock::now();
        });
        ticks.push_back(millisecondsSince(begin));
        world.events().clear();
    }
    bench::report(fmt::format("a tick of 2,000 units {} / sorting 100,000 numbers", how),
                  median(ticks), "ms", sorting, median(ticks) / std::ranges::min(ticks) - 1);
    bench::report("  the worst", std::ranges::max(ticks), "ms", sorting);
    for (const std::string& phase : order)
        bench::report("  " + phase, median(phases[phase]), "ms", sorting);
    const auto report = [&](const char* name, std::uint64_t sim::WorkCounts::*count) {
        bench::report(fmt::format("  {} a tick / units", name),
                      static_cast<double>(world.counts().*count - before.*count) / kTicks, "",
                      static_cast<double>(world.units().count()));
    };
    report("scripts run", &sim::WorkCounts::scriptTicks);
    report("portals visited", &sim::WorkCounts::nodeVisits);
    report("pairs looked at", &sim::WorkCounts::pairs);
    report("steps", &sim::WorkCounts::steps);
    report("tiles looked at", &sim::WorkCounts::tilesSeen);
}

}  // namespace

int main() {
    const bench::QuietLog quiet;
    const fs::path maps = writeMaps(bench::dataFolder() / "sim");
    const double sorting = sortingTime();
    for (const std::int32_t players : {1, 2}) {
        unitview::UnitViewSession session;
        session.setDataRoots({fs::path(ORB_SAMPLE_DATA) / "game", {}, maps});
        session.loadMap({.name = kName, .threads = kThreads});
        Crowd crowd(session, players);
        bench::require(crowd.count() == kUnits, "units are missing");
        reportTicks(crowd.world(), players == 1 ? "in peace" : "at war", sorting);
    }
    return 0;
}
