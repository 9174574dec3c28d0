#include "server/progress_events.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace orb::unitview::ipc {
namespace {

using std::chrono::milliseconds;

TEST(ProgressEventsTest, ComeLateAndNotTooOften) {
    std::chrono::steady_clock::time_point now{};
    std::vector<std::size_t> told;
    const io::Progress progress = progressEvents(
        7,
        [&](const nlohmann::json& payload) {
            EXPECT_EQ(payload["forSeq"], 7);
            EXPECT_EQ(payload["label"], "units");
            EXPECT_EQ(payload["total"], 1000);
            told.push_back(payload["done"].get<std::size_t>());
        },
        [&] { return now; });
    for (std::size_t ms = 0; ms < 1000; ++ms, now += milliseconds(1)) progress("units", ms, 1000);
    EXPECT_EQ(told, (std::vector<std::size_t>{200, 300, 400, 500, 600, 700, 800, 900}));
}

}  // namespace
}  // namespace orb::unitview::ipc
