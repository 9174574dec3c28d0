#pragma once

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

/// What the benchmarks share: every figure is a ratio to a baseline measured in the same run.
namespace orb::bench {

/// The best time of each run in seconds. The runs take turns, so that a busy machine slows all.
inline std::vector<double> bestSeconds(const std::vector<std::function<void()>>& runs,
                                       int repeats = 5) {
    std::vector<double> best(runs.size(), 1e9);
    for (int repeat = 0; repeat < repeats; ++repeat)
        for (std::size_t i = 0; i < runs.size(); ++i) {
            const auto start = std::chrono::steady_clock::now();
            runs[i]();
            const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
            best[i] = std::min(best[i], spent.count());
        }
    return best;
}

/// One line: name, value, baseline, and the ratio as the benchmark defines it.
inline void printRow(std::string_view name, double value, double baseline, std::string_view unit,
                     double ratio) {
    fmt::print("{:<44} {:9.2f} {:9.2f} {:<6} {:6.3f}\n", name, value, baseline, unit, ratio);
}

/// Ends the benchmark: its results are wrong, so its figures mean nothing.
[[noreturn]] inline void fail(std::string_view what) {
    fmt::print(stderr, "benchmark failed: {}\n", what);
    std::exit(1);
}

}  // namespace orb::bench
