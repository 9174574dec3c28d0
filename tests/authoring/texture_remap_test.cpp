#include "authoring/texture_remap.h"

#include <gtest/gtest.h>

#include "io/formats/gaf.h"
#include "session/request_error.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;

using Changes = std::vector<IndexChange>;

const Changes kChange = {{100, 5}};

io::GafFrame frame(std::uint16_t width, std::uint16_t height, io::Bytes pixels) {
    io::GafFrame result;
    result.width = width;
    result.height = height;
    result.pixels = std::move(pixels);
    return result;
}

io::Bytes textures() {
    return io::writeGaf({{{"WALL", {frame(2, 1, {100, 7}), frame(1, 1, {100})}},
                          {"AIR", {frame(0, 4, {}), frame(1, 1, {100})}},
                          {"NONE", {}},
                          {"ROOF", {frame(1, 1, {100})}}}},
                        io::GafEncoding::compressed);
}

std::string refusal(UnitViewSession& session, const std::string& name) {
    try {
        applyTextureRemap(session, name, kChange, std::nullopt, true);
    } catch (const RequestError& error) {
        return error.what();
    }
    return "";
}

io::Bytes bytesOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(TextureRemap, WritesIntoTheFoldersThatAModHas) {
    const QuietLog quiet;
    const TestFolder folder;
    folder.write("game/textures/Walls.GAF", textures());
    folder.write("mod/TEXTURES/other.txt", "");
    UnitViewSession session;
    session.setDataRoots({folder.path() / "game", {folder.path() / "mod"}, {}});
    const auto apply = [&] {
        return applyTextureRemap(session, "wall", kChange, folder.path() / "mod" / ".", false);
    };
    const RemapResult first = apply();
    EXPECT_EQ(first.edit.outcome, EditOutcome::ok);
    EXPECT_EQ(first.edit.resolvedPath.filename(), "Walls.GAF");
    EXPECT_EQ(first.edit.resolvedPath.parent_path().filename(), "TEXTURES");
    EXPECT_EQ(first.changedPixels, 2U);
    EXPECT_EQ(bytesOf(folder.path() / "game/textures/Walls.GAF"), textures());
    const io::GafFile written = io::parseGaf(bytesOf(first.edit.resolvedPath));
    EXPECT_EQ(written.entries[0].frames[0].pixels, (io::Bytes{5, 7}));
    EXPECT_EQ(written.entries[0].frames[1].pixels, io::Bytes{5});
    EXPECT_EQ(written.entries[3].frames[0].pixels, io::Bytes{100});
    EXPECT_EQ(apply().changedPixels, 0U);  // it is the mod's now
}

TEST(TextureRemap, LeavesDamagedFilesAndEmptyTexturesAlone) {
    const QuietLog quiet;
    const TestFolder folder;
    fs::create_directories(folder.path() / "game");
    const fs::path file = folder.write("mod/textures/walls.gaf", textures());
    UnitViewSession session;
    session.setDataRoots({folder.path() / "game", {folder.path() / "mod"}, {}});
    EXPECT_EQ(refusal(session, "AIR"), "texture has no pixels: AIR");
    EXPECT_EQ(refusal(session, "none"), "texture has no pixels: none");

    // Damaged after it was listed: the last entry loses its only row.
    io::Bytes cut = textures();
    cut.pop_back();
    folder.write("mod/textures/walls.gaf", cut);
    EXPECT_EQ(refusal(session, "WALL"), "texture file textures/walls.gaf: GAF data too small");
    EXPECT_EQ(bytesOf(file), cut);
    folder.write("mod/textures/walls.gaf", io::writeGaf({{{"X", {}}}}, io::GafEncoding::plain));
    EXPECT_EQ(refusal(session, "WALL"), "unknown texture: WALL");
    fs::remove(file);
    EXPECT_EQ(refusal(session, "WALL"), "unknown texture: WALL");
    EXPECT_FALSE(fs::exists(folder.path() / "mod/textures/walls.gaf.orbbackup"));
}

}  // namespace
}  // namespace orb::unitview
