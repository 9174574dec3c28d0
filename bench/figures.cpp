#include "bench/figures.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>

namespace orb::bench {
namespace {

constexpr std::size_t kLeastRepeats = 5;
constexpr std::size_t kMostRepeats = 100;
constexpr double kEnoughSeconds = 1;

double secondsOf(const std::function<void()>& run) {
    const auto start = std::chrono::steady_clock::now();
    run();
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    return spent.count();
}

double perSecond(std::string_view unit) {
    if (unit == "us") return 1e6;
    return unit == "ms" ? 1e3 : 1;
}

}  // namespace

std::vector<Timing> measure(const std::vector<std::function<void()>>& runs) {
    std::vector<std::vector<double>> seconds(runs.size());
    double total = 0;
    for (std::size_t repeat = 0;
         repeat < kLeastRepeats || (total < kEnoughSeconds && repeat < kMostRepeats); ++repeat)
        for (std::size_t i = 0; i < runs.size(); ++i)
            total += seconds[i].emplace_back(secondsOf(runs[i]));
    std::vector<Timing> timings;
    for (auto& times : seconds) {
        std::ranges::sort(times);
        timings.push_back({times.front(), times[times.size() / 2]});
    }
    return timings;
}

void report(std::string_view name, double value, std::string_view unit, double baseline,
            double spread) {
    fmt::print(
        "{{\"name\":\"{}\",\"value\":{:.6g},\"unit\":\"{}\",\"baseline\":{:.6g},"
        "\"ratio\":{:.6g},\"spread\":{:.3f}}}\n",
        name, value, unit, baseline, value / baseline, spread);
    std::fflush(stdout);
}

void reportTime(std::string_view name, const Timing& timing, std::string_view unit,
                const Timing& baseline, double count) {
    const double scale = perSecond(unit) / count;
    report(name, timing.best * scale, unit, baseline.best * scale, timing.spread());
}

void reportRate(std::string_view name, const Timing& timing, double count, std::string_view unit,
                const Timing& baseline) {
    const double shown = unit.starts_with('M') ? count / 1e6 : count;
    report(name, shown / timing.best, unit, shown / baseline.best, timing.spread());
}

void require(bool condition, std::string_view what) {
    if (condition) return;
    fmt::print(stderr, "benchmark failed: {}\n", what);
    std::exit(1);
}

}  // namespace orb::bench
