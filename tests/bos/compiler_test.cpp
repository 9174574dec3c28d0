#include <gtest/gtest.h>

#include "bos/bos_testing.h"
#include "cob/cob_testing.h"

namespace orb::unitview::bos {
namespace {

using testing::compiled;
using testing::shown;
using unitview::testing::Code;
using unitview::testing::n;
using unitview::testing::w;

constexpr std::string_view kDeclarations =
    "piece base, Arm; static-var a, health; Two(x, y) { return x; }\n";
constexpr std::size_t kTwoWords = 5;

/// The words of a script T(p) with this body, without its create local and implicit return.
Code bodyOf(std::string_view body, const BosOptionChoices& choices = {}) {
    const BosCompilation result =
        compiled(fmt::format("{}T(p)\n{{\n{}\n//@no-return\n}}", kDeclarations, body), choices);
    EXPECT_TRUE(result.ok) << body << ::testing::PrintToString(shown(result.diagnostics));
    if (!result.ok) return {};
    const Code& code = result.code.cob.code;
    return Code(code.begin() + kTwoWords + 1, code.end());
}

struct Template {
    std::string_view source;
    Code code;
};

TEST(Compiler, Statements) {
    const std::uint32_t c = w(Op::pushConst);
    const std::uint32_t l = w(Op::pushLocal);
    const std::uint32_t s = w(Op::pushStatic);
    const Template templates[] = {
        {"move ARM to Y-AXIS [-1.5] Speed <10>;", {c, 1820, c, n(-245760), w(Op::move), 1, 1}},
        {"turn base to x-axis 0-p now;", {c, 0, l, 0, w(Op::sub), w(Op::turnNow), 0, 0}},
        {"spin base around z-axis speed <360>;", {c, 0, c, 65520, w(Op::spin), 0, 2}},
        {"spin base around z-axis speed 1 accelerate 2;", {c, 2, c, 1, w(Op::spin), 0, 2}},
        {"stop-spin base around x-axis decelerate 7;", {c, 7, w(Op::stopSpin), 0, 0}},
        {"emit-sfx 256 | 2 from base;", {c, 256, c, 2, w(Op::bitOr), w(Op::emitSfx), 0}},
        {"attach-unit p to arm;", {l, 0, c, 1, c, 0, w(Op::attachUnit)}},
        {"set ARMORED to TRUE;", {c, 20, c, 1, w(Op::set)}},
        {"a = get HEALTH;", {c, 4, w(Op::getUnitValue), w(Op::popStatic), 0}},
        {"a = health;", {s, 1, w(Op::popStatic), 0}},
        {"a = get 9(p);", {c, 9, l, 0, c, 0, c, 0, c, 0, w(Op::get), w(Op::popStatic), 0}},
        {"start-script two(1, 2);", {c, 2, c, 1, w(Op::start), 0, 2}},
        {"++p; a--;",
         {l, 0, c, 1, w(Op::add), w(Op::popLocal), 0, s, 0, c, 1, w(Op::sub), w(Op::popStatic), 0}},
        {"a = -5 - -<10> - -p;",
         {c, n(-5), c, n(-1820), w(Op::sub), c, 0, l, 0, w(Op::sub), w(Op::sub), w(Op::popStatic),
          0}},
        {"a = 1 OR 2 AND 3 == 4 | 5 + 6 * NOT p;",
         {c,
          1,
          c,
          2,
          c,
          3,
          c,
          4,
          w(Op::equal),
          c,
          5,
          c,
          6,
          l,
          0,
          w(Op::logicalNot),
          w(Op::mul),
          w(Op::add),
          w(Op::bitOr),
          w(Op::logicalAnd),
          w(Op::logicalOr),
          w(Op::popStatic),
          0}},
        {"a = p<<1.>==5;", {l, 0, c, 182, w(Op::less), c, 5, w(Op::equal), w(Op::popStatic), 0}},
        {"if (p) return; else ;;",
         {l, 0, w(Op::jumpIfZero), 15, c, 0, w(Op::ret), w(Op::jump), 15}},
        {"while (p) sleep 0x10;",
         {l, 0, w(Op::jumpIfZero), 15, c, 16, w(Op::sleep), w(Op::jump), 6}},
        {"for (a = 1; ; ++a) { var q; }",
         {c, 1, w(Op::popStatic), 0, w(Op::createLocal), s, 0, c, 1, w(Op::add), w(Op::popStatic),
          0, w(Op::jump), 10}},
        {"__words(1, -1, +2);", {1, n(-1), kTwoWords + 2}},
    };
    for (const auto& [source, code] : templates) EXPECT_EQ(bodyOf(source), code) << source;
    BosOptionChoices inSourceOrder;
    inSourceOrder.argumentOrder = ArgumentOrder::source;
    EXPECT_EQ(bodyOf("call-script Two(1, 2);", inSourceOrder),
              (Code{c, 1, c, 2, w(Op::call), 0, 2}));
}

TEST(Compiler, ImplicitReturns) {
    struct Case {
        ImplicitReturn rule;
        std::string_view source;
        std::vector<std::uint32_t> entries;
        std::size_t words;
        std::vector<std::string> warnings;
    };
    const auto safe = ImplicitReturn::safe;
    const auto compat = ImplicitReturn::compat;
    const auto lastWord = ImplicitReturn::lastWord;
    const std::string_view conditional = "A() { if (1) { return 0; } } B() {}";
    const Case cases[] = {
        {safe, "A() { return (0); } B() { }", {0, 3}, 6, {}},
        {compat,
         "A() { return (0); } B() { }",
         {0, 3},
         3,
         {"1:27 W1 control can reach the end of 'B' and runs on into the end of the code"}},
        {safe,
         conditional,
         {0, 10},
         13,
         {"1:28 W1 control can reach the end of 'A' after a conditional return; a return was "
          "added"}},
        {compat,
         conditional,
         {0, 7},
         7,
         {"1:28 W1 control can reach the end of 'A' and runs on into 'B'",
          "1:35 W1 control can reach the end of 'B' and runs on into the end of the code"}},
        {safe, "A() { { return; } }", {0}, 3, {}},
        // the jump over an else ends in no return, an implicit return is one
        {lastWord, "A() { if (1) { return 0; } else {} } B() { return 0; }", {0, 12}, 15, {}},
        {compat,
         "A() { if (1) { return 0; } else {} } B() { return 0; }",
         {0, 9},
         12,
         {"1:36 W1 control can reach the end of 'A' and runs on into 'B'"}},
        {lastWord,
         "A() { } B() { } C() { sleep 1; }",
         {0, 3, 3},
         9,
         {"1:15 W1 control can reach the end of 'B' and runs on into 'C'"}},
        {compat, "A() { } B() { }", {0, 3}, 6, {}},
        {safe, "A() { sleep 1;\n//@no-return\n} B() { }", {0, 3}, 6, {}},
    };
    for (const Case& each : cases) {
        BosOptionChoices choices;
        choices.implicitReturn = each.rule;
        const BosCompilation result = compiled(each.source, choices);
        std::vector<std::uint32_t> entries;
        for (const auto& script : result.code.cob.scripts) entries.push_back(script.entry);
        EXPECT_EQ(entries, each.entries) << each.source;
        EXPECT_EQ(result.code.cob.code.size(), each.words) << each.source;
        EXPECT_EQ(shown(result.diagnostics), each.warnings) << each.source;
    }
}

TEST(Compiler, LineSpans) {
    const BosCompilation result = compiled(
        "piece p;\n"             //
        "T(a)\n"                 // 2: 0
        "{\n"                    //
        "\tif (a) {\n"           // 4: 1-4
        "\t\thide p; show p;\n"  // 5: 5-6, 7-8
        "\t}\n"                  //
        "\telse\n"               // 7: 9-10
        "\t\twhile (1)\n"        // 8: 11-14, 18-19
        "\t\t\tsleep\n 5;\n"     // 9: 15-17
        "}\n");                  // 11: 20-22
    std::vector<std::string> spans;
    for (const CobLineSpan& span : result.code.lineSpans)
        spans.push_back(fmt::format("{}-{}:{}", span.from, span.to, span.line));
    EXPECT_EQ(spans, (std::vector<std::string>{"0-0:2", "1-4:4", "5-6:5", "7-8:5", "9-10:7",
                                               "11-14:8", "15-17:9", "18-19:8", "20-22:11"}));
}

TEST(Compiler, SettingsLineGivesWayToTheRequest) {
    const std::string_view source =
        "\n// A tank.\r\n// linear 65536, angular 182.04444444444445, arguments source\r\n"
        "T() { sleep [1] + <90>; return 0; }";
    const auto words = [&](const BosOptionChoices& choices) {
        const Code& code = compiled(source, choices).code.cob.code;
        return std::pair(code.at(1), code.at(3));
    };
    EXPECT_EQ(words({}), std::pair(65536U, 16384U));
    BosOptionChoices choices;
    choices.linearScale = Scale(81920);
    EXPECT_EQ(words(choices), std::pair(81920U, 16384U));
    EXPECT_EQ(readSettings("x // linear 65536").linearScale, std::nullopt);
    EXPECT_EQ(readSettings("\r// linear 65536\rT() { }").linearScale, Scale(65536));
    EXPECT_EQ(readSettings("// linear 0").linearScale, std::nullopt);
}

TEST(Compiler, Preprocessor) {
    const BosCompilation result = compiled(
        "#include \"SFXtype.h\"\n"
        "#define SPEED 30\n"
        "#define HIDE_ALL hide p; \\\n  hide p; // both\n"
        "#define LOOP LOOP\n"
        "#if defined(SPEED) && SPEED >= 30 /* x\n*/\n"
        "piece p;\n"
        "# else\n"
        "this is \"never read: %$@\n"
        "#include \"nor.h\"\n"
        "#endif\n"
        "#if UNKNOWN\n#elif 1 + 1 == 2\n#ifdef NOPE\n#else\nstatic-var LOOP, heading;\n#endif\n"
        "#else\n@\n#endif\n"
        "T() { HIDE_ALL sleep <SPEED> + HEADING; LOOP = heading; }");
    EXPECT_EQ(shown(result.diagnostics),
              (std::vector<std::string>{"1:1 W6 cannot open include file 'SFXtype.h'; builtin "
                                        "constants stand in"}));
    const Code head(result.code.cob.code.begin(), result.code.cob.code.begin() + 8);
    EXPECT_EQ(head,
              (Code{w(Op::hide), 0, w(Op::hide), 0, w(Op::pushConst), 5460, w(Op::pushConst), 82}));
}

}  // namespace
}  // namespace orb::unitview::bos
