#include "sim/workers.h"

#include <numeric>
#include <stdexcept>

#include <gtest/gtest.h>

namespace orb::sim {
namespace {

TEST(Workers, EveryItemIsRunOnceHoweverManyThreadsThereAre) {
    for (const std::size_t threads : {0U, 1U, 2U, 4U}) {
        Workers workers(threads);
        EXPECT_EQ(workers.count(), std::max<std::size_t>(1, threads));
        // many jobs one after the other, as in ticks
        for (std::size_t items = 0; items < 300; ++items) {
            std::vector<int> runs(items);
            workers.forEach(items, 7, [&](std::size_t item, std::size_t worker) {
                ASSERT_LT(worker, workers.count());
                ++runs[item];
            });
            ASSERT_EQ(std::accumulate(runs.begin(), runs.end(), std::size_t{0}), items);
        }
    }
}

TEST(Workers, TheFirstFailureIsThrownOnAfterAllElseIsDone) {
    Workers workers(2);
    for (int repeat = 0; repeat < 100; ++repeat) {
        std::vector<int> runs(40);
        try {
            workers.forEach(runs.size(), 4, [&](std::size_t item, std::size_t) {
                runs[item] = 1;
                if (item % 10 == 9) throw std::runtime_error(std::to_string(item));
            });
            FAIL() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "9");
        }
        // an item that throws takes the rest of its block with it
        EXPECT_EQ(std::accumulate(runs.begin(), runs.end(), 0), 40 - 2 - 2);
    }
}

}  // namespace
}  // namespace orb::sim
