#include "sim/event_log.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace orb::sim {
namespace {

std::size_t countOf(const EventLog& log, std::size_t kind) {
    const auto events = log.events();
    return static_cast<std::size_t>(std::ranges::count_if(
        events, [&](const Event& event) { return event.detail.index() == kind; }));
}

TEST(EventLog, FloodsGiveWayToWhatIsRare) {
    EventLog log;
    for (Tick tick = 0; tick < 3; ++tick) {
        for (std::size_t i = 0; i < kMaxEvents; ++i) log.add({tick, 1, nullptr, Effect{}});
        log.add({tick, 2, nullptr, Killed{tick, 1, ""}});
    }
    const auto events = log.events();
    ASSERT_EQ(events.size(), kMaxEvents);
    EXPECT_EQ(log.dropped(), 2 * kMaxEvents + 3);
    EXPECT_EQ(countOf(log, kindOf<Killed>), 3U);
    // in the order in which they happened, of the flood the first
    EXPECT_TRUE(std::ranges::is_sorted(events, {}, &Event::tick));
    EXPECT_EQ(std::get<Effect>(events.front().detail).piece, -1);
    EXPECT_EQ(events[kMaxEvents - 4].tick, 0);
    EXPECT_EQ(std::get<Killed>(events.back().detail).severity, 2);
}

TEST(EventLog, FloodsShareWhatThereIs) {
    EventLog log;
    for (std::size_t i = 0; i < 3 * kMaxEvents; ++i) {
        log.add({0, 1, nullptr, Effect{}});
        if (i >= kMaxEvents) log.add({0, 1, nullptr, Sound{"boom", 0}});
        if (i >= 2 * kMaxEvents) log.add({0, 1, nullptr, Explode{}});
    }
    EXPECT_EQ(log.events().size(), kMaxEvents);
    EXPECT_EQ(log.dropped(), 5 * kMaxEvents);
    for (const std::size_t kind : {kindOf<Effect>, kindOf<Sound>, kindOf<Explode>})
        EXPECT_NEAR(static_cast<double>(countOf(log, kind)), kMaxEvents / 3.0, 2);
}

TEST(EventLog, NotesWhatCameSinceItWasAskedToWatch) {
    EventLog log;
    log.add({0, 1, nullptr, Built{}});
    log.watchAnew();
    EXPECT_FALSE(log.hasSeen(kindOf<Built>));
    log.keep(false);
    log.add({1, 1, nullptr, Killed{}});
    EXPECT_TRUE(log.hasSeen(kindOf<Killed>));
    EXPECT_EQ(log.events().size(), 1U);
    EXPECT_EQ(log.dropped(), 0U);
    log.clear();
    EXPECT_TRUE(log.events().empty());
}

}  // namespace
}  // namespace orb::sim
