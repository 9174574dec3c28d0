#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "tests/quiet_log.h"

/// What the benchmarks share. Every figure is a ratio to a baseline measured in the same run, so
/// that figures of different machines and days can be compared.
namespace orb::bench {

/// Seconds of one run of several.
struct Timing {
    double best = 0;
    double median = 0;

    /// How much slower than the best the median was, as a share of the best.
    double spread() const { return median / best - 1; }
};

/// Times each run at least five times. The runs take turns, so that a busy machine slows all;
/// quick ones are repeated until a second has passed.
std::vector<Timing> measure(const std::vector<std::function<void()>>& runs);

/// One figure, as a line of JSON that `bench/table.py` reads. Units that end in "/s" are better the
/// higher they are, all others the lower. `ratio` is value / baseline.
void report(std::string_view name, double value, std::string_view unit, double baseline,
            double spread = 0);

/// The time of one of `count` things that a run does, against that of the baseline's run.
/// `unit` is "s", "ms" or "us".
void reportTime(std::string_view name, const Timing& timing, std::string_view unit,
                const Timing& baseline, double count = 1);

/// How many of a run's things are done in a second, in millions when `unit` begins with "M".
void reportRate(std::string_view name, const Timing& timing, double count, std::string_view unit,
                const Timing& baseline);

/// Ends the benchmark unless `condition` holds: its results are wrong, so its figures mean nothing.
void require(bool condition, std::string_view what);

/// A benchmark's `main` begins with one.
using orb::QuietLog;

}  // namespace orb::bench
