#include "io/formats/tdf.h"

#include <limits>

#include <gtest/gtest.h>

#include "io/format_damage.h"
#include "io/formats/tdf_scanner.h"

namespace orb::io {
namespace {

/// A section in its listed order, each name as written there and each value found by that name.
std::string dump(const TdfSection& section) {
    std::string text;
    for (const TdfSection::Entry& entry : section.order) {
        if (entry.kind == TdfSection::Entry::Kind::value)
            text += entry.name + "=" + std::string(section.getString(entry.name).value()) + ";";
        else
            text += entry.name + "{" + dump(*section.child(entry.name)) + "}";
    }
    return text;
}

TEST(Tdf, ParsesWhatItCanAndSkipsTheRest) {
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"", ""},
        {" [ UNITINFO \t] \n { UnitName \n=\t ARM COM ; } ", " UNITINFO{UnitName=ARM COM;}"},
        {"a=1;A=2;", "a=2;"},
        {"[X]{a=1;} [x]{b=2;} x=3;", "X{a=1;b=2;}x=3;"},
        {"a=x // y\n z \r\n;b=2;", "a=x // y\n z;b=2;"},
        {"a= /* kept */ {[=]} ;", "a=/* kept */ {[=]};"},
        {"// c = 1;\n/* d=2; */ a=1; // e=3;\n b=2;", "a=1;b=2;"},
        {"a=1; /* b=2; } c=3;", "a=1;"},
        {"a=1; /", "a=1;"},
        {"/ a=1;", "/ a=1;"},
        {"a;b=1;", "b=1;"},
        {"=a b;c=1;", "c=1;"},
        {"]a=1;=;b=;{c=3;", "a=1;b=;c=3;"},
        {"a=1;} b=2;", "a=1;"},
        {"[x]{a=1;}} b=2;", "x{a=1;}"},
        {"[x] a=1; [y]{b=2;", "a=1;y{b=2;}"},
        {"[x", ""},
        {"[x]", ""},
        {"[x/*]*/{a=1;}", "a=1;"},  // the name ends at the first "]", so no "{" follows
        {"[x] /* c */ // d\n {a=1;}", "x{a=1;}"},
        {"a=1", "a=1;"},
        {"a", ""},
        {"\xE9t\xE9=\xFF;", "\xE9t\xE9=\xFF;"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(dump(parseTdf(text)), expected) << text;
}

TEST(Tdf, FindsNamesInAnyCaseAndKeepsThemUpperCased) {
    const TdfSection root = parseTdf("[UnitInfo]{ai_Limit=5;}");
    ASSERT_NE(root.child("uNITiNFO"), nullptr);
    EXPECT_EQ(root.child("UNITINFO")->getInt("AI_LIMIT"), 5);
    EXPECT_EQ(root.children.begin()->first, "UNITINFO");
    EXPECT_EQ(root.child("UnitInfo2"), nullptr);
    EXPECT_EQ(IgnoringCaseHash()("a"), 0xaf63fc4c860222ecU);  // FNV-1a of "A"
}

TEST(Tdf, ConvertsNumbers) {
    const auto none = std::nullopt;
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    constexpr float kLargest = std::numeric_limits<float>::max();
    const std::string long0 = "0." + std::string(400, '0') + "1", long9(400, '9');
    const struct {
        const char* text;
        std::optional<std::int32_t> asInt;
        std::optional<float> asFloat;
    } cases[] = {{"12", 12, 12.0F},
                 {"+7", 7, 7.0F},
                 {"12.7", 12, 12.7F},
                 {".5", none, 0.5F},
                 {"-.5x", none, -0.5F},
                 {"1e3 units", 1, 1000.0F},
                 {"0x10", 0, 0.0F},
                 {"", none, none},
                 {"-", none, none},
                 {"+-5", none, none},
                 {".", none, none},
                 {"yes", none, none},
                 {"inf", none, none},
                 {"-nan", none, none},
                 {"2147483647", 2147483647, 2147483648.0F},
                 {"2147483648", kMost, 2147483648.0F},
                 {"-2147483648", -kMost - 1, -2147483648.0F},
                 {"99999999999999.5 hp", kMost, 1e14F},
                 {"-99999999999999999999999", -kMost - 1, -1e23F},
                 {"1e39", 1, kLargest},
                 {"-1e999999999", -1, -kLargest},
                 {"1e-60", 1, 0.0F},
                 {long0.c_str(), 0, 0.0F},
                 {long9.c_str(), kMost, kLargest}};
    for (const auto& [text, asInt, asFloat] : cases) {
        TdfSection section;
        section.setValue("key", std::string("\t ") + text);
        EXPECT_EQ(section.getInt("KEY"), asInt) << text;
        EXPECT_EQ(section.getFloat("KEY"), asFloat) << text;
    }
    EXPECT_EQ(TdfSection().getInt("key"), std::nullopt);
}

TEST(Tdf, SkipsSectionsBelowTheNestingLimitToTheirClosingBrace) {
    const auto nested = [](std::size_t depth) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i) text += "[s]{";
        return text + "inner=1;" + std::string(depth - kMaxTdfNesting + 1, '}') + "outer=1;";
    };
    for (const std::size_t depth : {kMaxTdfNesting, kMaxTdfNesting + 1, std::size_t{1'000'000}}) {
        const TdfSection root = parseTdf(nested(depth));
        const TdfSection* section = &root;
        std::size_t levels = 0;
        for (; section->child("s") != nullptr; ++levels) {
            EXPECT_EQ(section->getInt("outer").has_value(), levels == kMaxTdfNesting - 1);
            section = section->child("s");
        }
        EXPECT_EQ(levels, kMaxTdfNesting);
        EXPECT_EQ(section->getInt("inner").has_value(), depth == kMaxTdfNesting);
    }
}

TEST(Tdf, NeverFails) {
    const std::string_view text = "[A]{b=1;//c\n[D]{e=2;/*f*/}g=[h];}i=j;";
    expectSurvivesDamage(Bytes(text.begin(), text.end()), [](const Bytes& bytes) {
        parseTdf({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    });
}

}  // namespace
}  // namespace orb::io
