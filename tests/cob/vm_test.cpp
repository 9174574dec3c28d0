#include <algorithm>
#include <cmath>
#include <numeric>

#include <gtest/gtest.h>

#include "cob/cob_animation.h"
#include "cob/cob_testing.h"
#include "cob/cob_vm.h"
#include "tests/log_capture.h"

// The interpreter where hand-picked values say more than random programs: arithmetic at the edge of
// the number range, limits, angles, scheduling.
namespace orb::unitview {
namespace {

using testing::cobOf;
using testing::Code;
using testing::instanceOf;
using testing::n;
using testing::w;

/// Appends `more` to `code`.
Code operator+(Code code, const Code& more) {
    code.insert(code.end(), more.begin(), more.end());
    return code;
}
Code push(std::int32_t value) {
    return {w(Op::pushConst), n(value)};
}

/// What a script of this code returns.
std::optional<std::int32_t> returned(CobInstance& instance, std::int32_t budget = 100000) {
    return CobVm(instance).call("Main", {}, budget);
}
std::int32_t evaluated(const Code& code) {
    return returned(*instanceOf({{"Main", code + Code{w(Op::ret)}}})).value();
}

struct BinaryCase {
    Op op;
    std::int32_t left, right, expected;
};

TEST(CobVm, TwoOperandInstructionsWrapAndNeverTrap) {
    const BinaryCase cases[] = {
        {Op::add, INT32_MAX, 1, INT32_MIN},
        {Op::sub, INT32_MIN, 1, INT32_MAX},
        {Op::mul, 65536, 65536, 0},
        {Op::mul, INT32_MIN, -1, INT32_MIN},
        {Op::div, -7, 2, -3},
        {Op::div, INT32_MIN, -1, INT32_MIN},
        {Op::div, 5, 0, 0},
        {Op::less, 1, 2, 1},
        {Op::greaterOrEqual, INT32_MIN, 0, 0},
        {Op::logicalXor, 2, 4, 0},
        {Op::logicalAnd, 2, 4, 1},
        {Op::rand, 5, 5, 5},
        {Op::rand, INT32_MIN, INT32_MAX, INT32_MIN},
    };
    for (const BinaryCase& c : cases)
        EXPECT_EQ(evaluated(push(c.left) + push(c.right) + Code{w(c.op)}), c.expected)
            << opcodeRow(c.op).name << " of " << c.left << " and " << c.right;
}

TEST(CobVm, AnEmptyStackReadsZero) {
    for (const OpcodeRow& row : opcodeTable()) {
        if (row.pops != 2 || row.pushes != 1 || row.op == Op::rand) continue;
        const bool holdsForEqual =
            row.op == Op::lessOrEqual || row.op == Op::greaterOrEqual || row.op == Op::equal;
        EXPECT_EQ(evaluated({row.value}), holdsForEqual ? 1 : 0) << row.name;
    }
    EXPECT_EQ(evaluated({w(Op::logicalNot)}), 1);
    EXPECT_EQ(evaluated({w(Op::bitNot)}), -1);
}

struct GetCase {
    std::int32_t id, a1, a2, expected;
};

TEST(CobVm, ComputedUnitValues) {
    const GetCase cases[] = {
        {12, 100 << 16, 0, 16384},
        {12, 0xFF9C, 0, 32768},  // x 0, z -100
        {13, (3 << 16) | 4, 0, 5 * 65536},
        {13, INT32_MIN, 0, 0x7FFFFFFF},
        {14, -1, 0, 49152},
        {15, 3, -4, 5},
        {15, INT32_MIN, INT32_MIN, INT32_MAX},
        {30, 16384, 0, 65536},
        {31, 32768, 0, -65536},
        {32, 8192, 0, 65536},
        {34, 17, 0, 4},
        {34, -4, 0, 0},
        {99, 1, 2, 0},
    };
    for (const GetCase& c : cases)
        EXPECT_EQ(
            evaluated(push(c.id) + push(c.a1) + push(c.a2) + push(0) + push(0) + Code{w(Op::get)}),
            c.expected)
            << c.id << " of " << c.a1;
}

TEST(CobVm, AnglesStayOnTheirSideOfPi) {
    EXPECT_EQ(radiansOfCobAngle(32768), 32768 * 9.58738e-5F - 6.2831855F);
    EXPECT_LT(radiansOfCobAngle(32768), 0);
    EXPECT_GT(radiansOfCobAngle(32767), 0);
    for (int angle = 0; angle < 65536; ++angle)
        ASSERT_EQ(cobAngleOfRadians(radiansOfCobAngle(angle)), angle);
    EXPECT_EQ(cobAngleOfRadians(1e30F), 65535);  // the ends of 64 bits
    EXPECT_EQ(cobAngleOfRadians(-1e30F), 0);
    EXPECT_EQ(cobAngleOfRadians(NAN), 0);
}

TEST(CobVm, TurnTakesTheShortWayAndMoveLandsOnItsTarget) {
    const auto instance = instanceOf(
        {{"Main", push(30000) + Code{w(Op::turnNow), 0, 1} + push(60000) + push(-30000) +
                      Code{w(Op::turn), 0, 1} + push(0x7FFFFFFF) + push(65536) +
                      Code{w(Op::move), 1, 0, w(Op::waitTurn), 0, 1, w(Op::waitMove), 1, 0} +
                      push(1) + Code{w(Op::popStatic), 0} + push(0) + push(655360) +
                      Code{w(Op::move), 1, 1, w(Op::waitMove), 1, 1}}});
    CobVm vm(*instance);
    vm.startScript("Main");
    vm.tick(0);
    EXPECT_EQ(instance->pieces[1].targetOffset[0], -1.0F);
    vm.tick(1);
    EXPECT_EQ(instance->pieces[1].offset[0], -1.0F);
    EXPECT_EQ(instance->pieces[1].moveSpeed[0], 0.0F);
    EXPECT_EQ(instance->pieces[0].angle[1], radiansOfCobAngle(32000));
    EXPECT_EQ(instance->previousPieces[0].angle[1], radiansOfCobAngle(30000));
    vm.tick(2);
    EXPECT_EQ(instance->pieces[0].angle[1], radiansOfCobAngle(34000));
    vm.tick(3);
    EXPECT_EQ(instance->pieces[0].angle[1], radiansOfCobAngle(-30000));
    EXPECT_EQ(instance->statics[0], 1);
    const std::uint64_t pose = instance->poseVersion;
    for (int tick = 4; tick < 100; ++tick) vm.tick(tick);
    EXPECT_EQ(instance->poseVersion, pose);
    ASSERT_EQ(instance->threads.size(), 1U);  // a move at speed 0 never arrives
    EXPECT_EQ(instance->threads[0]->state, CobThreadState::waitingForMove);
}

TEST(CobVm, AFullStackForgetsItsOldestWords) {
    ValueStack stack;
    for (std::int32_t i = 1; i <= 300000; ++i) stack.push(i);
    ASSERT_EQ(stack.words().size(), kMaxStackWords);
    EXPECT_EQ(stack.words().front(), 300000 - 65536 + 1);
    for (std::int32_t i = 0; i < 65536; ++i) ASSERT_EQ(stack.pop(), 300000 - i);
    EXPECT_EQ(stack.pop(), 0);
}

TEST(CobVm, CallDepthAndLocalsStopAtTheirLimits) {
    // Static 0 counts the calls of a script that calls itself for ever with 3 arguments.
    const Code count = Code{w(Op::pushStatic), 0} + push(1) + Code{w(Op::add), w(Op::popStatic), 0};
    const auto deep = instanceOf({{"Main", count + Code{w(Op::call), 0, 3, w(Op::jump), 10}}});
    EXPECT_EQ(returned(*deep), std::nullopt);
    EXPECT_EQ(deep->statics[0], 1025);

    const auto wide = instanceOf({{"Main", {w(Op::createLocal), w(Op::jump), 0}}});
    CobVm(*wide).startScript("Main");
    CobVm(*wide).tick(0);
    EXPECT_EQ(wide->threads[0]->frames.current().size(), kMaxLocalsPerFrame);

    const auto many = instanceOf(
        {{"Main", {w(Op::call), 1, 0xFFFFFFFF, w(Op::ret)}}, {"Sub", push(7) + Code{w(Op::ret)}}});
    EXPECT_EQ(returned(*many), 7);
}

TEST(CobVm, StartPassesTheTopOfTheStackAsTheFirstLocal) {
    const auto instance =
        instanceOf({{"Main", push(1) + push(2) + push(3) + Code{w(Op::start), 1, 3} + push(0) +
                                 Code{w(Op::ret)}},
                    {"Sub", push(50) + Code{w(Op::sleep)}}});
    CobVm(*instance).startScript("Main");
    CobVm(*instance).tick(0);
    ASSERT_EQ(instance->threads.size(), 1U);
    const auto locals = instance->threads[0]->frames.frame(0);
    EXPECT_EQ(std::vector(locals.begin(), locals.end()), (std::vector<std::int32_t>{3, 2, 1}));
    EXPECT_EQ(instance->threads[0]->sleepUntil, 2);
}

TEST(CobVm, ATaskThatNeverSleepsGoesOnInTheNextTick) {
    const Code count = Code{w(Op::pushStatic), 0} + push(1) + Code{w(Op::add), w(Op::popStatic), 0};
    const auto instance = instanceOf({{"Main", count + Code{w(Op::jump), 0}}});
    CobVm(*instance).startScript("Main");
    CobVm(*instance).tick(0);
    EXPECT_EQ(instance->statics[0], 4096 / 5);
    EXPECT_EQ(instance->threads[0]->pc, 2U);  // after the one instruction that was left over
}

TEST(CobVm, ASignalEndsItsOwnThread) {
    const auto instance =
        instanceOf({{"Main", push(6) + Code{w(Op::setSignalMask)} + push(2) + Code{w(Op::signal)} +
                                 push(1) + Code{w(Op::popStatic), 0}},
                    {"Other", push(4) + Code{w(Op::setSignalMask)} + push(0) +
                                  Code{w(Op::sleep), w(Op::jump), 12}}});
    CobVm vm(*instance);
    vm.startScript("Other");
    vm.startScript("Main");
    vm.tick(0);
    EXPECT_EQ(instance->threads.size(), 1U);
    EXPECT_EQ(instance->statics[0], 0);
}

TEST(CobVm, NoiseIsNotReportedForEver) {
    const QuietLog quiet;
    Code noise(5000);
    std::iota(noise.begin(), noise.end(), 0U);
    const auto instance = instanceOf({{"Main", noise}});
    EXPECT_EQ(returned(*instance), std::nullopt);
    EXPECT_EQ(instance->unknownOpcodes.size(), 4096U);
}

/// How many lines of the log hold `text` after their level.
std::ptrdiff_t count(const LogCapture& log, const std::string& text) {
    return std::ranges::count_if(
        log.lines(), [&](const std::string& line) { return line.ends_with("] " + text); });
}

TEST(CobVm, ComplaintsAreLoggedOnce) {
    const LogCapture log;
    const auto instance =
        instanceOf({{"Create", {0xDEADBEEF, w(Op::start), 0, 0, 0xDEADBEEF, w(Op::jump), 0}},
                    {"Flash", push(257) + Code{w(Op::emitSfx), 1, w(Op::ret)}}});
    CobVm vm(*instance);
    vm.startScript("create");
    for (int tick = 0; tick < 3; ++tick) vm.tick(tick);
    vm.call("Flash", {}, 10);
    vm.call("Flash", {}, 10);
    EXPECT_EQ(instance->threads.size(), kMaxConcurrentThreadsPerUnit);
    EXPECT_EQ(count(log, "[cob-script] startScript name=create idx=0"), 1);
    EXPECT_EQ(count(log, "COB: unknown opcode 0xdeadbeef at pc=0 (further occurrences silenced)"),
              1);
    EXPECT_EQ(count(log,
                    "CobVm: START dropped — unit hit MaxConcurrentThreadsPerUnit (256). Likely a "
                    "recursive Create chain."),
              1);
    EXPECT_EQ(count(log, "[cob-vm] EMIT_SFX type=257 piece=1 hasCb=0"), 1);
}

TEST(CobInstance, PiecesMatchByNameInAnyCase) {
    const std::vector<std::string> model{"turret", "ARM", "Base"};
    EXPECT_EQ(matchPieces(*cobOf({}), model), (std::vector<std::int32_t>{2, 1, kNoPiece}));
}

TEST(CobInstance, ScriptsOwnTheCodeUpToTheNextEntry) {
    const auto file = cobOf({{"Code", Code(7)}});
    file->scripts = {{"C", 5}, {"B", 5}, {"A", 1}, {"Far", 900}};
    CobInstance instance(file, 1);
    for (const auto& [pc, name] :
         {std::pair(0U, ""), {1, "A"}, {4, "A"}, {5, "C"}, {6, "C"}, {7, ""}, {900, ""}})
        EXPECT_EQ(instance.scriptNameAt(pc), name) << pc;

    instance.threads.push_back(instance.newThread(2, {}));
    EXPECT_TRUE(instance.isScriptRunning(2));
    instance.threads[0]->pc = 6;
    EXPECT_FALSE(instance.isScriptRunning(2));
    EXPECT_TRUE(instance.isScriptRunning(0));
    EXPECT_TRUE(instance.isScriptRunning(1));
}

}  // namespace
}  // namespace orb::unitview
