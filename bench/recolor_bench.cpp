// Changes the colours of one texture in a file of 2,000. Baseline of the same run: copying the
// file, in memory and on disk.

#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "bench/figures.h"
#include "bench/large_data_root.h"
#include "io/formats/gaf.h"
#include "model/texture_recolor.h"

namespace {

using namespace orb;
namespace fs = std::filesystem;

constexpr std::size_t kEntries = 2000;
constexpr std::uint16_t kSide = 64;

/// Stripes of 8 colours, some in the team bands, with a see-through edge.
io::Bytes textureFile(io::GafEncoding encoding) {
    io::GafFile gaf;
    for (std::size_t entry = 0; entry < kEntries; ++entry) {
        io::GafFrame frame;
        frame.width = frame.height = kSide;
        for (std::size_t i = 0; i < std::size_t{kSide} * kSide; ++i) {
            const std::size_t x = i % kSide;
            const std::size_t stripe = 92 + (entry + x / 5 + i / kSide) % 8;
            frame.pixels.push_back(static_cast<std::uint8_t>(x < 4 ? 0 : stripe));
        }
        gaf.entries.push_back({fmt::format("TEXTURE{}", entry), {std::move(frame)}});
    }
    return io::writeGaf(gaf, encoding);
}

io::GafRecolored recolor(const io::Bytes& file) {
    const io::Palette palette = io::greyscaleRamp();
    const auto use = io::readGafColorUse(file, kEntries / 2);
    const auto changes = unitview::suggestRecolor(use, palette, unitview::RecolorDirection::away);
    return unitview::recolorTexture(file, kEntries / 2, changes, palette);
}

io::Bytes read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    io::Bytes bytes(fs::file_size(path));
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

void write(const fs::path& path, const io::Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    bench::require(out.good(), "a file was not written");
}

void measure(std::string_view name, const io::Bytes& file) {
    const std::uint64_t changed = recolor(file).changedPixels;
    bench::require(changed > 1000, "the suggestion changes something");
    io::Bytes copy;
    const fs::path path = bench::dataFolder() / "textures.gaf";
    const fs::path target = bench::dataFolder() / "recoloured.gaf";
    write(path, file);
    const auto timings = bench::measure(
        {[&] { bench::require(recolor(file).changedPixels == changed, "other pixels changed"); },
         [&] {
             copy = io::Bytes(file);
             bench::require(copy.back() == file.back(), "a copy differs");
         },
         [&] { write(target, recolor(read(path)).file); }, [&] { write(target, read(path)); }});
    const auto label =
        fmt::format("recolour 1 of {} {} textures, {} MB", kEntries, name, file.size() >> 20);
    bench::reportTime(label + " / copy", timings[0], "ms", timings[1]);
    bench::reportTime(label + " on disk / copy", timings[2], "ms", timings[3]);
}

}  // namespace

int main() {
    const bench::QuietLog quiet;
    measure("plain", textureFile(io::GafEncoding::plain));
    measure("compressed", textureFile(io::GafEncoding::compressed));
}
