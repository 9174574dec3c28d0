#include <fstream>

#include <gtest/gtest.h>

#include "io/archive/hpi_writer.h"
#include "session/unit_view_session.h"
#include "tests/io/archive_fixture.h"
#include "tests/quiet_log.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

/// Virtual path and text of each file.
using Files = std::vector<std::pair<std::string, std::string>>;

void writeArchive(const fs::path& path, const Files& files) {
    std::vector<io::HpiInputFile> inputs;
    for (const auto& [name, text] : files) inputs.push_back({name, {text.begin(), text.end()}});
    const io::Bytes bytes = io::writeHpi(inputs);
    std::ofstream(path, std::ios::binary) << io::asText(bytes);
}

/// A line for each declaration of a name, in their order.
template <typename Index>
std::string describe(const Index& index) {
    std::string text;
    for (const auto& [name, declarations] : index)
        for (const auto* declaration : declarations)
            text += fmt::format("{} {}{}\n", name, locationText(declaration->file.location()),
                                declaration->isShadowed ? " hidden" : "");
    return text;
}

std::string describe(const UnitViewSession& session) {
    const MountedData& data = session.data();
    std::string text = describe(data.catalogue.declarations()) +
                       describe(data.tables.weapons.declarations()) +
                       describe(data.tables.movementClasses.declarations()) +
                       describe(data.tables.features.declarations());
    for (const auto& [builder, menu] : data.tables.buildMenus.builders())
        for (const BuildMenuEntry& entry : menu)
            text += fmt::format("{} builds {}: {}\n", builder, entry.unit,
                                locationText(entry.file->location()));
    for (const UnitDeclaration* unit : data.catalogue.roster())
        text += fmt::format("{} {}\n", unit->name, unit->info.maxDamage);
    return text;
}

// Only what may have changed is read again; the result must be that of mounting everything.
TEST(RefreshTest, LeavesWhatMountingWouldRead) {
    const QuietLog quiet;
    const io::TestFolder folder;
    const DataRootsRequest roots{folder.path() / "game", {folder.path() / "mod"}, {}};
    fs::create_directories(roots.taDataPath);
    fs::create_directories(roots.modPaths[0] / "units");
    const std::string ant = "[UNITINFO]{UnitName=ANT;MaxDamage=1;}";
    writeArchive(roots.taDataPath / "base.hpi",
                 {{"units/ant.fbi", ant},
                  {"units/bee.fbi", "[UNITINFO]{UnitName=BEE;}"},
                  {"weapons/all.tdf", "[STING]{}[BITE]{}"},
                  {"gamedata/moveinfo.tdf", "[CLASS0]{Name=LEGS;}"},
                  {"gamedata/sidedata.tdf", "[CANBUILD]{[BEE]{canbuild1=BEE;}}"}});
    const fs::path mod = roots.modPaths[0] / "mod.ufo";
    writeArchive(mod, {{"units/wasp.fbi", "[UNITINFO]{UnitName=BEE;MaxDamage=2;}"}});

    UnitViewSession session;
    session.setDataRoots(roots);
    const std::vector<Files> edits = {
        {{"units/ANT.FBI", "[UNITINFO]{UnitName=ANT;MaxDamage=3;}"},
         {"weapons/ALL.tdf", "[STING]{}"},
         {"moveinfo.tdf", "[CLASS1]{Name=LEGS;}"},
         {"features/a/b/wrecks.tdf", "[WRECK]{}"},
         {"download/ant.tdf", "[M]{UNITMENU=BEE;UNITNAME=ANT;}"}},
        {{"units/ant.fbi", "damaged"}, {"weapons/more.tdf", "[BITE]{}"}},
        {},
    };
    for (std::size_t i = 0; i < edits.size(); ++i) {
        SCOPED_TRACE(i);
        writeArchive(mod, edits[i]);
        std::ofstream(roots.modPaths[0] / "units" / fmt::format("loose{}.fbi", i)) << ant;
        session.refreshAfterWrite({io::FileLocation::Kind::archive, mod, ""});
        UnitViewSession mounted;
        mounted.setDataRoots(roots);
        EXPECT_EQ(describe(session), describe(mounted));
    }
}

}  // namespace
}  // namespace orb::unitview
