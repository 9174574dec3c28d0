#include "io/formats/ota.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace orb::io {
namespace {

constexpr const char* kSample = R"([GlobalHeader]
    {
    missionname=The Ford; // seen from the south
    gravity=112;
    [Other] { missionname=Hidden; [units] { [unit0] { Unitname=NO; } } }
    [Schema 0]
        {
        Type=Network 1;
        SurfaceMetal=3;
        [specials]
            {
            [special0] { specialwhat=StartPos2; XPos=160; ZPos=176; }
            [special1] { specialwhat=Waterfall; XPos=1; ZPos=1; }
            [special0] { specialwhat=startpos1; XPos=1600; ZPos=48; }
            }
        [units]
            {
            [unit18] { Unitname=FENTILL; XPos=100; YPos=9; ZPos=200; Player=2; Angle=90; [deep] { Player=7; } }
            [unit18] { unitname=FENWADE; HealthPercentage=25; }
            }
        [features] { [feature0] { Featurename=Pine; XPos=7; ZPos=9; } }
        }
    [ schema 12] { Type=Hidden; }
    [Schema2] { [units] { [a] { Unitname=KILOVEN; } } [units] { [a] { Unitname=KILCART; } } }
    [Schema 64] { Type=Far; }
    [Schema x] { Type=Odd; }
    [SCHEMA 0] { Type=Easy; [features] { [feature0] { Featurename=Oak; } } }
    }
[GlobalHeader] { planet=Fen; }
)";

TEST(Ota, KeepsEveryThingOfEveryList) {
    const OtaFile ota = parseOta(kSample);
    EXPECT_EQ(ota.header.getString("MissionName"), "The Ford");
    EXPECT_EQ(ota.header.getString("planet"), "Fen");
    ASSERT_EQ(ota.schemas.size(), 2U);
    EXPECT_EQ(ota.schemasLeftOut, 2U);

    const OtaSchema& first = ota.schemas.at(0);
    EXPECT_EQ(first.values.getString("type"), "Easy");
    EXPECT_EQ(first.values.getInt("surfacemetal"), 3);
    ASSERT_EQ(first.startPositions.kept.size(), 2U);
    EXPECT_EQ(first.startPositions.kept[0].player, 2);
    EXPECT_EQ(first.startPositions.kept[1].x, 1600);
    ASSERT_EQ(first.units.kept.size(), 2U);
    EXPECT_EQ(first.units.kept[0].name, "FENTILL");
    EXPECT_EQ(first.units.kept[0].z, 200);
    EXPECT_EQ(first.units.kept[0].player, 2);
    EXPECT_EQ(first.units.kept[0].angleDegrees, 90);
    EXPECT_EQ(first.units.kept[1].name, "FENWADE");
    EXPECT_EQ(first.units.kept[1].player, 1);
    EXPECT_EQ(first.units.kept[1].healthPercent, 25);
    ASSERT_EQ(first.features.kept.size(), 2U);
    EXPECT_EQ(first.features.kept[0].cellX, 7);
    EXPECT_EQ(first.features.kept[1].name, "Oak");
    EXPECT_EQ(ota.schemas.at(2).units.given, 2U);
}

TEST(Ota, CutsLongListsAndTellsHowLongTheyWere) {
    std::string text = "[GlobalHeader]{[Schema 0]{[specials]{";
    for (int i = 0; i < 1'000; ++i) text += fmt::format("[s]{{specialwhat=StartPos{};}}", i);
    text += "}[units]{";
    for (int i = 0; i < 10'000; ++i) text += fmt::format("[u]{{Unitname=U{};}}", i);
    text += "}}}";
    const OtaFile ota = parseOta(text);
    const OtaSchema& schema = ota.schemas.at(0);
    EXPECT_EQ(schema.startPositions.given, 1'000U);
    EXPECT_EQ(schema.startPositions.kept.size(), kMaxOtaStartPositions);
    EXPECT_EQ(schema.units.given, 10'000U);
    ASSERT_EQ(schema.units.kept.size(), kMaxOtaUnits);
    EXPECT_EQ(schema.units.kept.back().name, "U4999");
}

TEST(Ota, TakesWhatIsThereOfACutText) {
    const std::string_view sample = kSample;
    std::size_t units = 0;
    for (std::size_t size = 0; size <= sample.size(); ++size) {
        const OtaFile ota = parseOta(sample.substr(0, size));
        std::size_t found = 0;
        for (const auto& [number, schema] : ota.schemas) found += schema.units.given;
        EXPECT_GE(found, units) << "a longer text holds no less, at " << size;
        units = found;
    }
    EXPECT_EQ(units, 4U);
    EXPECT_TRUE(parseOta("[Schema 0]{[units]{[u]{}}}").schemas.empty());
    EXPECT_TRUE(parseOta("}}][GlobalHeader{=;").schemas.empty());
}

}  // namespace
}  // namespace orb::io
