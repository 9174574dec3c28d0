#include "io/formats/palette.h"

#include <algorithm>

#include <fmt/format.h>

#include "server/logger.h"

namespace orb::io {
namespace {

constexpr const char* kPalettePath = "palettes/PALETTE.PAL";
constexpr std::size_t kEntrySize = 4;
constexpr std::array<std::uint8_t, 12> kLoggedIndices = {96,  98,  100, 104, 108, 111,
                                                         128, 135, 143, 224, 227, 229};

std::string teamBandSample(const Palette& palette) {
    std::string text;
    for (const std::uint8_t index : kLoggedIndices) {
        const Rgba& color = palette[index];
        text += fmt::format("{}{}:({},{},{})", text.empty() ? "" : ", ", index, color.r, color.g,
                            color.b);
    }
    return text;
}

}  // namespace

void applyPaletteFile(Palette& palette, ByteView file) {
    const std::size_t count = std::min(file.size() / kEntrySize, palette.size());
    for (std::size_t i = 0; i < count; ++i) {
        const ByteView entry = file.subspan(i * kEntrySize, kEntrySize);
        palette[i] = {entry[0], entry[1], entry[2], 255};
    }
}

Palette greyscaleRamp() {
    Palette palette;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const auto grey = static_cast<std::uint8_t>(i);
        palette[i] = {grey, grey, grey, 255};
    }
    return palette;
}

std::uint64_t paletteHash(ByteView file) {
    std::uint64_t hash = 0;
    for (const std::uint8_t byte : file) hash = hash * 0x100000001b3 ^ byte;
    return hash;
}

void loadGamePalette(const AbstractVirtualFileSystem& files, Palette& palette) {
    const std::optional<Bytes> file = files.readFile(kPalettePath);
    if (!file) {
        LogLine(LogLevel::info) << "[palette] '" << kPalettePath
                                << "' NOT FOUND — using grayscale ramp";
        palette = greyscaleRamp();
        return;
    }
    applyPaletteFile(palette, *file);
    LogLine(LogLevel::info) << fmt::format("[palette] loaded '{}' ({} bytes, hash={:x})",
                                           kPalettePath, file->size(), paletteHash(*file));
    LogLine(LogLevel::info) << "[palette] sample at team-band indices: " << teamBandSample(palette);
}

}  // namespace orb::io
