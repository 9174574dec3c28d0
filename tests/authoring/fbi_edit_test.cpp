#include "authoring/fbi_edit.h"

#include <random>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "io/ascii.h"
#include "io/formats/tdf.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

using Changes = std::vector<FbiChange>;

std::string edited(std::string_view text, const Changes& changes) {
    try {
        checkFbiChanges(changes);
        return editFbi(text, changes).text;
    } catch (const RequestError& error) {
        return error.what();
    }
}

TEST(FbiEditTest, EditsInPlace) {
    struct Case {
        const char* before;
        Changes changes;
        const char* after;
    };
    const Case cases[] = {
        // A value, in any case; what stands around it stays.
        {"[UNITINFO]\n{\n\tMaxDamage = 10 ; // hull\n}",
         {{"MAXDAMAGE", "20"}},
         "[UNITINFO]\n{\n\tMaxDamage = 20 ; // hull\n}"},
        {"[UnitInfo]{A=;}", {{"a", " x y "}}, "[UnitInfo]{A=x y;}"},
        // What reads as the wanted value stays as it is written.
        {"[UNITINFO]{MaxVelocity=2.00;BMcode=+1 ;CanMove=2;Name=2.00;}",
         {{"maxvelocity", "2"}, {"bmcode", "1.0"}, {"canmove", "1"}, {"name", "2"}},
         "[UNITINFO]{MaxVelocity=2.00;BMcode=+1 ;CanMove=2;Name=2;}"},
        {"[UNITINFO]{A=2.00;MaxVelocity=x;BMcode=2;MaxSlope=7.9;}",
         {{"a", "2"}, {"maxvelocity", "0"}, {"bmcode", "2.5"}, {"maxslope", "7"}},
         "[UNITINFO]{A=2;MaxVelocity=0;BMcode=2.5;MaxSlope=7.9;}"},
        // Of several assignments, in sections of one name, the last one counts.
        {"[UNITINFO]{A=1;a=2;}[X]{A=3;}[unitinfo]{A=4;[C]{A=5;}}",
         {{"A", "9"}},
         "[UNITINFO]{A=1;a=2;}[X]{A=3;}[unitinfo]{A=9;[C]{A=5;}}"},
        {"[UNITINFO]\r\n{\r\n  A=1;\r\n  B=2;\r\n  a=3; // c\r\n}",
         {{"A", {}}},
         "[UNITINFO]\r\n{\r\n  B=2;\r\n   // c\r\n}"},
        {"[UNITINFO]{/*c*/A=1;B=2;}", {{"A", {}}, {"C", {}}}, "[UNITINFO]{/*c*/B=2;}"},
        // New keys, spaced like the last statement.
        {"[UNITINFO]\r\n{\r\n  A = 1;\r\n}\r\n",
         {{"B", "2"}, {"C", "3"}},
         "[UNITINFO]\r\n{\r\n  A = 1;\r\n  B = 2;\r\n  C = 3;\r\n}\r\n"},
        {"[UNITINFO]{A=1; B=2;}", {{"C", "3"}}, "[UNITINFO]{A=1; B=2; C=3;}"},
        {"[UNITINFO]\n\t{\n\tA=1; /*a*/ // b\n\t}",
         {{"B", "2"}},
         "[UNITINFO]\n\t{\n\tA=1; /*a*/ // b\n\tB=2;\n\t}"},
        {"[UNITINFO]{A=1;\n[CANBUILD]{unit1=X;} // c\n}",
         {{"B", "2"}},
         "[UNITINFO]{A=1;\n[CANBUILD]{unit1=X;}B=2; // c\n}"},
        {"[UNITINFO]\n{\n}", {{"B", "2"}}, "[UNITINFO]\n{\n\tB=2;\n}"},
        {"[UNITINFO]\n{\n\tA=1;\n}", {{"A", {}}, {"B", "2"}}, "[UNITINFO]\n{\n\tB=2;\n}"},
        // Malformed, but readable.
        {"[UNITINFO]\n{\nA=1", {{"B", "2"}}, "[UNITINFO]\n{\nA=1;\nB=2;"},
        {"[UNITINFO]\n{\nA=1; // end", {{"B", "2"}}, "[UNITINFO]\n{\nA=1; // end\nB=2;"},
        {"[UNITINFO]{junk ] A=1; junk }", {{"B", "2"}}, "[UNITINFO]{junk ] A=1; B=2; junk }"},
        {"[UNITINFO]{[X] A=1; {B=2;}}",
         {{"A", {}}},
         "cannot edit: the text around a changed key is malformed"},
        // A forgotten ";" makes the next statement part of the value.
        {"[UNITINFO]\n{\nA=1\nB=2;\n}",
         {{"A", "3"}},
         "cannot edit: the text around a changed key is malformed: the value of \"A\" runs over "
         "the "
         "end of its line"},
        {"[UNITINFO]\n{\nA=1\n// notes\nB=2;\n}",
         {{"A", {}}},
         "cannot edit: the text around a changed key is malformed: the value of \"A\" runs over "
         "the "
         "end of its line"},
        {"[UNITINFO]\n{\nA=\nB=2;\n}",
         {{"a", "3"}},
         "cannot edit: the text around a changed key is malformed: the value of \"A\" runs over "
         "the "
         "end of its line"},
        {"[UNITINFO]\n{\nA=1\nB=2;\n}", {{"C", "3"}}, "[UNITINFO]\n{\nA=1\nB=2;\nC=3;\n}"},
        {"[UNITINFO]\n{\nA=\n1;\n}", {{"A", "3"}}, "[UNITINFO]\n{\nA=\n3;\n}"},
        {"[UNIT]{A=1;}", {{"A", "2"}}, "fbi-parse-error: no [UNITINFO] section"},
        // What the format cannot hold.
        {"", {{" ", "1"}}, "bad key \" \": it is empty"},
        {"", {{"a ", "1"}}, "bad key \"a \": it begins or ends with white space"},
        {"", {{"//a", "1"}}, "bad key \"//a\": it begins with a comment"},
        {"", {{"a]", {}}}, "bad key \"a]\": it contains one of \"=;{}[]\", a line break or a NUL"},
        {"", {{"A", "1"}, {"a", "1"}}, "bad key \"A\": it is given twice"},
        {"", {{"a", "1;2"}}, "bad value of \"a\": it contains a \";\", a line break or a NUL"},
        {"", {{"a", "1\n"}}, "bad value of \"a\": it contains a \";\", a line break or a NUL"},
    };
    for (const auto& [before, changes, after] : cases)
        EXPECT_EQ(edited(before, changes), after) << before;
}

TEST(FbiEditTest, TellsWhatChanged) {
    const Changes changes{{"NEW", "1"}, {"a", "1"}, {"b", "3"}, {"c", {}}, {"gone", {}}};
    EXPECT_EQ(editFbi("[UNITINFO]{A=1;B=2;C=3;}", changes).changed,
              (std::vector<std::string>{"B", "C", "NEW"}));
}

/// Writes random texts, well-formed and not, and remembers nothing about them.
class TextMaker {
public:
    explicit TextMaker(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t count) { return random_() % count; }

    std::string pick(std::initializer_list<const char*> choices) {
        return choices.begin()[below(choices.size())];
    }

    std::string text() {
        std::string result = pick({"", "// head\r\n", "/* head */", "\xE9 = junk; "});
        for (std::size_t i = below(3); i > 0; --i)
            result += section(pick({"UNITINFO", "Other"}), 2);
        return result + section("UnitInfo", 2) + pick({"", "\n", " // tail", "}", "[X]"});
    }

private:
    std::string section(const std::string& name, int depth) {
        std::string result = "[" + name + "]" + blank() + "{" + blank();
        for (std::size_t i = below(7); i > 0; --i) {
            if (depth > 0 && below(6) == 0)
                result += section(pick({"CANBUILD", "UNITINFO", "x"}), depth - 1);
            else
                result += statement();
            result += blank();
        }
        return result + (below(20) ? "}" : "");
    }

    std::string statement() {
        if (below(12) == 0) return pick({"junk", "[junk]", "=", ";", "{", "]", "[x", "}"});
        return pick({"Alpha", "alpha", "BETA", "Gamma ray", "d\xE9lta"}) +
               pick({"=", " = ", "=\n"}) +
               pick({"1", "", "two words", "a//b", "{x}[y]", "\xE9t\xE9", "1\r\n2"}) +
               pick({";", ";", ";", " ;", ""});
    }

    std::string blank() {
        return pick(
            {"", " ", "\n", "\r\n\t", "\n\n  ", "// c = 1;\n", " /* [x]{ */ ", "\t// d\r\n"});
    }

    std::mt19937 random_;
};

/// The text is an other one with stretches taken out; both are read from left to right.
bool isSubsequence(std::string_view part, std::string_view whole) {
    std::size_t position = 0;
    for (const char c : whole) position += position < part.size() && part[position] == c;
    return position == part.size();
}

/// The trees are equal but for one key of one section.
void expectSameBut(const io::TdfSection& before, const io::TdfSection& after,
                   const io::TdfSection* section, const std::string& key) {
    const auto isEdited = [&](const std::string& name) {
        return &before == section && name == key;
    };
    for (const auto& [name, value] : before.values)
        EXPECT_TRUE(isEdited(name) || after.getString(name) == value) << name;
    for (const auto& [name, value] : after.values)
        EXPECT_TRUE(isEdited(name) || before.getString(name)) << name;
    ASSERT_EQ(after.children.size(), before.children.size());
    for (const auto& [name, child] : before.children) {
        ASSERT_TRUE(after.child(name)) << name;
        expectSameBut(*child, *after.child(name), section, key);
    }
}

TEST(FbiEditTest, LeavesAllElseUntouched) {
    int refused = 0;
    constexpr int kTexts = 20000;
    for (unsigned seed = 0; seed < kTexts; ++seed) {
        TextMaker maker(seed);
        const std::string text = maker.text();
        FbiChange change{maker.pick({"ALPHA", "beta", "Gamma Ray", "epsilon"}), {}};
        if (maker.below(3)) change.value = maker.pick({"7", "", "x y", "{z}", "//"});
        SCOPED_TRACE(
            fmt::format("{}\n---\n{} = {}", text, change.key, change.value.value_or("(none)")));
        const io::TdfSection before = io::parseTdf(text);
        const io::TdfSection* const info = before.child("UNITINFO");
        const std::string after = edited(text, {change});
        if (after.starts_with("cannot edit") || after.starts_with("fbi-parse-error")) {
            refused += info != nullptr && !after.ends_with("runs over the end of its line");
            continue;
        }
        const io::TdfSection tree = io::parseTdf(after);
        ASSERT_TRUE(info && tree.child("UNITINFO"));
        const std::string key = io::upperCased(change.key);
        const auto value = tree.child("UNITINFO")->getString(key);
        ASSERT_EQ(value ? std::optional(std::string(*value)) : std::nullopt, change.value);
        expectSameBut(before, tree, info, key);

        // Byte for byte: one stretch differs, which begins and ends at the key's statements.
        if (info->getString(key) == value) {
            ASSERT_EQ(after, text);
        } else if (!info->getString(key)) {
            ASSERT_TRUE(isSubsequence(text, after));
            ASSERT_LE(after.size(), text.size() + key.size() + change.value->size() + 12);
        } else if (!change.value) {
            ASSERT_TRUE(isSubsequence(after, text));
        } else if (!change.value->empty()) {
            const std::string back =
                editFbi(after, Changes{{change.key, std::string(*info->getString(key))}}).text;
            ASSERT_EQ(back, text);
        }
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_LT(refused, kTexts / 50);
}

}  // namespace
}  // namespace orb::unitview
