#include "session/game_palette.h"

#include <gtest/gtest.h>

#include "tests/log_capture.h"

namespace orb::unitview {
namespace {

/// Holds one file, or none.
struct OneFile : io::AbstractVirtualFileSystem {
    std::optional<io::Bytes> content;

    std::optional<io::Bytes> readFile(const io::VirtualPath& path) const override {
        return path.text() == "palettes/PALETTE.PAL" ? content : std::nullopt;
    }
    std::vector<std::string> listFiles(const io::VirtualPath&, std::string_view) const override {
        return {};
    }
    std::vector<std::string> listDirectories(const io::VirtualPath&) const override { return {}; }
    std::optional<io::FileLocation> locate(const io::VirtualPath&) const override {
        return std::nullopt;
    }

private:
    void visitFiles(const io::VirtualPath&, std::string_view, const io::FileVisitor&,
                    const io::FileFilter&) const override {}
};

/// Loads the palette and returns the messages logged at INFO.
std::vector<std::string> loadAndLog(const OneFile& files, io::Palette& palette) {
    const LogCapture log;
    readGamePalette(files, palette);
    std::vector<std::string> messages;
    for (const std::string& line : log.lines())
        messages.push_back(line.substr(line.find("[INFO] ") + 7));
    return messages;
}

using Messages = std::vector<std::string>;

TEST(GamePalette, LoadsTheGamePaletteAndSaysSo) {
    OneFile files;
    files.content.emplace(512);
    files.content->at(510) = 1;
    files.content->back() = 2;
    io::Palette palette;
    palette.fill({9, 9, 9, 9});
    const Messages messages = loadAndLog(files, palette);
    EXPECT_EQ(palette[127], (io::Rgba{0, 0, 1, 255}));
    EXPECT_EQ(palette[128], (io::Rgba{9, 9, 9, 9}));
    EXPECT_EQ(messages,
              (Messages{"[palette] loaded 'palettes/PALETTE.PAL' (512 bytes, hash=100000001b1)",
                        "[palette] sample at team-band indices: 96:(0,0,0), 98:(0,0,0), "
                        "100:(0,0,0), 104:(0,0,0), 108:(0,0,0), 111:(0,0,0), 128:(9,9,9), "
                        "135:(9,9,9), 143:(9,9,9), 224:(9,9,9), 227:(9,9,9), 229:(9,9,9)"}));
}

TEST(GamePalette, FallsBackToGreys) {
    io::Palette palette{};
    EXPECT_EQ(loadAndLog(OneFile(), palette),
              Messages{"[palette] 'palettes/PALETTE.PAL' NOT FOUND — using grayscale ramp"});
    EXPECT_EQ(palette[200], (io::Rgba{200, 200, 200, 255}));
}

}  // namespace
}  // namespace orb::unitview
