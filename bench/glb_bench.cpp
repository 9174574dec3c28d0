// Converts models to binary glTF, their textures decoded and encoded before. Baseline of the same
// run: copying the file's bytes.

#include <filesystem>

#include "bench/large_data_root.h"
#include "bench/timing.h"
#include "model/glb.h"
#include "model/piece_list.h"
#include "server/logger.h"
#include "session/unit_view_session.h"

namespace {

using namespace orb;
using namespace orb::unitview;

constexpr int kConversions = 200;

void measure(std::string_view name, const io::Model3doObject& model, const TextureLibrary& library,
             const io::Palette& palette) {
    const io::Bytes expected = exportModel(model, library, palette, {}).glb;
    std::size_t total = 0;
    io::Bytes copy(expected.size());
    const auto best =
        bench::bestSeconds({[&] {
                                for (int i = 0; i < kConversions; ++i)
                                    total += exportModel(model, library, palette, {}).glb.size();
                            },
                            [&] {
                                for (int i = 0; i < kConversions; ++i) {
                                    copy = io::Bytes(expected);
                                    total += copy.size();
                                }
                            }});
    if (total != expected.size() * kConversions * 2 * 5) bench::fail("a model came out different");
    const double microseconds = best[0] / kConversions * 1e6;
    bench::printRow(fmt::format("{}, {} KB", name, expected.size() / 1024), microseconds,
                    best[1] / kConversions * 1e6, "us", best[0] / best[1]);
}

/// As many pieces with as many faces as the largest models have.
io::Model3doObject denseModel() {
    io::Model3doObject root;
    for (int piece = 0; piece < 50; ++piece) {
        auto child = std::make_unique<io::Model3doObject>();
        child->vertices = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
        child->primitives.resize(60, {{0, 1, 2, 3}, static_cast<std::uint8_t>(piece), {}, {}});
        root.children.push_back(std::move(child));
    }
    return root;
}

}  // namespace

int main() {
    Logger quiet;
    quiet.setEcho(false);
    setCurrentLogger(&quiet);
    const auto data = bench::makeLargeDataRoot(
        std::filesystem::temp_directory_path() / "orb_bench_data" / "small", {30, 1, 1'000'000});
    UnitViewSession session;
    const MountedData& mounted = session.setDataRoots({data.game, {}, {}});
    const LoadedUnit& unit = session.loadUnit("UNIT0000");

    fmt::print("{:<44} {:>9} {:>9}\n", "model to binary glTF", "convert", "copy");
    measure("a unit with its textures", unit.model, mounted.textures, session.palette());
    measure("3,000 faces in 50 pieces", denseModel(), mounted.textures, session.palette());
}
