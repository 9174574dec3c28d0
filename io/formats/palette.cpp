#include "io/formats/palette.h"

#include <algorithm>

namespace orb::io {
namespace {

constexpr std::size_t kEntrySize = 4;

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

}  // namespace orb::io
