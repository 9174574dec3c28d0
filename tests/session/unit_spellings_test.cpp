#include <gtest/gtest.h>

#include "server/logger.h"
#include "session/unit_view_session.h"
#include "tests/io/archive_fixture.h"
#include "tests/platform.h"

namespace orb::unitview {
namespace {

// ".fbi" comes first, then the first by name, however the unit is asked for: listing, loading,
// comparing and editing mean one file.
TEST(UnitSpellingsTest, OneFileOfSeveralSpellingsIsTheUnit) {
    if (!ORB_TEST_HAS_POSIX) GTEST_SKIP() << "names have one spelling in a folder";
    Logger quiet;
    quiet.setEcho(false);
    setCurrentLogger(&quiet);
    const io::TestFolder folder;
    io::Model3doObject model;
    model.name = "base";
    folder.write("objects3d/model.3do", io::write3do(model));
    const struct {
        const char* name;
        std::vector<std::string> files;  // the one that counts in front
    } cases[] = {{"ALPHA", {"ALPHA.fbi", "ALPHA.FBI"}},
                 {"BETA", {"beta.fbi", "BETA.FBI"}},
                 {"Gamma", {"Gamma.fbi", "Gamma.FBI", "GAMMA.FBI"}},
                 {"DELTA", {"DELTA.FBI", "delta.FBI"}}};
    for (const auto& each : cases)
        for (const std::string& file : each.files)
            folder.write("units/" + file, fmt::format("[UNITINFO]{{UnitName={};Name=in {};"
                                                      "ObjectName=MODEL;}}",
                                                      each.name, file));
    UnitViewSession session;
    session.setDataRoots({folder.path(), {}, {}});
    ASSERT_EQ(session.data().catalogue.roster().size(), std::size(cases));
    for (const auto& each : cases) {
        const auto expected = folder.path() / "units" / each.files.front();
        const std::string name(each.name);
        EXPECT_EQ(session.data().catalogue.find(name)->file.location().path, expected);
        for (const std::string& asked : {name, io::upperCased(name), io::lowerCased(name)}) {
            EXPECT_EQ(session.data().catalogue.findLoadable(asked)->file.location().path, expected);
            EXPECT_EQ(session.resolveUnitSource(asked).location.path, expected) << asked;
            EXPECT_EQ(session.loadUnit(asked).fbi.name, "in " + each.files.front()) << asked;
        }
    }
    // What is no definition stays the unit's file: the game reads nothing else.
    folder.write("units/ALPHA.fbi", "");
    session.setDataRoots({folder.path(), {}, {}});
    EXPECT_EQ(session.data().catalogue.findLoadable("alpha"), nullptr);
    EXPECT_THROW(session.loadUnit("alpha"), std::runtime_error);
    setCurrentLogger(nullptr);
}

}  // namespace
}  // namespace orb::unitview
