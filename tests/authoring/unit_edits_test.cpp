#include <functional>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "authoring/backup.h"
#include "authoring/corpse_stub.h"
#include "authoring/model_commit.h"
#include "authoring/new_mod.h"
#include "authoring/pack_file.h"
#include "authoring/unit_clone.h"
#include "authoring/unit_save.h"
#include "io/archive/hpi_writer.h"
#include "io/content_version.h"
#include "io/files/write_plan.h"
#include "io/formats/gaf.h"
#include "io/formats/model3do.h"
#include "session/model_edits.h"
#include "tests/authoring/faulty_file_ops.h"
#include "tests/io/archive_fixture.h"
#include "tests/platform.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

#if ORB_TEST_HAS_POSIX
#include <sys/wait.h>
#endif

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Every file with its content, every folder, below a folder.
std::map<std::string, std::string> snapshot(const fs::path& folder) {
    std::map<std::string, std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        found[entry.path().lexically_relative(folder).string()] =
            entry.is_directory() ? "(folder)" : contentOf(entry.path());
    return found;
}

const std::string kDefinition =
    "// caf\xe9\r\n[UNITINFO]{\r\n\tUnitName = ANT; Corpse=ANT_HEAP; // its heap\r\n"
    "\tobjectname=ant;\r\n\tName=Fourmi \xe9;\r\n\tScript=legs;\tBuildPic=face.pcx;\r\n"
    "\tMaxDamage=10;\r\n\tBuildCostMetal=7;\r\n}\r\n";

/// A game with a unit whose parts are no files of their formats, and an empty mod.
class UnitEditsTest : public testing::Test {
protected:
    UnitEditsTest() {
        folder.write("game/units/ant.fbi", kDefinition);
        folder.write("game/objects3d/ant.3do", io::write3do({}));
        folder.write("game/scripts/legs.cob", "cob?");
        folder.write("game/scripts/legs.bos", "bos?");
        for (const char* ending : {".pcx", ".gaf", ".png", "_pressed.png"})
            folder.write(std::string("game/unitpics/face") + ending, ending);
        fs::create_directory(folder.path() / "mod");
        mount(session);
    }

    void mount(UnitViewSession& other) const {
        other.setDataRoots({folder.path() / "game", {folder.path() / "mod"}, {}});
    }

    const QuietLog quiet;
    const TestFolder folder;
    UnitViewSession session;
};

TEST_F(UnitEditsTest, AClonesFilesAreThoseOfTheUnitButForItsNames) {
    CloneRequest request{.name = "ant", .newName = "BEE"};
    EXPECT_EQ(cloneUnit(session, request).edit.outcome, EditOutcome::ok);
    std::string wanted = kDefinition;
    for (const auto& [from, to] : {std::pair("= ANT;", "= BEE;"), std::pair("=ant;", "=BEE;"),
                                   std::pair("=legs;", "=BEE;"), std::pair("=face.pcx;", "=BEE;")})
        wanted.replace(wanted.find(from), std::string(from).size(), to);
    const std::map<std::string, std::string> files = {{"units", "(folder)"},
                                                      {"units/BEE.fbi", wanted},
                                                      {"objects3d", "(folder)"},
                                                      {"scripts", "(folder)"},
                                                      {"scripts/BEE.cob", "cob?"},
                                                      {"scripts/BEE.bos", "bos?"},
                                                      {"unitpics", "(folder)"},
                                                      {"unitpics/BEE.pcx", ".pcx"},
                                                      {"unitpics/BEE.gaf", ".gaf"},
                                                      {"unitpics/BEE.png", ".png"},
                                                      {"unitpics/BEE_pressed.png", "_pressed.png"}};
    auto made = snapshot(folder.path() / "mod");
    EXPECT_EQ(made["objects3d/BEE.3do"], contentOf(folder.path() / "game/objects3d/ant.3do"));
    made.erase("objects3d/BEE.3do");
    EXPECT_EQ(made, files);

    // What is left out keeps its name.
    request = {.name = "ant", .newName = "FLY", .with = std::vector{UnitPart::picture}};
    cloneUnit(session, request);
    EXPECT_NE(contentOf(folder.path() / "mod/units/FLY.fbi").find("=ant;"), std::string::npos);
    EXPECT_FALSE(fs::exists(folder.path() / "mod/objects3d/FLY.3do"));
}

TEST_F(UnitEditsTest, APictureAmongOthersBecomesAFileOfItsOwn) {
    fs::remove(folder.path() / "game/unitpics/face.gaf");
    const auto entry = [](const char* name, std::uint8_t color) {
        return io::GafEntry{name, {{.width = 1, .height = 1, .pixels = {color}}}};
    };
    folder.write("game/anims/all.gaf",
                 io::writeGaf({{entry("other", 1), entry("FACE", 7)}}, io::GafEncoding::plain));
    mount(session);
    cloneUnit(session, {.name = "ant", .newName = "BEE"});
    const std::string file = contentOf(folder.path() / "mod/unitpics/BEE.gaf");
    const io::GafFile read = io::parseGaf(io::asBytes(file));
    ASSERT_EQ(read.entries.size(), 1U);
    EXPECT_EQ(read.entries[0].name, "BEE");
    EXPECT_EQ(read.entries[0].frames[0].pixels, io::Bytes{7});
}

TEST_F(UnitEditsTest, AWreckIsWhatItsParentLeavesInItsEncodingAndLineEnds) {
    cloneUnit(session, {.name = "ant"});
    const CorpseResult stub = createCorpseStub(session, {.parentUnit = "ant"});
    EXPECT_EQ(stub.edit.outcome, EditOutcome::ok);  // the parent, which names it, is not written
    EXPECT_EQ(contentOf(folder.path() / "mod/units/ant.fbi"), kDefinition);
    EXPECT_EQ(contentOf(folder.path() / "mod/features/corpses/ANT_HEAP.tdf"),
              "[ANT_HEAP]\r\n\t{\r\n\tworld=All Worlds;\r\n\tdescription=Fourmi \xe9 Wreckage;\r\n"
              "\tcategory=corpses;\r\n\tobject=ant;\r\n\tfootprintx=1;\r\n\tfootprintz=1;\r\n"
              "\theight=10;\r\n\tblocking=1;\r\n\treclaimable=1;\r\n\tmetal=3;\r\n\tdamage=3;\r\n"
              "\t}\r\n");
    const auto* const feature = session.data().tables.features.find("ant_heap");
    EXPECT_TRUE(feature && session.data().catalogue.find("ANT_HEAP"));
}

TEST_F(UnitEditsTest, ADefinitionOfManyKeysIsClonedAndSaved) {
    std::string text = "[UNITINFO]{\n\tUnitName=BIG;\n\tObjectName=ant;\n";
    for (int i = 0; i < 10'000; ++i) text += fmt::format("\tkey{}={};\n", i, i);
    folder.write("mod/units/big.fbi", text + "}\n");
    mount(session);
    cloneUnit(session, {.name = "big", .newName = "HUGE", .with = std::vector<UnitPart>{}});
    session.loadUnit("HUGE");
    SaveRequest request;
    request.definition = std::vector<FbiChange>{{"KEY9999", "x"}};
    request.terms.allowBackupCreation = true;
    EXPECT_EQ(saveUnit(session, request).edit.outcome, EditOutcome::ok);
    text.replace(text.find("=BIG;"), 5, "=HUGE;");
    text.replace(text.find("=9999;"), 6, "=x;");
    EXPECT_EQ(contentOf(folder.path() / "mod/units/HUGE.fbi"), text + "}\n");
}

TEST_F(UnitEditsTest, AScriptsSourceKeepsItsEncodingAndWhatOthersWroteIntoIt) {
    fs::remove(folder.path() / "game/scripts/legs.cob");
    const std::string source = "// gr\xfc\xdf\x65\npiece base; Create() { }\n";
    folder.write("mod/scripts/legs.bos", source);
    cloneUnit(session, {.name = "ant"});
    mount(session);
    session.loadUnit("ant");
    SaveRequest request;
    request.script =
        ScriptText{"// gr\xc3\xbc\xc3\x9f\x65\npiece base; Create() { }\n// more\n", {}};
    request.ifScriptVersion = io::contentVersion(io::asBytes(source + "x"));
    request.terms.allowBackupCreation = true;
    const SaveResult refused = saveUnit(session, request);
    EXPECT_EQ(refused.edit.outcome, EditOutcome::changedOnDisk);
    EXPECT_EQ(refused.edit.resolvedPath, folder.path() / "mod/scripts/legs.bos");
    EXPECT_EQ(contentOf(folder.path() / "mod/scripts/legs.bos"), source);
    request.ifScriptVersion = refused.scriptVersion;
    const SaveResult saved = saveUnit(session, request);
    EXPECT_EQ(saved.edit.outcome, EditOutcome::ok);
    const std::string written = contentOf(folder.path() / "mod/scripts/legs.bos");
    EXPECT_EQ(written, source + "// more\n");
    EXPECT_EQ(saved.scriptVersion, io::contentVersion(io::asBytes(written)));
}

TEST_F(UnitEditsTest, ANewNameOfAPartTakesNoFileFromAnotherUnit) {
    fs::remove(folder.path() / "game/scripts/legs.cob");
    cloneUnit(session, {.name = "ant"});
    folder.write("mod/objects3d/bee.3do", "a bee");
    folder.write("mod/scripts/wings.bos", "wings");
    mount(session);
    session.loadUnit("ant");
    ModelFix fix;
    fix.kind = "rename-piece";
    fix.piece = std::int64_t{0};
    fix.name = "base";
    applyModelFix(session, fix);
    const auto before = snapshot(folder.path());
    SaveRequest request;
    request.terms.allowBackupCreation = true;
    request.definition = std::vector<FbiChange>{{"ObjectName", "bee"}};
    EXPECT_THROW(saveUnit(session, request), RequestError);
    request.definition = std::vector<FbiChange>{{"Script", "wings"}};
    request.script = ScriptText{"piece base; Create() { }", {}};
    request.model = false;
    EXPECT_THROW(saveUnit(session, request), RequestError);
    EXPECT_EQ(snapshot(folder.path()), before);
    request.overwrite = true;
    EXPECT_EQ(saveUnit(session, request).edit.outcome, EditOutcome::ok);
    EXPECT_EQ(contentOf(folder.path() / "mod/scripts/wings.bos"), "piece base; Create() { }");
}

TEST_F(UnitEditsTest, EditsOfAModelWhoseFileHasGoneCanStillBeSaved) {
    fs::remove(folder.path() / "game/scripts/legs.cob");
    cloneUnit(session, {.name = "ant", .with = std::vector{UnitPart::model}});
    session.loadUnit("ant");
    ModelFix fix;
    fix.kind = "rename-piece";
    fix.piece = std::int64_t{0};
    fix.name = "base";
    applyModelFix(session, fix);
    fs::remove(folder.path() / "game/objects3d/ant.3do");
    fs::remove(folder.path() / "mod/objects3d/ant.3do");
    const EditResult refused = commitModel(session, {.allowBackupCreation = true});
    EXPECT_EQ(refused.outcome, EditOutcome::changedOnDisk);
    EXPECT_EQ(refused.version, "");
    EXPECT_EQ(commitModel(session, {.ifVersion = refused.version}).outcome, EditOutcome::ok);
    EXPECT_TRUE(fs::exists(folder.path() / "mod/objects3d/ant.3do"));
    EXPECT_FALSE(session.workingModel() && session.workingModel()->isDirty());
}

TEST_F(UnitEditsTest, ABackupIsRestoredWhenItIsWholeAndAlsoWhereItsFileIsGone) {
    cloneUnit(session, {.name = "ant"});
    const fs::path file = folder.path() / "mod/units/ant.fbi";
    const fs::path backup = backupPath(file);
    const std::vector<FbiChange> change{{"MaxDamage", "11"}};
    patchDefinition(session, "ant", change, {.allowBackupCreation = true});
    const std::string edited = contentOf(file);
    folder.write("mod/units/ant.fbi.orbbackup", "");
    EXPECT_THROW(restoreUnitSource(session, "ant"), RequestError);
    EXPECT_EQ(contentOf(file), edited);
    EXPECT_TRUE(fs::exists(backup));

    folder.write("mod/units/ant.fbi.orbbackup", kDefinition);
    fs::remove(file);
    mount(session);
    EXPECT_EQ(restoreUnitSource(session, "ANT").restoredPath, file);
    EXPECT_EQ(contentOf(file), kDefinition);

    const std::vector<io::HpiInputFile> entries{
        {"units/bee.fbi", io::bytesOf("[UNITINFO]{UnitName=BEE; ObjectName=ant;}")}};
    const io::Bytes archive = io::writeHpi(entries);
    folder.write("mod/bees.ufo", archive);
    mount(session);
    patchDefinition(session, "bee", change, {.allowBackupCreation = true});
    folder.write("mod/bees.ufo", "");
    mount(session);
    EXPECT_THROW(session.resolveUnitSource("bee"), RequestError);
    restoreUnitSource(session, "bee");
    EXPECT_EQ(contentOf(folder.path() / "mod/bees.ufo"), io::asText(archive));
    EXPECT_EQ(session.resolveUnitSource("bee").location.kind, io::FileLocation::Kind::archive);
}

TEST_F(UnitEditsTest, AnArchiveThatAnotherEditorHasWrittenIsReadAnew) {
    const auto archiveWith = [](const std::string& text) {
        const std::vector<io::HpiInputFile> entries{{"units/bee.fbi", io::bytesOf(text)}};
        return io::writeHpi(entries);
    };
    folder.write("mod/bees.ufo", archiveWith("[UNITINFO]{UnitName=BEE; ObjectName=ant;}"));
    mount(session);
    folder.write("mod/bees.ufo", archiveWith("[UNITINFO]{UnitName=WASP; ObjectName=ant; Name=b;}"));
    session.followArchives();
    EXPECT_TRUE(session.data().catalogue.find("WASP"));
    EXPECT_FALSE(session.data().catalogue.find("BEE"));
}

TEST_F(UnitEditsTest, APackTakesThePlaceOfNothingThatItLacks) {
    const std::vector<io::HpiInputFile> entries{{"units/bee.fbi", io::bytesOf(kDefinition)},
                                                {"units/wasp.fbi", io::bytesOf(kDefinition)}};
    folder.write("mod/bees.ufo", io::writeHpi(entries));
    folder.write("mod/units/fly.fbi", kDefinition);
    mount(session);
    const auto before = snapshot(folder.path());
    const auto failureOf = [&](const PackRequest& request) -> std::string {
        try {
            requirePackDestination(session, request);
            PackContent content(request.compression);
            content.add("UNITS/bee.fbi", io::bytesOf(kDefinition));
            writePack(session, request, std::move(content));
            return "";
        } catch (const RequestError& error) {
            return error.what();
        }
    };
    EXPECT_TRUE(failureOf({folder.path() / "mod/bees.ufo", true}).ends_with(": units/wasp.fbi"));
    EXPECT_TRUE(failureOf({folder.path() / "mod/units/fly.fbi", true})
                    .starts_with("destination is no archive: "));
    EXPECT_EQ(snapshot(folder.path()), before);
    EXPECT_EQ(failureOf({folder.path() / "bees.ufo", true}), "");
}

/// Lets each file operation of an edit fail in turn: it is then done, or nothing has changed.
TEST_F(UnitEditsTest, AFailureAtAnyStepLeavesNothingOrEverything) {
    using Edit = std::function<void(UnitViewSession&, io::FileOps&)>;
    const fs::path root = folder.path();
    const std::pair<const char*, Edit> edits[] = {
        {"mod folder", [&](auto& on, auto& ops) { createModFolder(on, root / "new", true, ops); }},
        {"clone",
         [](auto& on, auto& ops) { cloneUnit(on, {.name = "ant", .newName = "BEE"}, ops); }},
        {"promotion", [](auto& on, auto& ops) { cloneUnit(on, {.name = "ant"}, ops); }},
        {"wreck",
         [](auto& on, auto& ops) {
             createCorpseStub(
                 on, {.parentUnit = "ant", .name = "ANT_TWO", .allowBackupCreation = true}, ops);
         }},
        {"save", [](auto& on, auto& ops) {
             on.loadUnit("ant");
             SaveRequest request;
             request.definition = std::vector<FbiChange>{{"MaxDamage", "11"}};
             request.script = ScriptText{"piece base; Create() { }", {}};
             request.terms.allowBackupCreation = true;
             saveUnit(on, request, ops);
         }}};
    for (const auto& [name, edit] : edits) {
        fs::remove(root / "game/scripts/legs.cob");
        const auto before = snapshot(root);
        for (int step = 0;; ++step) {
            SCOPED_TRACE(fmt::format("{}, step {}", name, step));
            ASSERT_LT(step, 1000);
            UnitViewSession fresh;
            mount(fresh);
            FaultyFileOps ops(step, FaultyFileOps::Fault::fail);
            bool isDone = true;
            try {
                edit(fresh, ops);
            } catch (const RequestError&) {
                isDone = false;
            }
            if (ops.struck().empty()) {
                EXPECT_TRUE(isDone);
                break;
            }
            if (isDone) {
                EXPECT_NE(snapshot(root), before);
                for (const auto& entry : fs::directory_iterator(root))
                    if (entry.path().filename() != "game") fs::remove_all(entry.path());
                for (const auto& [path, content] : before)
                    if (content == "(folder)")
                        fs::create_directories(root / path);
                    else
                        folder.write(path, content);
                continue;
            }
            // Only what could not be removed stays.
            if (ops.struck() != "remove") {
                EXPECT_EQ(snapshot(root), before);
            }
        }
    }
}

#if ORB_TEST_HAS_POSIX
/// Lets the process die at each file operation of a save: the next mount finishes it, or the next
/// edit of a session that was there before, or it has never been.
TEST_F(UnitEditsTest, ASaveThatDiesIsFinishedByWhoComesNextOrHasNotBegun) {
    fs::remove(folder.path() / "game/scripts/legs.cob");
    cloneUnit(session, {.name = "ant"});
    const fs::path mod = folder.path() / "mod";
    const auto before = snapshot(mod);
    std::set<std::pair<bool, bool>> met;
    for (const bool byEdit : {false, true}) {
        for (int step = 0;; ++step) {
            fs::remove_all(mod);
            for (const auto& [path, content] : before)
                if (content != "(folder)") folder.write("mod/" + path, content);
            mount(session);
            const pid_t child = fork();
            if (child == 0) {
                UnitViewSession dying;
                mount(dying);
                dying.loadUnit("ant");
                FaultyFileOps ops(step, FaultyFileOps::Fault::die);
                SaveRequest request;
                request.definition = std::vector<FbiChange>{{"MaxDamage", "11"}};
                request.script = ScriptText{"piece base; Create() { }", {}};
                request.terms.allowBackupCreation = true;
                saveUnit(dying, request, ops);
                ::_exit(0);
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            const std::vector<FbiChange> change{{"Name", "Bee"}};
            if (byEdit)
                patchDefinition(session, "ant", change, {.allowBackupCreation = true});
            else
                mount(session);
            const std::string written = contentOf(mod / "units/ant.fbi");
            const bool isSaved = written.find("=11;") != std::string::npos;
            EXPECT_EQ(written.find("=Bee;") != std::string::npos, byEdit) << step;
            EXPECT_EQ(fs::exists(mod / "scripts/legs.cob"), isSaved) << step;
            EXPECT_EQ(fs::exists(mod / "scripts/legs.bos"), isSaved) << step;
            EXPECT_FALSE(fs::exists(io::planPath(mod))) << step;
            met.emplace(byEdit, isSaved);
            if (WEXITSTATUS(status) != FaultyFileOps::kDeathStatus) break;
        }
    }
    EXPECT_EQ(met.size(), 4U);
}
#endif

}  // namespace
}  // namespace orb::unitview
