#include "authoring/fbi_warnings.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orb::unitview {
namespace {

std::vector<std::string> warningsOf(std::string_view text) {
    std::vector<std::string> result;
    for (const FbiWarning& each : findFbiWarnings(text))
        result.push_back(fmt::format("{}:{} {}", each.line, each.column, each.message));
    return result;
}

using Texts = std::vector<std::string>;

TEST(FbiWarningsTest, SayNothingOfWhatModdersWrite) {
    EXPECT_EQ(warningsOf("// a comment\r\n[UNITINFO]\r\n\t{\r\n\tUnitName=A; // why\r\n"
                         "\tWeapon4=X; ZBuffer=1; Designation=B-2;\r\n"
                         "\t[Other] { UnitName=B; }\r\n\t};\r\n/* end */\r\n"),
              Texts());
}

TEST(FbiWarningsTest, TellWhatNobodyMeans) {
    EXPECT_EQ(warningsOf("Name=A;\n[UNITINFO] {\n  MaxDamge=1; maxdamage=2;\n  MAXDAMAGE=3;\n}"),
              (Texts{"1:1 \"Name\" stands outside of all sections",
                     "3:3 unknown key \"MaxDamge\": is \"maxdamage\" meant?",
                     "4:3 \"MAXDAMAGE\" is given twice: the last one counts"}));
    EXPECT_EQ(warningsOf("[UNITINFO] {\n UnitName=A\n Side=B;\n words\n}"),
              (Texts{"2:2 the value of \"UnitName\" runs over the end of its line: is a \";\" "
                     "missing?",
                     "4:2 \"words\" is neither key nor section"}));
    EXPECT_EQ(warningsOf("[UNITINFO] { } }\n[X] {"),
              (Texts{"1:16 this \"}\" closes nothing: what follows is not read"}));
    EXPECT_EQ(
        warningsOf("\n[UNITINFO] { [Deeper] { a=1;"),
        (Texts{"2:1 section [UNITINFO] is never closed", "2:14 section [Deeper] is never closed"}));
}

// A section that is opened again goes on; one of that name elsewhere does not.
TEST(FbiWarningsTest, KnowSectionsByTheirPlace) {
    EXPECT_EQ(warningsOf("[A]{x=1;[A]{x=1;}}[a]{X=2;}").size(), 1U);
}

TEST(FbiWarningsTest, BoundTheirNumberAndTheirLength) {
    std::string text = "[UNITINFO]{";
    for (int i = 0; i < 1000; ++i) text += "a=1;";
    text += std::string(1 << 20, 'k') + "=1;" + std::string(300, '[');
    const auto warnings = findFbiWarnings(text);
    EXPECT_EQ(warnings.size(), kMaxFbiWarnings);
    for (const FbiWarning& each : warnings) EXPECT_LT(each.message.size(), 100U);
}

}  // namespace
}  // namespace orb::unitview
