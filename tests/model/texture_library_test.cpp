#include "model/texture_library.h"

#include <algorithm>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "io/plain_png.h"
#include "io/vfs/data_roots.h"
#include "tests/io/archive_fixture.h"

namespace orb::unitview {
namespace {

using io::TestFolder;
using Names = std::vector<std::string>;

io::GafEntry entryOf(const std::string& name, io::Bytes pixels, std::size_t frames = 1) {
    const io::GafFrame frame{static_cast<std::uint16_t>(pixels.size()), 1, 0, 0, 9, 1, pixels};
    return {name, std::vector<io::GafFrame>(frames, frame)};
}

void writeTextures(const TestFolder& folder, const std::string& path,
                   const std::vector<io::GafEntry>& entries) {
    folder.write(path, io::writeGaf({entries}, io::GafEncoding::plain));
}

TEST(TextureLibrary, FindsTexturesAsTheGameDoes) {
    const TestFolder folder;
    writeTextures(folder, "mod/textures/b.gaf", {entryOf("Wall", {1, 2, 3})});
    writeTextures(folder, "game/Textures/B.GAF", {entryOf("Hidden", {1})});
    writeTextures(folder, "game/textures/c.gaf",
                  {entryOf("WALL", {4}), entryOf("roof", {9, 96, 111, 112, 229}, 3),
                   entryOf("empty", {1}, 0)});
    folder.write("game/textures/a.gaf", "GAF? no");
    for (const std::size_t frames : {1, 2}) {  // of two frames only the second is damaged
        const std::string name = fmt::format("cut{}", frames);
        auto cut = io::writeGaf({{entryOf(name, io::Bytes(50), frames)}}, io::GafEncoding::plain);
        cut.resize(cut.size() - 1);
        folder.write("game/textures/" + name + ".gaf", cut);
    }
    io::CompositeVirtualFileSystem files;
    io::buildLayers(files, std::vector{folder.path() / "mod"}, folder.path() / "game", {});

    const TextureLibrary library(files);
    const Names names{"ROOF", "wall", "lost", "Hidden", "cut1", "empty", "cut2"};
    const auto textures = library.find(names);
    ASSERT_TRUE(textures[0] && textures[1]);
    EXPECT_EQ(textures[0]->name, "roof");
    EXPECT_EQ(textures[0]->frameCount, 3U);
    EXPECT_EQ(textures[0]->teamPixels(), 3U);
    EXPECT_EQ(textures[0]->totalPixels(), 5U);
    EXPECT_EQ(textures[1]->path, "textures/b.gaf");
    for (const std::size_t missing : {2, 3, 4, 5}) EXPECT_EQ(textures[missing], nullptr);
    ASSERT_TRUE(textures[6]);
    EXPECT_EQ(textures[6]->frameCount, 2U);

    // what was read stays, though the file has gone
    std::filesystem::remove(folder.path() / "game/textures/c.gaf");
    EXPECT_EQ(library.find(names)[0], textures[0]);
    io::Palette palette = io::greyscaleRamp();
    for (const std::uint8_t red : io::Bytes{50, 60}) {
        palette[96].r = red;
        const TextureSet set = library.encode(names, palette);
        ASSERT_EQ(set.size(), 3U);
        EXPECT_EQ(set.at("ROOF").name, "ROOF");  // as asked for, not as its file spells it
        EXPECT_EQ(set.at("ROOF").png, library.encode(names, palette).at("ROOF").png);
        const auto pixels = io::pixelsOf(*set.at("ROOF").png);
        EXPECT_EQ(pixels[0].a, 0);
        EXPECT_EQ(pixels[1], (io::Rgba{red, 96, 96, 255}));
    }
}

TEST(TextureLibrary, BoundsWhatOneModelAndTheCacheHold) {
    const TestFolder folder;
    // half the cache each: four fill what one model may have
    const io::GafFrame large{8192, 2048, 0, 0, 0, 1, io::Bytes(std::size_t{8192} * 2048)};
    Names names;
    std::vector<io::GafEntry> entries;
    for (const char* const name : {"a", "b", "c", "d", "e"}) {
        names.emplace_back(name);
        entries.push_back({name, {large}});
    }
    folder.write("textures/x.gaf", io::writeGaf({entries}, io::GafEncoding::compressed));
    io::CompositeVirtualFileSystem files;
    io::buildLayers(files, {}, folder.path(), {});
    const TextureLibrary library(files);
    const auto all = library.find(names);
    EXPECT_EQ(std::ranges::count(all, nullptr), 1);
    EXPECT_EQ(all.back(), nullptr);
    EXPECT_NE(library.find(std::span(names).first(1))[0], all[0]);  // forgotten and read again
}

}  // namespace
}  // namespace orb::unitview
