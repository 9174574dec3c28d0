#include <gtest/gtest.h>

#include "bos/bos_testing.h"

namespace orb::unitview::bos {
namespace {

using testing::compiled;
using testing::shown;

struct Case {
    std::string source;
    std::vector<std::string> diagnostics;
};

std::string repeated(std::string_view text, int count) {
    std::string result;
    while (count-- > 0) result += text;
    return result;
}

TEST(Diagnostics, EveryMistakeHasItsPlaceAndText) {
    const Case cases[] = {
        {"#include \"a/no.h\"", {"1:1 E01 cannot open include file 'a/no.h'"}},
        {"#endif\n#else", {"1:1 E02 #endif without #if", "2:1 E02 #else without #if"}},
        {"piece p;\n #if 1\n#else\n#if 0", {"2:2 E02 unterminated #if"}},
        {"#if 0\n#else\n#else\n#endif", {"3:1 E02 #else behind #else"}},
        {"#pragma x", {"1:1 E03 unknown directive '#pragma'"}},
        {"#define M(x) x", {"1:9 E05 macros with arguments are not supported: 'M'"}},
        {"#if 1 +\n#endif", {"1:1 E08 expected an expression but found the end of the line"}},
        {"#if 4 / (2 - 2)\n#endif",
         {"1:1 E08 expected a divisor other than 0 but found the end of the line"}},
        {"piece p; /* x\ny", {"1:10 E06 unterminated comment"}},
        {"#define P p @\npiece P; @",
         {"1:13 E07 unexpected character '@'", "2:10 E07 unexpected character '@'"}},
        {"#if 0\n#iffy\n#endif\npiece p p;", {"4:9 E08 expected ';' but found 'p'"}},
        {"\xEF\xBB\xBFpiece p@, q;", {"1:8 E07 unexpected character '@'"}},
        {"T() { hide\r\n p \xE4; }",
         {"2:2 E09 unknown piece 'p'", "2:4 E07 unexpected character '\\xE4'"}},
        {"piece p q;", {"1:9 E08 expected ';' but found 'q'"}},
        {"piece p; T() { move p to y 3 now; }", {"1:26 E08 expected an axis but found 'y'"}},
        {"piece p; T() { move p to y-axis 3 fast 1; }",
         {"1:35 E08 expected 'now' or 'speed' but found 'fast'"}},
        {"piece p; T() { move p y-axis 3 now; }", {"1:23 E08 expected 'to' but found 'y-axis'"}},
        {"T() { hide q; }", {"1:12 E09 unknown piece 'q'"}},
        {"T() { return x; }", {"1:14 E10 unknown name 'x'"}},
        {"T() { x = 1; }", {"1:7 E10 unknown name 'x'"}},
        {"T() { call-script U(); }", {"1:19 E11 unknown script 'U'"}},
        {"piece p, P; static-var s, s; T(x, x) { var x; return 0; } t() { }",
         {"1:10 E12 'P' is already declared", "1:27 E12 's' is already declared",
          "1:35 E12 'x' is already declared", "1:44 E12 'x' is already declared",
          "1:59 E12 't' is already declared"}},
        {"piece p; T() { p = 1; }", {"1:16 E13 cannot assign to piece 'p'"}},
        {"T() { sleep 1.5; }", {"1:13 E14 a number with a decimal point must stand in [ ] or < >"}},
        {"T() { sleep 4294967296; sleep -2147483649; sleep [13107.2]; }",
         {"1:13 E15 number out of range", "1:32 E15 number out of range",
          "1:50 E15 number out of range"}},
        {"T() { sleep 3 % 2; }", {"1:15 E16 operator '%' does not exist in bytecode"}},
        {"T() { sleep get 1(1,2,3,4,5); }", {"1:13 E17 get takes at most 4 arguments"}},
        {"sleep 1; x = 2; piece p;",
         {"1:1 E18 statement outside a script", "1:10 E18 statement outside a script"}},
        {"T() { if (1) { sleep 1; }", {"1:26 E19 unexpected end of file in script 'T'"}},
        {"piece p; T() { dont-shadow p; }", {"1:16 E20 dont-shadow has no opcode"}},
        {"T() { sleep " + repeated("(", 200) + "1; }", {"1:141 E22 expressions nest too deep"}},
        {"T() " + repeated("{", 300) + repeated("}", 300), {"1:261 E22 statements nest too deep"}},
        // Several mistakes in one run: each statement is read on its own.
        {"piece p;\nT( {\n hide q;\n sleep;\n}\nU() { sleep ); hide p; if x { sleep 1 } }",
         {"2:4 E08 expected a parameter name but found '{'",
          "4:7 E08 expected an expression but found ';'",
          "6:13 E08 expected an expression but found ')'", "6:27 E08 expected '(' but found 'x'",
          "6:39 E08 expected ';' but found '}'"}},
        {"piece p; T() { if (1) { var q; } turn p to x-axis 5 speed 0; "
         "wait-for-turn p around x-axis; start-script U(1); return 0; } U() { }",
         {"1:29 W2 local 'q' is declared inside a block",
          "1:62 W5 turn with speed 0 before a wait never finishes",
          "1:106 W3 call of 'U' passes 1 arguments, it takes 0"}},
        // What old sources contain passes without a word.
        {"Piece p;;\r#define A 1\n#define A 1\n#define UNUSED\n;T() { Hide P;; Turn p To X-AXIS "
         "[1.] Speed <.5>; Return (A); sleep 1; return 0;}",
         {}},
    };
    for (const Case& each : cases)
        EXPECT_EQ(shown(compiled(each.source).diagnostics), each.diagnostics) << each.source;
}

TEST(Diagnostics, EndWhereTheSourceIsTooLong) {
    EXPECT_EQ(shown(compiled(repeated(";", 600'000)).diagnostics),
              std::vector<std::string>{"1:500001 E23 source is too long"});
    const BosCompilation result = compiled("T() { hide " + repeated("p", 100'000) + "; }");
    EXPECT_EQ(result.diagnostics.at(0).message.size(), DiagnosticList::kMaxMessage + 3);
}

TEST(Diagnostics, EndAfterFiftyErrors) {
    for (const char* const mistake : {" sleep q;", " sleep );", "\n#x\n"}) {
        const BosCompilation result =
            compiled("piece p; T() {" + repeated(mistake, 60) + " hide q; }");
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.diagnostics.size(), DiagnosticList::kMaxErrors);
    }
}

/// Includes out of a few texts.
class TextFiles : public io::AbstractVirtualFileSystem {
public:
    std::optional<io::Bytes> readFile(const io::VirtualPath& asked) const override {
        const std::string_view path = asked.text();
        std::string_view text;
        if (path == "scripts/deep/bad.h") {
            text = "piece p;\nT() { hide q; }\n";
        } else if (path == "scripts/self.h") {
            text = "#include \"self.h\"\n#include \"self.h\"\n";
        } else if (path == "scripts/empty.h") {
            text = "";
        } else if (path == "scripts/locked.h") {
            throw std::runtime_error("inflate error -3");
        } else {
            return std::nullopt;
        }
        return io::Bytes(text.begin(), text.end());
    }
    std::vector<std::string> listFiles(const io::VirtualPath&, std::string_view) const override {
        return {};
    }
    std::vector<std::string> listDirectories(const io::VirtualPath&) const override { return {}; }
    std::optional<io::FileLocation> locate(const io::VirtualPath&) const override { return {}; }

private:
    void visitFiles(const io::VirtualPath&, std::string_view, const io::FileVisitor&,
                    const io::FileFilter&) const override {}
};

TEST(Diagnostics, IncludedFiles) {
    const TextFiles files;
    const auto compile = [&](const std::string& source) {
        return compileBos(source, "scripts/deep/a.bos", &files);
    };
    const auto first = [&](const std::string& source) {
        return shown(compile(source).diagnostics).at(0);
    };
    EXPECT_EQ(first("\n#include \"bad.h\"\n"), "scripts/deep/bad.h:2:12 E09 unknown piece 'q'");
    EXPECT_EQ(first("#include \"self.h\"\n"), "scripts/self.h:1:1 E04 include nesting too deep");
    EXPECT_EQ(first("#include \"locked.h\"\n"),
              "scripts/deep/a.bos:1:1 E01 cannot open include file 'scripts/locked.h': inflate "
              "error -3");
    EXPECT_EQ(first(repeated("#include \"empty.h\"\n", 5000)),
              "scripts/deep/a.bos:4097:1 E04 included files are too large");

    // Code of an included file belongs to its line there.
    const BosCompilation result = compile("\n#include \"bad.h\"\npiece q;\nU() { hide q; }\n");
    ASSERT_TRUE(result.ok);
    std::vector<std::string> places;
    for (const CobLineSpan& span : result.code.lineSpans)
        places.push_back(fmt::format("{}:{}", result.files.at(span.file), span.line));
    EXPECT_EQ(places, (std::vector<std::string>{"scripts/deep/bad.h:2", "scripts/deep/bad.h:2",
                                                "scripts/deep/a.bos:4", "scripts/deep/a.bos:4"}));
}

TEST(Diagnostics, MacrosCannotExplode) {
    std::string source = "#define M0 x\n";
    for (int i = 1; i < 40; ++i)
        source += fmt::format("#define M{0} M{1} M{1}\n#define E{0} E{1} E{1}\n", i, i - 1);
    source += "#define E0\nT() { M39 E39 }";
    const BosCompilation result = compiled(source);
    ASSERT_FALSE(result.ok);
    EXPECT_EQ(shown(result.diagnostics).at(0), "81:7 E21 macros expand to too much text");
}

}  // namespace
}  // namespace orb::unitview::bos
