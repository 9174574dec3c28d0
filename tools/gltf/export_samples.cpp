#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <string>

#include <fmt/format.h>

#include "io/path_text.h"
#include "model/edit/working_model.h"
#include "model/glb.h"
#include "session/unit_view_session.h"
#include "tests/model/random_model.h"
#include "tests/quiet_log.h"

// Writes models for tools that look at them: every unit of a data root, with and without team
// colour, models drawn and edited at random, and three that strain the format.
//
// usage: orb-export-samples DATA_DIR OUTPUT_DIR
namespace {

namespace fs = std::filesystem;
using namespace orb;
using namespace orb::unitview;

constexpr int kNestedPieces = 200;
constexpr std::uint32_t kEditedModels = 100;
constexpr int kEdits = 20;
constexpr std::size_t kRimCorners = 30'000;  // 89,994 triangle corners

void writeFile(const fs::path& path, const io::Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + io::textFromPath(path));
}

std::unique_ptr<io::Model3doObject> nestedPieces(int depth) {
    auto piece = std::make_unique<io::Model3doObject>();
    piece->name = fmt::format("p{}", depth);
    piece->position = {0, 1, 0.1F};
    piece->vertices = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}};
    piece->primitives = {{{0, 1, 2}, static_cast<std::uint8_t>(depth), {}, {}}};
    if (depth > 1) piece->children.push_back(nestedPieces(depth - 1));
    return piece;
}

io::Model3doObject disc() {
    io::Model3doObject piece;
    piece.name = "disc";
    piece.primitives.resize(1);
    for (std::size_t i = 0; i < kRimCorners; ++i) {
        const double angle = -2 * std::numbers::pi * static_cast<double>(i) / kRimCorners;
        piece.vertices.push_back(
            {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0});
        piece.primitives[0].vertexIndices.push_back(static_cast<std::uint16_t>(i));
    }
    return piece;
}

void exportUnits(const fs::path& data, const fs::path& output) {
    TeamColor red;
    red.color = {230, 40, 30};
    UnitViewSession session;
    const MountedData& mounted =
        session.setDataRoots({data / "game", {data / "mod"}, data / "maps"});
    for (const UnitDeclaration* const unit : mounted.catalogue.roster()) {
        for (const bool isTeamed : {false, true}) {
            red.enabled = isTeamed;
            const ExportedModel model =
                exportModel(session.loadUnit(unit->name).model, mounted.pictures.textures,
                            session.palette(), red);
            writeFile(output / (unit->name + (isTeamed ? ".team.glb" : ".glb")), model.glb);
        }
    }
}

void exportEditedModels(const fs::path& output) {
    for (std::uint32_t seed = 0; seed < kEditedModels; ++seed) {
        ModelDraw draw(seed);
        WorkingModel working(draw.model());
        for (int step = 0; step < kEdits; ++step) {
            try {
                working.apply(draw.fix(working.model()), {2, 2});
            } catch (const ModelFixError&) {
                continue;  // drawn amiss
            }
        }
        writeFile(output / fmt::format("edited{}.glb", seed),
                  model3doToGlb(working.model(), {}, io::greyscaleRamp(), {}));
    }
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: orb-export-samples DATA_DIR OUTPUT_DIR\n");
        return 2;
    }
    const QuietLog quiet;
    const fs::path output = io::pathFromText(argv[2]);
    fs::create_directories(output);
    exportUnits(io::pathFromText(argv[1]), output);
    exportEditedModels(output);
    writeFile(output / "nested.glb",
              model3doToGlb(*nestedPieces(kNestedPieces), {}, io::greyscaleRamp(), {}));
    writeFile(output / "empty.glb", model3doToGlb({}, {}, io::greyscaleRamp(), {}));
    writeFile(output / "disc.glb", model3doToGlb(disc(), {}, io::greyscaleRamp(), {}));
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
