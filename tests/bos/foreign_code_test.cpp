#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "bos/bos_testing.h"
#include "bos/disassembler.h"
#include "bos/random_program.h"
#include "bos/source_compare.h"
#include "cob/cob_testing.h"

namespace orb::unitview::bos {
namespace {

using testing::compiled;
using testing::shown;
using unitview::testing::cobOf;
using unitview::testing::Code;
using unitview::testing::n;
using unitview::testing::w;

/// The text compiles to the file's code, whatever that is.
BosDisassembly expectSameCode(const io::CobFile& cob) {
    const BosDisassembly text = disassembleCob(cob);
    const BosCompilation again = compiled(text.source);
    EXPECT_TRUE(again.ok) << ::testing::PrintToString(shown(again.diagnostics)) << text.source;
    EXPECT_EQ(again.code.cob.code, cob.code) << text.source;
    EXPECT_EQ(again.code.cob.pieces, cob.pieces) << text.source;
    EXPECT_TRUE(text.isExact) << text.source;
    return text;
}

struct Case {
    std::string_view what;
    Code code;
    std::string_view line;  ///< of the text
};

TEST(ForeignCode, WhatTheLanguageCannotSayStandsAsWords) {
    const std::uint32_t c = w(Op::pushConst);
    const Case cases[] = {
        {"piece",
         {c, 1, c, 2, w(Op::turn), 9, 1},
         "__words(0x10021001, 1, 0x10021001, 2, "
         "0x10002000, 9, 1); // TURN"},
        {"axis", {w(Op::waitTurn), 0, 3}, "__words(0x10011000, 0, 3); // WAIT_TURN"},
        {"script", {w(Op::start), 7, 0}, "__words(0x10061000, 7, 0); // start"},
        {"static", {c, 1, w(Op::popStatic), 8}, "__words(0x10021001, 1, 0x10023004, 8);"},
        {"local", {w(Op::pushLocal), 0, w(Op::sleep)}, "__words(0x10021002, 0, 0x10013000);"},
        {"value left", {w(Op::call), 0, 0, w(Op::pop)}, "__words(0x10024000); // pop"},
        {"attached", {c, 1, c, 2, c, 3, w(Op::attachUnit)}, "__words(0x10021001, 1, 0x10021001, 2"},
        {"jump out", {w(Op::jump), 900}, "__words(0x10064000, 900); // jump"},
        {"into a word", {w(Op::jump), 1, c, 1, w(Op::sleep)}, "__words(0x10064000, +1); // jump"},
        {"crossed", {c, 1, w(Op::jumpIfZero), 6, w(Op::jump), 2}, "//@raw"},
        // such words were once left out as a text without characters, and nothing told of it
        {"zeros", {w(Op::ret), 0, 0}, "__words(0x00000000); // unknown"},
        {"unknown", {w(Op::ret), 0x12345678, 5}, "__words(0x12345678); // unknown"},
        {"cut", {c}, "__words(0x10021001); // PUSH_CONST"},
        {"deep", {}, "//@raw"},
    };
    for (const Case& each : cases) {
        Code code = each.code;
        if (each.what == "deep") {
            for (std::uint32_t i = 0; i < 300; ++i)
                code.insert(code.end(), {c, 1, w(Op::jumpIfZero), 1200});
        }
        const auto cob = cobOf({{"T", code}});
        const BosDisassembly text = expectSameCode(*cob);
        EXPECT_EQ(text.rawScripts, std::vector<std::string>{"T"}) << each.what;
        EXPECT_NE(text.source.find(each.line), std::string::npos) << each.what << text.source;
    }
}

TEST(ForeignCode, ReturnsWithoutAValue) {
    const std::uint32_t c = w(Op::pushConst);
    const auto cob = cobOf(
        {{"A", {c, 1, w(Op::jumpIfZero), 6, w(Op::createLocal), w(Op::ret), c, 0, w(Op::ret)}},
         {"B", {w(Op::createLocal), w(Op::ret)}}});
    const BosDisassembly text = expectSameCode(*cob);
    EXPECT_EQ(text.rawScripts, std::vector<std::string>{});
    EXPECT_EQ(text.options.valuelessReturn, ValuelessReturn::bare);
    EXPECT_EQ(text.source,
              "// linear 163840, angular 182, arguments vm, valueless-return bare\n"
              "\npiece base, arm, \"\";\n"
              "\nstatic-var static_0, static_1, static_2, static_3, static_4, static_5, static_6, "
              "static_7;\n"
              "\nA()\n{\n\tif (1)\n\t{\n\t\treturn;\n\t}\n\treturn (0);\n}\n"
              "\nB()\n{\n\treturn;\n}\n");
    BosOptionChoices push0;
    push0.valuelessReturn = ValuelessReturn::push0;
    const BosDisassembly words = disassembleCob(*cob, push0);
    EXPECT_NE(words.source.find("__words(0x10022000, 0x10065000); // RETURN"), std::string::npos);
    EXPECT_EQ(words.options, BosOptions{});
    EXPECT_TRUE(words.isExact);
}

TEST(ForeignCode, NamesOfAnyKind) {
    io::CobFile cob = *cobOf({{"if", {w(Op::hide), 3, w(Op::hide), 1}},
                              {"Odd \"name\"\n\xFF", {w(Op::start), 0, 0}},
                              {"T", {w(Op::explode), 0}},
                              {"t", {w(Op::pushConst), 16, w(Op::explode), 4}}});
    cob.pieces = {"turn", "a b", "", "BASE", "FIRE", "base", "static_0", "local_0"};
    const BosDisassembly text = expectSameCode(cob);
    EXPECT_EQ(text.rawScripts, std::vector<std::string>{"T"});  // explodes without a value
    EXPECT_NE(text.source.find("piece \"turn\", \"a b\", \"\", BASE, FIRE, \"base\", static_0"),
              std::string::npos);
    EXPECT_NE(text.source.find("static-var static_0_,"), std::string::npos);
    EXPECT_NE(text.source.find("explode FIRE type 16;"), std::string::npos);
    EXPECT_NE(text.source.find("\"Odd \\x22name\\x22\\x0A\\xFF\"()"), std::string::npos);
}

TEST(ForeignCode, InventedNamesGiveWay) {
    auto cob = cobOf({{"T", {w(Op::createLocal)}}});
    cob->pieces = {"local_0", "LOCAL_0_", "local_0_2", "static_0"};
    cob->staticVarCount = 2;
    const std::string text = expectSameCode(*cob).source;
    EXPECT_NE(text.find("static-var static_0_, static_1;\n\nT(local_0_3)"), std::string::npos)
        << text;
}

TEST(ForeignCode, ReadsAsItWasWritten) {
    const std::string text =
        "// linear 163840, angular 182, arguments vm\n"
        "\n"
        "piece base, flare;\n"
        "\n"
        "static-var static_0;\n"
        "\n"
        "QueryPrimary(piecenum)\n"
        "{\n"
        "\tpiecenum = flare;\n"
        "\treturn (0);\n"
        "}\n"
        "\n"
        "AimPrimary(heading, pitch)\n"
        "{\n"
        "\tvar local_2;\n"
        "\tif (heading < 5)\n"
        "\t{\n"
        "\t\tmove base to y-axis [2.5] + rand([0], [-1]) speed [1.2];\n"
        "\t}\n"
        "\telse if (!(heading == 3 OR pitch > 1 AND 2))\n"
        "\t{\n"
        "\t}\n"
        "\telse\n"
        "\t{\n"
        "\t\texplode flare type FALL | FIRE;\n"
        "\t}\n"
        "\twhile (get UNKNOWN_UNIT_VALUE(28) - (1 - 2) * 3)\n"
        "\t{\n"
        "\t\tstart-script QueryPrimary(get PIECE_XZ(0));\n"
        "\t}\n"
        "\tfor (;;)\n"
        "\t{\n"
        "\t\tspin base around z-axis speed <360> accelerate <0.5>;\n"
        "\t\tset ACTIVATION to static_0;\n"
        "\t}\n"
        "\t//@no-return\n"
        "}\n";
    // The leading "var" is a parameter as far as the code can tell.
    const BosCompilation first = compiled(text);
    ASSERT_TRUE(first.ok) << ::testing::PrintToString(shown(first.diagnostics));
    std::string expected = text;
    expected.replace(expected.find("pitch)\n{\n\tvar local_2;\n"), 23, "pitch, local_2)\n{\n");
    EXPECT_EQ(disassembleCob(first.code.cob).source, expected);
}

TEST(ForeignCode, TextBehindTheCodeIsLeftOut) {
    const auto cob = cobOf({{"Create", {w(Op::pushConst), 0, w(Op::ret), 0x656D6F53, 0x656E6F, 0}},
                            {"Stop", {w(Op::hide), 1}}});
    const BosDisassembly text = disassembleCob(*cob);
    EXPECT_EQ(text.rawScripts, std::vector<std::string>{});
    EXPECT_TRUE(text.hasTrailingText);
    EXPECT_FALSE(text.isExact);
    EXPECT_NE(text.source.find("// text behind the code: Someone\n"), std::string::npos);
    EXPECT_EQ(compiled(text.source).code.cob.scripts[1].entry, 3U);
    // Lines are those of the file that was given.
    EXPECT_EQ(text.lineSpans.back().from, 6U);
    const SourceComparison compared = compareSource(*cob, text.source, "a.bos", nullptr);
    EXPECT_TRUE(compared.isIdentical);
    EXPECT_TRUE(compared.hasTrailingText);
    EXPECT_FALSE(compared.isSameCode);
}

TEST(SourceCompare, FindsSettingsAndTellsDifferences) {
    const std::string source =
        "piece p; static-var s;\n"
        "A() { move p to x-axis [1.23456] now; return 0; }\n"
        "B() { turn p to x-axis <90> speed 3; call-script A(); return 0; }\n"
        "C() { sleep 1; return 0; }\n"
        "D(x, y) { if (1) { return 0; } }\n"
        "E() { start-script D(1, 2); return 0; }\n";
    const BosOptions settings{Scale(65536), Scale(65536.0 / 360), ImplicitReturn::compat,
                              ValuelessReturn::push0, ArgumentOrder::source};
    const io::CobFile cob = compiled(source, testing::all(settings)).code.cob;
    const SourceComparison same = compareSource(cob, source, "a.bos", nullptr);
    EXPECT_TRUE(same.isIdentical && same.isSameCode);
    EXPECT_EQ(same.options, settings);

    std::string edited = source;
    const auto replace = [&](std::string_view from, std::string_view to) {
        edited.replace(edited.find(from), from.size(), to);
    };
    replace("[1.23456]", "[1.23458]");
    replace("speed 3", "speed 4");
    replace("sleep 1;", "sleep 1 + 1;");
    replace("D(x, y)", "F() { return 0; } G() { return 0; } d(x, y)");
    replace("E()", "H()");
    replace("piece p;", "piece p, q;");
    const SourceComparison other = compareSource(cob, edited, "a.bos", nullptr);
    std::vector<std::string> scripts;
    for (const ScriptComparison& each : other.scripts)
        scripts.push_back(fmt::format("{} {} {}/{}", each.name, statusText(each.status),
                                      each.differing, each.words));
    EXPECT_EQ(scripts,
              (std::vector<std::string>{"A constants-rounded 1/8", "B constants 1/13", "C code 7/6",
                                        "D identical 0/9", "E missing in source 10/10",
                                        "F missing in bytecode 3/3", "G missing in bytecode 3/3",
                                        "H missing in bytecode 10/10"}));
    EXPECT_TRUE(other.piecesDiffer);
    EXPECT_FALSE(other.isIdentical || other.staticVarsDiffer || other.scriptOrderDiffers);
    EXPECT_FALSE(compareSource(cob, "T(", "a.bos", nullptr).ok);
}

TEST(SourceCompare, FindsTheRuleByWhichAReturnWasLeftOut) {
    const std::string_view source = "A() { sleep 1; } B() { } C() { sleep 2; }";
    for (const auto rule :
         {ImplicitReturn::safe, ImplicitReturn::compat, ImplicitReturn::lastWord}) {
        BosOptionChoices choices;
        choices.implicitReturn = rule;
        const io::CobFile cob = compiled(source, choices).code.cob;
        const SourceComparison compared = compareSource(cob, source, "a.bos", nullptr);
        EXPECT_TRUE(compared.isIdentical);
        EXPECT_EQ(compared.options.implicitReturn == ImplicitReturn::lastWord,
                  rule == ImplicitReturn::lastWord);
    }
}

TEST(SourceCompare, ScriptsAreMatchedByNameAndInOrder) {
    const std::string source =
        "A() { sleep 1; } B() { sleep 2; } B() { sleep 3; } C() { sleep 4; }";
    const io::CobFile cob = compiled(source).code.cob;
    EXPECT_TRUE(compareSource(cob, source, "a.bos", nullptr).isIdentical);
    const auto orderDiffers = [&](std::string_view other) {
        return compareSource(cob, other, "a.bos", nullptr).scriptOrderDiffers;
    };
    EXPECT_FALSE(orderDiffers("A() { sleep 1; } C() { sleep 4; }"));  // one is missing
    EXPECT_TRUE(orderDiffers("C() { sleep 4; } A() { sleep 1; }"));
}

/// Whatever the bytes are, compiler and disassembler come to an end, and what compiles is sound.
void expectSurvives(const std::string& source) {
    const BosCompilation result = compiled(source);
    EXPECT_EQ(result.ok, std::ranges::none_of(result.diagnostics, [](const BosDiagnostic& each) {
                  return each.severity == Severity::error;
              }));
    if (result.ok) expectSameCode(result.code.cob);
}

TEST(Hostile, SourcesCutAndChanged) {
    std::mt19937 random(7);
    const std::string_view pieces[] = {"{",    "}",  "(", ")",       ";",        "/*",
                                       "\"",   "<",  "[", "#if 1\n", "//@raw\n", "\n#define if ",
                                       "\xFF", "0x", "-", "else "};
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        const std::string source = testing::randomProgram(seed);
        const std::size_t step = seed < 6 ? 1 : 37;
        for (std::size_t cut = 0; cut < source.size(); cut += step)
            expectSurvives(source.substr(0, cut));
        for (int i = 0; i < 40; ++i) {
            std::string changed = source;
            for (int edits = 0; edits < 3; ++edits)
                changed.insert(random() % changed.size(), pieces[random() % std::size(pieces)]);
            expectSurvives(changed);
        }
    }
}

TEST(Hostile, BytecodeCutAndChanged) {
    std::mt19937 random(8);
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        io::CobFile cob = compiled(testing::randomProgram(seed)).code.cob;
        for (int i = 0; i < 12 && !cob.code.empty(); ++i) {
            const auto any = [&] { return random() % (cob.code.size() + 1); };
            if (i % 3 == 0) cob.code.resize(any());
            if (i % 3 == 1 && !cob.code.empty())
                cob.code[random() % cob.code.size()] = opcodeTable()[random() % kOpCount].value;
            if (i % 3 == 2 && !cob.code.empty())
                cob.code[random() % cob.code.size()] = static_cast<std::uint32_t>(any());
            if (i == 7) cob.scripts[0].entry = static_cast<std::uint32_t>(any());
            const BosDisassembly text = disassembleCob(cob);
            const BosCompilation again = compiled(text.source);
            EXPECT_TRUE(again.ok) << ::testing::PrintToString(shown(again.diagnostics));
            if (text.isExact) {
                EXPECT_EQ(again.code.cob.code, cob.code);
            }
            for (const CobLineSpan& span : text.lineSpans) ASSERT_LT(span.to, cob.code.size());
        }
    }
}

TEST(Hostile, CodeThatNestsWithoutEnd) {
    const std::uint32_t c = w(Op::pushConst);
    Code values;   // 1 + (1 + (1 + …
    Code negated;  // !!!!…
    Code drawn;    // rand(rand(rand(…
    Code loops;    // a jump to the first word, again and again
    for (int i = 0; i < 20000; ++i) {
        values.insert(values.end(), {c, 1});
        negated.push_back(w(Op::logicalNot));
        drawn.insert(drawn.end(), {c, 1, w(Op::rand)});
        loops.insert(loops.end(), {w(Op::jump), 0});
    }
    values.insert(values.end(), 19999, w(Op::add));
    values.push_back(w(Op::sleep));
    negated.insert(negated.begin(), {c, 1});
    negated.push_back(w(Op::sleep));
    drawn.insert(drawn.begin(), {c, 1});
    drawn.push_back(w(Op::sleep));
    for (const Code& code : {values, negated, drawn, loops})
        EXPECT_EQ(expectSameCode(*cobOf({{"T", code}})).rawScripts.size(), 1U);
}

}  // namespace
}  // namespace orb::unitview::bos
