#include <cstdio>
#include <exception>

#include <fmt/format.h>

#include "samples/builder/pack.h"
#include "samples/builder/root_sources.h"

// Makes the sample game's data roots: orb-sample-builder SOURCE_DIR OUTPUT_DIR

namespace {

namespace fs = std::filesystem;
using namespace orb::samples;

constexpr const char* kRoots[] = {"game", "mod",   "faulty", "found", "maps",
                                  "arms", "works", "watch",  "wings"};
constexpr const char* kPaletteText = "palettes/PALETTE.PAL.txt";
/// Written last; also marks the output directory as ours to clear.
constexpr const char* kStampFile = "sample-data.stamp";

void clearOutput(const fs::path& output) {
    if (fs::exists(output) && !fs::is_empty(output) && !fs::exists(output / kStampFile))
        throw std::runtime_error(
            fmt::format("{} holds something else than sample data", output.generic_string()));
    fs::remove_all(output);
}

void buildAll(const fs::path& source, const fs::path& output) {
    SourceText paletteText = SourceText::read(source / kRoots[0], kPaletteText);
    const NamedPalette palette = parsePalette(paletteText);
    ModelSet models;
    FileSet packed;
    std::size_t byteCount = 0;
    for (const char* root : kRoots) {
        FileSet files = buildRootFiles(source / root, palette, models);
        SourceText packScript = SourceText::read(source / root, kPackFile);
        for (auto& [name, bytes] : packRoot(packScript, std::move(files))) {
            byteCount += bytes.size();
            packed[fmt::format("{}/{}", root, name)] = std::move(bytes);
        }
    }
    // Nothing is written before everything could be built.
    clearOutput(output);
    fs::create_directories(output);
    for (const auto& [path, bytes] : packed) writeFile(output / path, bytes);
    writeFile(output / kStampFile, {});
    fmt::print("{} files, {} bytes in {}\n", packed.size(), byteCount, output.generic_string());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        fmt::print(stderr, "usage: orb-sample-builder SOURCE_DIR OUTPUT_DIR\n");
        return 2;
    }
    try {
        buildAll(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& error) {
        fmt::print(stderr, "orb-sample-builder: {}\n", error.what());
        return 1;
    }
}
