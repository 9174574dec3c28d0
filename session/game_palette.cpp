#include "session/game_palette.h"

#include <fmt/format.h>

#include "io/game_paths.h"
#include "io/out_of_memory.h"
#include "server/logger.h"

namespace orb::unitview {
namespace {

/// The log shows these, most of them the ends of team bands.
constexpr std::array<std::uint8_t, 12> kLoggedIndices = {96,  98,  100, 104, 108, 111,
                                                         128, 135, 143, 224, 227, 229};

std::string teamBandSample(const io::Palette& palette) {
    std::string text;
    for (const std::uint8_t index : kLoggedIndices) {
        const io::Rgba& color = palette[index];
        text += fmt::format("{}{}:({},{},{})", text.empty() ? "" : ", ", index, color.r, color.g,
                            color.b);
    }
    return text;
}

void takePaletteFile(io::ByteView file, io::Palette& palette) {
    io::applyPaletteFile(palette, file);
    LogLine(LogLevel::info) << fmt::format("[palette] loaded '{}' ({} bytes, hash={:x})",
                                           io::kPalettePath, file.size(), io::paletteHash(file));
    LogLine(LogLevel::info) << "[palette] sample at team-band indices: " << teamBandSample(palette);
}

}  // namespace

void readGamePalette(const io::AbstractVirtualFileSystem& files, io::Palette& palette) {
    try {
        if (const auto file = files.readFile(io::kPalettePath))
            return takePaletteFile(*file, palette);
        LogLine(LogLevel::info) << "[palette] '" << io::kPalettePath
                                << "' NOT FOUND — using grayscale ramp";
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        LogLine(LogLevel::warn) << "[palette] cannot read '" << io::kPalettePath
                                << "': " << error.what() << " — using grayscale ramp";
    }
    palette = io::greyscaleRamp();
}

}  // namespace orb::unitview
