#include <cmath>

#include <gtest/gtest.h>

#include "cob/cob_debugger.h"
#include "cob/cob_testing.h"

namespace orb::unitview {
namespace {

using testing::instanceOf;
using testing::n;
using testing::w;

/// Two scripts that count in statics 0 and 1 once a tick for ever. Offsets of the first one:
///   0 push static   2 push const   4 add   5 pop static   7 push const   9 sleep   10 jump
/// and the same from 12 on for the second one.
class Debugger : public ::testing::Test {
protected:
    Debugger() {
        debugger.attach(instance.get());
        debugger.startScript("First", {});
        debugger.startScript("second", {});
    }
    static testing::Code counter(std::uint32_t variable, std::uint32_t entry) {
        return {w(Op::pushStatic), variable, w(Op::pushConst), 1, w(Op::add),
                w(Op::popStatic),  variable, w(Op::pushConst), 0, w(Op::sleep),
                w(Op::jump),       entry};
    }
    std::uint32_t pcOf(std::size_t thread) const { return instance->threads.at(thread)->pc; }

    std::unique_ptr<CobInstance> instance =
        instanceOf({{"First", counter(0, 0)}, {"Second", counter(1, 12)}});
    CobDebugger debugger;
};

TEST_F(Debugger, ABreakpointStopsBothScriptsAndAResumePassesIt) {
    debugger.setBreakpoints({0}, {});
    debugger.advanceTicks(5);
    EXPECT_TRUE(debugger.isPaused());
    EXPECT_EQ(debugger.pausedOffset(), 0U);
    EXPECT_EQ(debugger.tickCounter(), 1U);
    EXPECT_EQ(pcOf(1), 12U);  // paused before its first instruction, by the other one's breakpoint

    debugger.advanceTicks(5);
    EXPECT_EQ(debugger.tickCounter(), 1U);

    debugger.resume(CobResumeMode::run);  // goes round once, meets the breakpoint anew
    EXPECT_TRUE(debugger.isPaused());
    EXPECT_EQ(instance->statics[0], 1);
    EXPECT_EQ(instance->statics[1], 1);

    debugger.clearBreakpoints();
    debugger.resume(CobResumeMode::run);
    EXPECT_FALSE(debugger.isPaused());
    EXPECT_EQ(instance->statics[0], 601);
}

TEST_F(Debugger, StepsGoByInstructionAndByLine) {
    debugger.stopAll();
    debugger.startScript("First", {});
    debugger.setBreakpoints({2}, CobLineMap({{0, 4, 10}, {5, 6, 11}, {7, 11, 0}}));
    debugger.advanceTicks(1);
    ASSERT_EQ(debugger.pausedOffset(), 2U);

    const std::pair<CobResumeMode, std::uint32_t> steps[] = {
        {CobResumeMode::stepInstruction, 4},
        {CobResumeMode::stepLine, 5},
        {CobResumeMode::stepLine, 7},   // code without a line
        {CobResumeMode::stepLine, 9},   // where every instruction is a line
        {CobResumeMode::stepLine, 10},  // across the sleep
        {CobResumeMode::stepLine, 0},
        {CobResumeMode::stepLine, 2},  // a breakpoint in the line
        {CobResumeMode::run, 2},
    };
    for (const auto& [mode, offset] : steps) {
        debugger.resume(mode);
        EXPECT_TRUE(debugger.isPaused());
        EXPECT_EQ(debugger.pausedOffset(), offset);
    }
    debugger.setBreakpoints({}, {});
    debugger.resume(CobResumeMode::stepLine);
    EXPECT_EQ(debugger.pausedOffset(), 4U);
}

TEST_F(Debugger, TheSkipOffsetIsSpentEvenOffABreakpoint) {
    debugger.stopAll();
    debugger.startScript("First", {});
    debugger.resume(CobResumeMode::stepInstruction);
    ASSERT_EQ(debugger.pausedOffset(), 0U);
    debugger.clearBreakpoints();
    debugger.setBreakpoints({0}, {});
    debugger.resume(CobResumeMode::run);
    EXPECT_EQ(debugger.pausedOffset(), 0U);
    EXPECT_EQ(instance->statics[0], 1);
}

TEST_F(Debugger, OperationsOverScripts) {
    EXPECT_TRUE(debugger.isScriptRunning("FIRST"));
    EXPECT_FALSE(debugger.isScriptRunning("Third"));
    EXPECT_THROW(
        try { debugger.startScript("Third", {}); } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "script not found: Third");
            throw;
        },
        std::runtime_error);
    debugger.advanceTicks(3);
    debugger.stopAll();
    EXPECT_FALSE(debugger.isScriptRunning("First"));
    EXPECT_EQ(instance->statics[0], 3);

    debugger.attach(nullptr);
    debugger.advanceTicks(3);
    EXPECT_EQ(debugger.tickCounter(), 3U);
    EXPECT_THROW(debugger.stopAll(), std::runtime_error);
}

TEST_F(Debugger, ANewInstanceHasBreakpointsButNoPause) {
    debugger.setBreakpoints({12}, {});
    debugger.advanceTicks(1);
    ASSERT_TRUE(debugger.isPaused());
    const auto rebuilt = instanceOf({{"First", counter(0, 0)}, {"Second", counter(1, 12)}});
    debugger.attach(rebuilt.get());
    EXPECT_FALSE(debugger.isPaused());
    debugger.startScript("Second", {});
    debugger.advanceTicks(1);
    EXPECT_TRUE(debugger.isPaused());
    debugger.attach(nullptr);
}

TEST(LineMap, TheFirstOfOverlappingSpansSaysTheLine) {
    const std::vector<CobLineSpan> spans{{10, 14, 1}, {20, 15, 9}, {12, 12, 9},
                                         {13, 30, 2}, {5, 40, 0},  {0, UINT32_MAX, 3}};
    const CobLineMap lines(spans);
    for (const auto& [pc, line] :
         std::vector<std::pair<std::uint32_t, std::uint32_t>>{{0, 3},
                                                              {4, 3},
                                                              {5, 0},
                                                              {9, 0},
                                                              {10, 1},
                                                              {12, 1},
                                                              {14, 1},
                                                              {15, 2},
                                                              {30, 2},
                                                              {31, 0},
                                                              {40, 0},
                                                              {41, 3},
                                                              {UINT32_MAX, 3}})
        EXPECT_EQ(lines.at(pc).line, line) << pc;
    EXPECT_EQ(CobLineMap().at(7).line, 0U);
}

TEST(WalkPreview, GoesRoundInACircle) {
    CobWalkPreview walk{.enabled = true, .heading = 3.1414F, .x = 0, .z = 0, .speed = 0};
    advanceWalkPreview(walk);
    EXPECT_FLOAT_EQ(walk.heading, 3.1464F - 6.2831855F);
    EXPECT_FLOAT_EQ(walk.z, std::cos(walk.heading));
}

}  // namespace
}  // namespace orb::unitview
