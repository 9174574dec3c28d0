#include "diagnostics/cob_lints.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "cob/opcodes.h"

namespace orb::unitview {
namespace {

using Words = std::vector<std::uint32_t>;

struct ScriptSource {
    std::string name;
    /// Words from one part after the other; jump targets count from the start of all the code.
    std::vector<Words> parts;
};

Words op(Op code, Words operands = {}) {
    operands.insert(operands.begin(), opcodeRow(code).value);
    return operands;
}
const Words kRet = op(Op::ret);

io::CobFile assemble(const std::vector<ScriptSource>& sources) {
    io::CobFile cob;
    for (const ScriptSource& source : sources) {
        cob.scripts.push_back({source.name, static_cast<std::uint32_t>(cob.code.size())});
        for (const Words& words : source.parts)
            cob.code.insert(cob.code.end(), words.begin(), words.end());
    }
    return cob;
}

/// "code target" of each lint.
std::vector<std::string> lintNames(const CobAnalysis& analysis) {
    std::vector<std::string> names;
    for (const Lint& lint : analysis.lints)
        names.push_back(std::string(lint.code) + " " + lint.target);
    return names;
}

const ScriptSource kCreate{"CREATE", {kRet}};
const ScriptSource kKilled{"killed", {kRet}};

struct LintCase {
    const char* what;
    std::vector<ScriptSource> scripts;
    std::vector<std::string> lints;
};

TEST(CobLints, FindsEachMistakeAndNothingElse) {
    const std::vector<LintCase> cases = {
        {"no scripts at all", {}, {}},
        {"entry points in any case", {kCreate, kKilled, {"AimPRIMARY", {kRet}}}, {}},
        {"unit lints come first",
         {{"Helper", {kRet}}},
         {"missing-create create", "missing-killed killed", "unused-script Helper"}},
        {"called by itself only",
         {kCreate, kKilled, {"Loner", {op(Op::call, {2, 0}), kRet}}},
         {"unused-script Loner"}},
        {"called by another",
         {{"Create", {op(Op::call, {2, 0}), kRet}}, kKilled, {"Helper", {kRet}}},
         {}},
        {"two that start each other, reached from outside",
         {{"Create", {op(Op::start, {2, 0}), kRet}},
          kKilled,
          {"Ping", {op(Op::start, {3, 0}), kRet}},
          {"Pong", {op(Op::start, {2, 0}), kRet}}},
         {"recursive-start Ping", "recursive-start Pong"}},
        {"a script between two cycles is in neither",
         {{"Create", {op(Op::start, {0, 0}), op(Op::start, {2, 0}), kRet}},
          kKilled,
          {"Between", {op(Op::start, {3, 0}), kRet}},
          {"Again", {op(Op::start, {3, 0}), kRet}}},
         {"recursive-start Create", "recursive-start Again"}},
        {"a call closes no cycle",
         {{"Create", {op(Op::start, {2, 0}), kRet}}, kKilled, {"A", {op(Op::call, {0, 0}), kRet}}},
         {}},
        {"an index that no script has", {{"Create", {op(Op::start, {7, 0})}}, kKilled}, {}},
        {"a loop back without a pause",
         {{"Create", {op(Op::createLocal), op(Op::jump, {0})}}, kKilled},
         {"loop-no-sleep Create"}},
        {"a loop that sleeps",
         {{"Create", {op(Op::sleep), op(Op::jumpIfZero, {0}), kRet}}, kKilled},
         {}},
        {"a loop that waits for a move",
         {{"Create", {op(Op::waitMove, {0, 1}), op(Op::jump, {0})}}, kKilled},
         {}},
        {"jumps to themselves and forward",
         {{"Create", {op(Op::jump, {0}), op(Op::jump, {9})}}, kKilled},
         {}},
        {"only the first bad piece",
         {{"Create", {op(Op::show, {4}), op(Op::waitTurn, {9, 0}), op(Op::hide, {12}), kRet}},
          kKilled},
         {"out-of-range-piece Create"}},
        {"the order within a script",
         {kCreate,
          kKilled,
          {"All", {op(Op::start, {2, 0}), op(Op::cache, {5}), op(Op::jump, {0})}}},
         {"unused-script All", "recursive-start All", "loop-no-sleep All",
          "out-of-range-piece All"}},
        {"text behind a script's end",
         {{"Create", {kRet, {0x6B726F57, 0x20796220, 0}}}, kKilled},
         {}},
    };
    for (const LintCase& test : cases)
        EXPECT_EQ(lintNames(analyseCob(assemble(test.scripts), 5)), test.lints) << test.what;
}

TEST(CobLints, NamesTheFirstBadPieceAsASignedNumber) {
    const std::uint32_t minusOne = 0xFFFFFFFF;
    const auto analysis = analyseCob(
        assemble({{"Create", {op(Op::explode, {minusOne}), op(Op::show, {9})}}, kKilled}), 5);
    ASSERT_EQ(analysis.lints.size(), 1U);
    EXPECT_EQ(analysis.lints[0].severity, LintSeverity::error);
    EXPECT_EQ(analysis.lints[0].scriptIndex, 0);
    EXPECT_EQ(analysis.lints[0].message,
              "Script 'Create' references piece index -1 but the model has 5 piece(s).");
}

TEST(CobLints, SummarisesAScript) {
    const auto analysis = analyseCob(assemble({{"Go",
                                                {op(Op::call, {1, 0}),
                                                 op(Op::call, {1, 2}),
                                                 op(Op::start, {1, 0}),
                                                 op(Op::turn, {3, 1}),
                                                 op(Op::emitSfx, {1}),
                                                 op(Op::signal),
                                                 op(Op::setSignalMask),
                                                 op(Op::waitTurn, {3, 1}),
                                                 {0xDEAD},
                                                 kRet}},
                                               {"Helper", {op(Op::sleep), op(Op::explode, {0})}}}),
                                     5);
    const ScriptSummary& go = analysis.scripts[0];
    EXPECT_EQ(go.instructionCount, 9U);
    EXPECT_EQ(go.calls, (Words{1, 1}));
    EXPECT_EQ(go.starts, Words{1});
    EXPECT_EQ(go.pieces, (std::vector<std::int32_t>{3, 1, 3}));
    EXPECT_TRUE(go.emitsSfx && go.signals && go.setsSignalMask && go.waitsForTurn);
    EXPECT_FALSE(go.sleeps || go.waitsForMove || go.explodes || go.loops);
    const ScriptSummary& helper = analysis.scripts[1];
    EXPECT_EQ(helper.calledBy, (Words{0, 0}));
    EXPECT_EQ(helper.startedBy, Words{0});
    EXPECT_TRUE(helper.sleeps && helper.explodes);
}

void expectFailure(const io::CobFile& cob, const char* text) {
    try {
        analyseCob(cob, 5);
        ADD_FAILURE() << "not thrown: " << text;
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), text);
    }
}

TEST(CobLints, RefusesCodeThatCannotBeDecoded) {
    io::CobFile cob = assemble({kCreate, kKilled});
    cob.scripts[1].entry = 3;
    expectFailure(cob, "script entry point outside the code");
    cob.scripts[1].entry = 2;  // an empty script at the end
    EXPECT_NO_THROW(analyseCob(cob, 5));
    cob.code.push_back(opcodeRow(Op::turn).value);
    expectFailure(cob, "instruction runs past the end of the code");
}

TEST(CobLints, BoundsWhatHostileFilesCost) {
    // Scripts that share all their code cost its length each.
    io::CobFile shared;
    shared.code.assign(100'000, kRet[0]);
    shared.scripts.assign(100, {"Go", 0});
    expectFailure(shared, "script code too large to analyse");

    // A chain as deep as there are scripts, with a cycle at its end.
    std::vector<ScriptSource> chain;
    constexpr std::uint32_t kLength = 200'000;
    for (std::uint32_t i = 0; i < kLength; ++i)
        chain.push_back({"Go", {op(Op::start, {std::min(i + 1, kLength - 1), 0})}});
    const auto analysis = analyseCob(assemble(chain), 5);
    EXPECT_EQ(analysis.lints.size(), 3U);
    EXPECT_EQ(analysis.lints.back().scriptIndex, static_cast<std::int32_t>(kLength - 1));
}

}  // namespace
}  // namespace orb::unitview
