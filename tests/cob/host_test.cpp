#include <gtest/gtest.h>

#include "cob/cob_testing.h"

// What a host of many units asks for: calls whose end it hears of, effects that it shows, and a
// bound on what a unit executes.
namespace orb::unitview {
namespace {

using testing::Code;
using testing::instanceOf;
using testing::n;
using testing::w;

TEST(Host, HearsHowItsCallsEnd) {
    const std::uint32_t c = w(Op::pushConst);
    const auto instance = instanceOf({
        {"Aim", {c, 1, c, 7, w(Op::ret)}},
        {"Sleeps", {c, 4, w(Op::setSignalMask), c, 9, c, 100000, w(Op::sleep)}},
        {"Stops", {c, 4, w(Op::setSignalMask), c, 3, c, 4, w(Op::signal), w(Op::ret)}},
        {"RunsOff", {c, 8, c, 1, w(Op::sleep), c}},
    });
    ::testing::internal::CaptureStderr();
    CobVm vm(*instance);
    EXPECT_TRUE(vm.startScript(1, {}, 11));
    EXPECT_TRUE(vm.startScript(0, {}, 10));
    EXPECT_TRUE(vm.startScript(0));  // nobody asked
    EXPECT_FALSE(vm.startScript(4, {}, 12));
    vm.tick(0);
    using Ended = std::vector<CobEndedCall>;
    EXPECT_EQ(instance->endedCalls, (Ended{{10, 7, false}}));
    instance->endedCalls.clear();

    // The thread that has returned holds the mask of the signal, but has ended by itself.
    vm.startScript(0, {}, 20);
    instance->threads.back()->signalMask = 4;
    vm.startScript(2, {}, 21);
    vm.startScript(3, {}, 22);
    vm.tick(1);
    EXPECT_EQ(instance->endedCalls, (Ended{{11, 9, true}, {20, 7, false}, {21, 3, true}}));
    instance->endedCalls.clear();
    vm.tick(2);
    EXPECT_EQ(instance->endedCalls, (Ended{{22, 0, false}}));  // what its last word lacks is 0
    EXPECT_TRUE(instance->threads.empty());
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Host, HearsOfEffectsOnModelPieces) {
    const std::uint32_t c = w(Op::pushConst);
    const auto instance = instanceOf({{"Main",
                                       {c,
                                        33,
                                        w(Op::explode),
                                        1,  // the model's piece 2
                                        c,
                                        34,
                                        w(Op::explode),
                                        0,  // which the model lacks
                                        c,
                                        5,
                                        c,
                                        1,
                                        c,
                                        6,
                                        w(Op::attachUnit),  //
                                        c,
                                        5,
                                        c,
                                        0,
                                        c,
                                        6,
                                        w(Op::attachUnit),  //
                                        c,
                                        5,
                                        c,
                                        n(-1),
                                        c,
                                        6,
                                        w(Op::attachUnit),  // to no piece
                                        c,
                                        5,
                                        w(Op::dropUnit),
                                        c,
                                        0,
                                        w(Op::ret)}}});
    instance->cobPieceOrder = {kNoPiece, 2};
    std::vector<std::vector<std::int32_t>> heard;
    instance->callbacks.explode = [&](std::int32_t piece, std::int32_t flags) {
        heard.push_back({piece, flags});
    };
    instance->callbacks.attachUnit = [&](std::int32_t unit, std::int32_t piece,
                                         std::int32_t third) {
        heard.push_back({unit, piece, third});
    };
    instance->callbacks.dropUnit = [&](std::int32_t unit) { heard.push_back({unit}); };
    EXPECT_TRUE(CobVm(*instance).call("Main", {}, 100));
    EXPECT_EQ(heard, (std::vector<std::vector<std::int32_t>>{
                         {2, 33}, {5, 2, 6}, {5, kNoPiece, 6}, {5, kNoPiece, 6}, {5}}));
}

/// Counts in static `index` for ever: five instructions a turn.
Code counter(std::uint32_t index, std::uint32_t entry) {
    return {w(Op::pushStatic), index, w(Op::pushConst), 1,    w(Op::add),
            w(Op::popStatic),  index, w(Op::jump),      entry};
}

TEST(Host, BoundsWhatAUnitExecutesInATick) {
    const auto instance =
        instanceOf({{"A", counter(0, 0)}, {"B", counter(1, 9)}, {"C", counter(2, 18)}});
    CobVm vm(*instance);
    for (std::size_t script = 0; script < 3; ++script) vm.startScript(script);
    const auto counted = [&] {
        return std::vector(instance->statics.begin(), instance->statics.begin() + 3);
    };
    using Counted = std::vector<std::int32_t>;
    constexpr std::int32_t kTurns = kSliceInstructions / 5;  // and one instruction more
    vm.tick(0, 0);
    EXPECT_EQ(counted(), (Counted{0, 0, 0}));
    vm.tick(1, kSliceInstructions + 50);
    EXPECT_EQ(counted(), (Counted{kTurns, 10, 0}));
    // C had no turn and goes first; A follows, B waits for the next tick.
    vm.tick(2, kSliceInstructions + 50);
    EXPECT_EQ(counted(), (Counted{kTurns + 10, 10, kTurns}));
    vm.tick(3, 100);
    EXPECT_EQ(counted(), (Counted{kTurns + 10, 30, kTurns}));
    // Everyone has had a turn since: from the first one again, and without a bound as ever.
    vm.tick(4);
    EXPECT_EQ(counted()[0], 2 * kTurns + 10);
    EXPECT_EQ(instance->threads.size(), 3U);
}

TEST(Host, ABoundedTickRunsWhatIsStartedInItToo) {
    const std::uint32_t c = w(Op::pushConst);
    const auto instance =
        instanceOf({{"Starts", {c, 0, w(Op::sleep), w(Op::start), 2, 0, c, 0, w(Op::ret)}},
                    {"Counts", counter(1, 9)},
                    {"Notes", {c, 1, w(Op::popStatic), 0, c, 0, w(Op::ret)}}});
    CobVm vm(*instance);
    vm.startScript(0);
    vm.startScript(1);
    vm.tick(0, 2);
    vm.tick(1, 2 * kSliceInstructions);  // Counts, then Starts, then what that has started
    EXPECT_EQ(instance->statics[0], 1);
}

}  // namespace
}  // namespace orb::unitview
