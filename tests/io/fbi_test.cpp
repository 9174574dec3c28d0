#include "io/formats/fbi.h"

#include <map>

#include <gtest/gtest.h>

namespace orb::io {
namespace {

/// Every key's value as text; what is tested is the walk over the table.
std::map<std::string, std::string> valuesByKey(const FbiUnitInfo& info) {
    std::map<std::string, std::string> values;
    forEachFbiKey(info, [&](std::string_view key, const auto& value) {
        if constexpr (std::is_same_v<decltype(value), const std::string&>)
            values.emplace(key, value);
        else
            values.emplace(key, std::to_string(static_cast<int>(value)));
    });
    return values;
}

/// Reads a definition both ways, which must agree.
FbiUnitInfo parseUnit(const std::string& body) {
    const std::string text = "[Other]{[a]{b=1;}unitname=no;}[UnitInfo]{" + body + "}";
    FbiUnitInfo info = parseFbiUnitInfo(parseTdf(text)).value();
    const FbiUnitInfo fromText = readFbiUnitInfo(text).value();
    EXPECT_EQ(valuesByKey(fromText), valuesByKey(info)) << body;
    EXPECT_EQ(fromText.buildOptions, info.buildOptions) << body;
    return info;
}

TEST(Fbi, ReadsEveryKeyOfTheTableInAnyCase) {
    std::string body;
    const auto defaults = valuesByKey(FbiUnitInfo());
    EXPECT_EQ(defaults.size(), 122U);
    for (const auto& [key, value] : defaults) body += upperCased(key) + "=7;";
    for (const auto& [key, value] : valuesByKey(parseUnit(body)))
        EXPECT_TRUE(value == "7" || value == "1") << key << " is " << value;
}

TEST(Fbi, FillsDefaults) {
    std::map<std::string, std::string> unusual;
    for (const auto& [key, value] :
         valuesByKey(parseUnit("bmcode=x;zbuffer=;canstop=99999999999;")))
        if (!value.empty() && value != "0") unusual.emplace(key, value);
    const std::map<std::string, std::string> expected = {
        {"standingfireorder", "2"}, {"standingmoveorder", "2"},     {"bmcode", "1"},
        {"steeringmode", "1"},      {"selfdestructcountdown", "5"}, {"zbuffer", "1"},
        {"damagemodifier", "1"},    {"activatewhenbuilt", "1"},     {"canstop", "1"},
        {"firestandorders", "1"},
    };
    EXPECT_EQ(unusual, expected);
}

TEST(Fbi, DerivesDefaultsFromOtherKeys) {
    const struct {
        const char* body;
        bool guard, patrol, reclamate;
    } cases[] = {
        {"", false, false, false},
        {"canmove=1;", true, true, false},
        {"canguard=0;canmove=1;", false, true, false},
        {"builder=2;", false, false, true},
        {"builder=1;canreclamate=0;canpatrol=-1;", false, true, false},
    };
    for (const auto& [body, guard, patrol, reclamate] : cases) {
        const FbiUnitInfo unit = parseUnit(body);
        EXPECT_EQ(unit.canGuard, guard) << body;
        EXPECT_EQ(unit.canPatrol, patrol) << body;
        EXPECT_EQ(unit.canReclamate, reclamate) << body;
    }
    EXPECT_EQ(parseUnit("damagemodifier=0;").damageModifier, 1.0F);
    EXPECT_EQ(parseUnit("damagemodifier=-2;").damageModifier, 1.0F);
    EXPECT_EQ(parseUnit("damagemodifier=.25;").damageModifier, 0.25F);
}

TEST(Fbi, CollectsBuildOptionsAcrossGaps) {
    const FbiUnitInfo unit = parseUnit(
        "buildoption31=no;BuildOption30=b;buildoption3=a;buildoption4=;"
        "[CanBuild]{unit64=d;unit2=c;unit65=no;unit0=no;}");
    EXPECT_EQ(unit.buildOptions, (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_FALSE(parseFbiUnitInfo(parseTdf("[OTHER]{unitname=A;} unitinfo=1;")).has_value());
}

}  // namespace
}  // namespace orb::io
