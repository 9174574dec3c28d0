#include <cstdlib>

#include <gtest/gtest.h>

#include "cob/cob_testing.h"
#include "cob/cob_trace.h"
#include "tests/platform.h"

namespace orb::unitview {
namespace {

using testing::cobOf;
using testing::Code;
using testing::instanceOf;
using testing::n;
using testing::w;

TEST(CobTrace, EveryRecordedInstructionHasItsText) {
    // The instruction, what it finds on the stack (top last), its entry.
    struct Case {
        Code instruction;
        Code stack;
        std::string event;
    };
    const Case cases[] = {
        {{w(Op::move), 1, 0}, {n(32768), 65536}, "move arm x-axis to 65536 speed 32768"},
        {{w(Op::turn), 0, 4}, {1, n(-2)}, "turn base y-axis to -2 speed 1"},
        {{w(Op::spin), 0, 2}, {182, 3640}, "spin base z-axis speed 3640 accel 182"},
        {{w(Op::stopSpin), 2, 0}, {182}, "stop-spin piece#2 x-axis decel 182"},
        {{w(Op::show), 9}, {}, "show piece#9"},
        {{w(Op::hide), 0}, {}, "hide base"},
        {{w(Op::moveNow), 0, 2}, {5}, "move-now base z-axis to 5"},
        {{w(Op::turnNow), 0, 2}, {5}, "turn-now base z-axis to 5"},
        {{w(Op::waitTurn), 0, 1}, {}, "wait-turn base y-axis"},
        {{w(Op::waitMove), 0, 1}, {}, "wait-move base y-axis"},
        {{w(Op::emitSfx), 1}, {1024}, "emit-sfx 1024 from arm"},
        {{w(Op::setSignalMask)}, {4}, "set-signal-mask 4"},
        {{w(Op::explode), 0}, {3}, "explode base flags 3"},
        {{w(Op::set)}, {1, 7}, "set ACTIVATION (1) = 7"},
        {{w(Op::set)}, {24, 7}, "set VALUE_24 (24) = 7"},
        {{w(Op::attachUnit)}, {5, 2, 0}, "attach unit 5 piece 2 unknown 0"},
        {{w(Op::dropUnit)}, {5}, "drop unit 5"},
        {{w(Op::playSound)}, {7}, "play-sound 7"},
        {{w(Op::popStatic), 3}, {7}, "static[3] = 7"},
        {{w(Op::start), 7, 0}, {}, "start script#7 (0 args)"},
        {{w(Op::call), 0, 2}, {}, "call Main (2 args)"},
        {{w(Op::sleep)}, {500}, "sleep 500ms"},
    };
    std::set<Op> covered;
    for (const Case& c : cases) {
        Code code;
        for (const std::uint32_t value : c.stack)
            code.insert(code.end(), {w(Op::pushConst), value});
        const auto budget = static_cast<std::int32_t>(c.stack.size() + 1);
        code.insert(code.end(), c.instruction.begin(), c.instruction.end());
        const auto instance = instanceOf({{"Main", code}});
        CobVm(*instance).call("Main", {}, budget);
        ASSERT_EQ(instance->trace.size(), 1U) << c.event;
        EXPECT_EQ(describe(instance->trace[0], instance->file()).event, c.event);
        covered.insert(opOf(c.instruction[0]));
    }
    for (const OpcodeRow& row : opcodeTable())
        EXPECT_EQ(covered.contains(row.op), !row.traceKind.empty()) << row.name;
}

TEST(CobTrace, LongNamesAreCut) {
    auto file = cobOf({{std::string(5000, 's'), {}}});
    file->pieces[0] = std::string(5000, 'p');
    EXPECT_EQ(describe({0, 0, Op::show, {0}}, *file).event, "show " + std::string(128, 'p'));
    EXPECT_EQ(describe({0, 0, Op::start, {0, 1}}, *file).event,
              "start " + std::string(128, 's') + " (1 args)");
}

TEST(CobTrace, StructuredMembersAndTheNewestEntries) {
    const auto file = cobOf({});
    const CobTraceEvent set = describe({3, 1, Op::set, {20, -1}}, *file);
    EXPECT_EQ(set.valueId, 20);
    EXPECT_EQ(set.valueName, "ARMORED");
    EXPECT_EQ(set.result, -1);
    EXPECT_EQ(set.piece, std::nullopt);
    EXPECT_EQ(describe({3, 1, Op::show, {1}}, *file).piece, "arm");

    CobTrace trace;
    for (std::int32_t i = 0; i <= 5000; ++i) trace.record({i, 0, Op::sleep, {}});
    EXPECT_EQ(trace.size(), kMaxTraceEntries);
    EXPECT_EQ(trace[0].tick, 5001 - 4096);
    EXPECT_EQ(trace[kMaxTraceEntries - 1].tick, 5000);
    EXPECT_EQ(trace.seqOf(0), 5001U - 4096 + 1);
    trace.enable(false);
    trace.record({});
    EXPECT_EQ(trace[kMaxTraceEntries - 1].tick, 5000);
    trace.clear();
    EXPECT_EQ(trace.lastSeq(), 5001U);
    trace.enable(true);
    trace.record({});
    EXPECT_EQ(trace.seqOf(0), 5002U);
}

TEST(InstructionTrace, PrintsNamedUnitsToStandardError) {
    setEnvironment("ORB_TRACE_COB_UNITS", "armfoo;ArmTest");
    const auto file = cobOf({{"Main",
                              {w(Op::pushConst),
                               n(-16384),
                               w(Op::pushLocal),
                               5,
                               w(Op::popStatic),
                               2,
                               w(Op::pushConst),
                               n(-16384),
                               w(Op::turn),
                               1,
                               2,
                               w(Op::getUnitValue),
                               w(Op::jumpIfZero),
                               14,
                               w(Op::pushConst),
                               3640,
                               w(Op::spin),
                               0,
                               1,
                               w(Op::waitTurn),
                               1,
                               1,
                               w(Op::call),
                               0,
                               1}}});
    CobInstance traced(file, 3, "ARMTEST");
    const CobInstance silent(file, 3, "ARM");
    setEnvironment("ORB_TRACE_COB_UNITS", nullptr);
    EXPECT_FALSE(silent.traceInstructions);
    traced.tick = 4;
    ::testing::internal::CaptureStderr();
    CobVm(traced).call("Main", {}, 11);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "  [t4] PUSH_CONST -16384\n"
              "  [t4] PUSH_LOCAL [5]=-999\n"
              "  [t4] POP_STATIC [2]<-0\n"
              "  [t4] PUSH_CONST -16384\n"
              "  [t4] TURN arm (cob1->mdl1) axis=2 to=1.57rad (90.0deg) speed=1.57\n"
              "  COB GET_UNIT_VALUE id=0 -> 0\n"
              "  COB JUMP_IF_ZERO cond=0 target=14 TAKEN\n"
              "  [t4] PUSH_CONST 3640\n"
              "  [t4] SPIN base (cob0→mdl0) axis=1 cobSpeed=3640 cobAccel=0 → 20.0 deg/sec\n"
              "  [t4] WAIT_TURN\n"
              "  COB CALL func=0 (Main) params=1\n");
}

TEST(Opcodes, EveryRowIsFoundByItsWordOnly) {
    for (const OpcodeRow& row : opcodeTable().subspan<1>()) {
        EXPECT_EQ(opOf(row.value), row.op);
        for (const std::uint32_t bit : {3U, 4U, 11U, 20U, 28U, 31U})
            EXPECT_EQ(opOf(row.value ^ (1U << bit)), Op::unknown) << row.name << " bit " << bit;
    }
}

}  // namespace
}  // namespace orb::unitview
