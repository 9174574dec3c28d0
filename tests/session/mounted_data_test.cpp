#include <gtest/gtest.h>

#include "io/formats/gaf.h"
#include "session/unit_view_session.h"
#include "tests/quiet_log.h"
#include "tests/test_folder.h"

namespace orb::unitview {
namespace {

/// An animation file with one picture of one pixel.
io::Bytes gafOf(const std::string& name, std::uint8_t pixel) {
    io::GafFrame frame;
    frame.width = frame.height = 1;
    frame.transparencyIndex = 255;
    frame.pixels = {pixel};
    return io::writeGaf({{{name, {frame}}}}, io::GafEncoding::plain);
}

io::Bytes paletteOf(std::uint8_t red) {
    return {red, 0, 0, 0};
}

// What was decoded before a write must not be shown after it.
TEST(MountedData, ForgetsWhatItDecodedWhenAFileIsWritten) {
    const QuietLog quiet;
    const TestFolder game;
    game.write("palettes/palette.pal", paletteOf(1));
    game.write("textures/walls.gaf", gafOf("BRICK", 3));
    game.write("anims/shots.gaf", gafOf("SPARK", 0));
    UnitViewSession session;
    const MountedData& data = session.setDataRoots({game.path(), {}, {}});
    const std::vector<std::string> names = {"brick"};
    const auto firstPixel = [&] {
        return data.pictures.textures.find(names)[0]->picture.pixels[0];
    };
    EXPECT_EQ(firstPixel(), 3);
    EXPECT_EQ(data.pictures.animations.find("GLOW"), nullptr);

    game.write("palettes/palette.pal", paletteOf(2));
    game.write("textures/walls.gaf", gafOf("BRICK", 4));
    const auto written = game.write("anims/lights.gaf", gafOf("GLOW", 0));
    session.refreshAfterWrite({io::FileLocation::Kind::loose, written, ""});
    EXPECT_EQ(firstPixel(), 4);
    EXPECT_NE(data.pictures.animations.find("GLOW"), nullptr);
    EXPECT_EQ(data.palette[0], (io::Rgba{2, 0, 0, 255}));
}

TEST(MountedData, KeepsColoursThatANewPaletteLacks) {
    const QuietLog quiet;
    const TestFolder folder;
    folder.write("long/palettes/palette.pal", io::Bytes(1024, 7));
    folder.write("short/palettes/palette.pal", paletteOf(9));
    UnitViewSession session;
    session.setDataRoots({folder.path() / "long", {}, {}});
    session.setDataRoots({folder.path() / "short", {}, {}});
    EXPECT_EQ(session.palette()[0], (io::Rgba{9, 0, 0, 255}));
    EXPECT_EQ(session.palette()[255], (io::Rgba{7, 7, 7, 255}));
    session.clearDataRoots();
    EXPECT_EQ(session.palette(), io::greyscaleRamp());
}

}  // namespace
}  // namespace orb::unitview
