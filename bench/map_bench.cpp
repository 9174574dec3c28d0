// Loads a map of 1,280 by 1,280 cells, lists it and draws its ground. Baselines of the same run:
// loading against reading the map's file, listing against reading that file's header, pictures
// against copying as many pixels as they have, memory against the file's size.

#include <array>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>
#include <malloc.h>

#include "bench/figures.h"
#include "bench/large_data_root.h"
#include "session/map_catalogue.h"
#include "session/map_pictures.h"
#include "session/unit_view_session.h"

namespace {

namespace fs = std::filesystem;
using namespace orb;

constexpr std::uint32_t kSide = 1'280;
constexpr std::size_t kTiles = 12'000;
constexpr std::size_t kFeatureKinds = 40;
/// One cell in so many has a feature: 25,600 in all.
constexpr std::uint32_t kCellsPerFeature = 64;
constexpr const char* kName = "large";

/// The same numbers in every run.
class Noise {
public:
    std::uint32_t below(std::uint32_t end) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::uint32_t>((state_ >> 33) % end);
    }

private:
    std::uint64_t state_ = 1;
};

io::TntFile makeLargeMap() {
    io::TntFile map;
    map.size = {kSide, kSide};
    map.seaLevel = 60;
    Noise noise;
    for (std::uint32_t z = 0; z < kSide; ++z)
        for (std::uint32_t x = 0; x < kSide; ++x) {
            const std::uint32_t wave = (x % 200 + z % 140) / 3;
            io::TntCell cell{static_cast<std::uint8_t>(wave + noise.below(6)), 0,
                             io::kTntNoFeature};
            if (noise.below(kCellsPerFeature) == 0)
                cell.feature = static_cast<std::uint16_t>(noise.below(kFeatureKinds));
            map.cells.push_back(cell);
        }
    for (std::size_t i = 0; i < kTiles * io::kTntTilePixels; ++i)
        map.tiles.push_back(static_cast<std::uint8_t>(noise.below(256)));
    for (std::size_t i = 0; i < std::size_t{kSide / 2} * (kSide / 2); ++i)
        map.tileMap.push_back(static_cast<std::uint16_t>(noise.below(kTiles)));
    for (std::size_t i = 0; i < kFeatureKinds; ++i)
        map.featureNames.push_back(fmt::format("Kind{:02}", i));
    return map;
}

void writeFile(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

/// The map's file in a new data root.
fs::path writeRoot(const fs::path& root) {
    fs::remove_all(root);
    std::string features;
    for (std::size_t i = 0; i < kFeatureKinds; ++i)
        features += fmt::format("[KIND{:02}]{{footprintx=2;footprintz=2;blocking={};}}", i, i % 2);
    writeFile(root / "features/all/kinds.tdf", features);
    fs::path file = root / "maps" / fmt::format("{}.tnt", kName);
    writeFile(file, io::asText(io::writeTnt(makeLargeMap())));
    return file;
}

std::size_t readWhole(const fs::path& file) {
    io::Bytes bytes(fs::file_size(file));
    std::ifstream(file, std::ios::binary)
        .read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes.size();
}

std::size_t heapBytes() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void benchLoading(unitview::UnitViewSession& session, const fs::path& file) {
    const std::size_t before = heapBytes();
    session.loadMap({.name = kName});
    const double kept = static_cast<double>(heapBytes() - before);
    bench::require(session.requireMap().world.features().all().size() > 25'000,
                   "features are missing");
    const auto timings =
        bench::measure({[&] { session.loadMap({.name = kName}); }, [&] { readWhole(file); }});
    bench::reportTime("load a map of 40 x 40 / read its file", timings[0], "ms", timings[1]);
    bench::report("  memory that it keeps / its file", kept / 1e6, "MB",
                  static_cast<double>(fs::file_size(file)) / 1e6);
}

/// The list of maps tells their sizes, which stand at the front of their files.
void benchListing(const unitview::UnitViewSession& session, const fs::path& file) {
    constexpr int kListings = 50;
    const auto timings = bench::measure(
        {[&] {
             for (int i = 0; i < kListings; ++i)
                 bench::require(unitview::listMaps(session.data().files).front().cells.has_value(),
                                "a map has no size");
         },
         [&] {
             std::array<char, io::kTntHeaderSize> header{};
             for (int i = 0; i < kListings; ++i)
                 std::ifstream(file, std::ios::binary).read(header.data(), header.size());
         }});
    bench::reportTime("list a map of 40 x 40 / read its file's header", timings[0], "us",
                      timings[1], kListings);
}

void benchPicture(const unitview::UnitViewSession& session, std::uint32_t scale) {
    const io::TntFile& map = session.requireMap().picture;
    const std::uint32_t whole = kSide * io::kTntCellSide;
    const std::uint32_t side = std::min(whole, 4'096 * scale);  // the largest picture
    const unitview::TerrainArea area{0, 0, side, side};
    io::Bytes copy;
    unitview::IndexedPicture picture;
    const auto draw = [&] {
        picture = unitview::terrainPicture(map, session.palette(), area, scale);
    };
    draw();
    const auto timings = bench::measure({draw, [&] { copy = picture.pixels; },
                                         [&] {
                                             unitview::readTerrainTexture(
                                                 session.requireMap(), session.palette(),
                                                 {.width = side, .height = side, .scale = scale});
                                         }});
    bench::require(copy == picture.pixels, "a copy differs");
    bench::reportTime(
        fmt::format("its ground, 1:{} / copy {} x {} pixels", scale, picture.width, picture.height),
        timings[0], "ms", timings[1]);
    bench::reportTime("  as PNG", timings[2], "ms", timings[1]);
}

}  // namespace

int main() {
    const bench::QuietLog quiet;
    const fs::path root = bench::dataFolder() / "map";
    const fs::path file = writeRoot(root);
    unitview::UnitViewSession session;
    session.setDataRoots({root, {}, {}});
    benchLoading(session, file);
    benchListing(session, file);
    for (std::uint32_t scale = 1; scale <= unitview::kMaxTerrainScale; scale *= 2)
        benchPicture(session, scale);
    return 0;
}
