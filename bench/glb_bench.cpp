// Converts models to binary glTF, their textures decoded and encoded before. Baseline of the same
// run: copying the file's bytes.

#include <fmt/format.h>

#include "bench/figures.h"
#include "bench/large_data_root.h"
#include "model/glb.h"
#include "model/piece_list.h"
#include "session/unit_view_session.h"

namespace {

using namespace orb;
using namespace orb::unitview;

constexpr int kConversions = 20;

void measure(std::string_view name, const io::Model3doObject& model, const TextureLibrary& library,
             const io::Palette& palette) {
    const io::Bytes expected = exportModel(model, library, palette, {}).glb;
    io::Bytes copy;
    const auto timings = bench::measure(
        {[&] {
             for (int i = 0; i < kConversions; ++i)
                 bench::require(
                     exportModel(model, library, palette, {}).glb.size() == expected.size(),
                     "a model came out different");
         },
         [&] {
             for (int i = 0; i < kConversions; ++i) {
                 copy = io::Bytes(expected);
                 bench::require(copy.back() == expected.back(), "a copy differs");
             }
         }});
    bench::reportTime(fmt::format("{} to glTF, {} KB / copy", name, expected.size() / 1024),
                      timings[0], "us", timings[1], kConversions);
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
    const bench::QuietLog quiet;
    const auto data = bench::makeLargeDataRoot(bench::dataFolder() / "small", {30, 1, 1'000'000});
    UnitViewSession session;
    const MountedData& mounted = session.setDataRoots({data.game, {}, {}});
    const LoadedUnit& unit = session.loadUnit("UNIT0000");

    measure("a unit", unit.model, mounted.pictures.textures, session.palette());
    measure("3000 faces in 50 pieces", denseModel(), mounted.pictures.textures, session.palette());
}
