#include "io/formats/palette.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "server/logger.h"

namespace orb::io {
namespace {

/// Holds one file, or none.
struct OneFile : AbstractVirtualFileSystem {
    std::optional<Bytes> content;

    std::optional<Bytes> readFile(const VirtualPath& path) const override {
        return path.text() == "palettes/PALETTE.PAL" ? content : std::nullopt;
    }
    std::vector<std::string> listFiles(const VirtualPath&, std::string_view) const override {
        return {};
    }
    std::vector<std::string> listDirectories(const VirtualPath&) const override { return {}; }
    std::optional<FileLocation> locate(const VirtualPath&) const override { return std::nullopt; }

private:
    void visitFiles(const VirtualPath&, std::string_view, const FileVisitor&,
                    const FileFilter&) const override {}
};

/// Loads the palette and returns the messages logged at INFO.
std::vector<std::string> loadAndLog(const OneFile& files, Palette& palette) {
    const auto path = std::filesystem::path(testing::TempDir()) / "orb_palette_test.log";
    std::filesystem::remove(path);
    {
        Logger logger;
        logger.setEcho(false);
        logger.openFile(path);
        setCurrentLogger(&logger);
        loadGamePalette(files, palette);
        setCurrentLogger(nullptr);
    }
    std::ifstream log(path);
    std::vector<std::string> messages;
    for (std::string line; std::getline(log, line);)
        messages.push_back(line.substr(line.find("[INFO] ") + 7));
    return messages;
}

using Messages = std::vector<std::string>;

TEST(Palette, LoadsTheGamePaletteAndSaysSo) {
    OneFile files;
    files.content.emplace(512);
    files.content->at(510) = 1;
    files.content->back() = 2;
    Palette palette;
    palette.fill({9, 9, 9, 9});
    const Messages messages = loadAndLog(files, palette);
    EXPECT_EQ(palette[127], (Rgba{0, 0, 1, 255}));
    EXPECT_EQ(palette[128], (Rgba{9, 9, 9, 9}));
    EXPECT_EQ(messages,
              (Messages{"[palette] loaded 'palettes/PALETTE.PAL' (512 bytes, hash=100000001b1)",
                        "[palette] sample at team-band indices: 96:(0,0,0), 98:(0,0,0), "
                        "100:(0,0,0), 104:(0,0,0), 108:(0,0,0), 111:(0,0,0), 128:(9,9,9), "
                        "135:(9,9,9), 143:(9,9,9), 224:(9,9,9), 227:(9,9,9), 229:(9,9,9)"}));
}

TEST(Palette, FallsBackToGreys) {
    Palette palette{};
    EXPECT_EQ(loadAndLog(OneFile(), palette),
              Messages{"[palette] 'palettes/PALETTE.PAL' NOT FOUND — using grayscale ramp"});
    EXPECT_EQ(palette[200], (Rgba{200, 200, 200, 255}));
}

TEST(Palette, TakesWholeEntriesOnly) {
    Palette palette = greyscaleRamp();
    applyPaletteFile(palette, Bytes(7, 77));
    EXPECT_EQ(palette[0], (Rgba{77, 77, 77, 255}));
    EXPECT_EQ(palette[1], (Rgba{1, 1, 1, 255}));
    applyPaletteFile(palette, Bytes(1030, 78));
    EXPECT_EQ(palette[255], (Rgba{78, 78, 78, 255}));
}

}  // namespace
}  // namespace orb::io
