#pragma once

#include <array>
#include <cstdint>

#include "io/byte_cursor.h"
#include "io/formats/color.h"

namespace orb::io {

/// The colours that the game's 8-bit pictures index.
using Palette = std::array<Rgba, 256>;

/// Takes the opaque colours of a palette file, four bytes each (r, g, b, ignored). Entries that the
/// file does not reach keep their contents.
void applyPaletteFile(Palette& palette, ByteView file);

/// Entry i is the grey (i, i, i, 255).
Palette greyscaleRamp();

/// The hash that log lines name a palette by: h = h * 0x100000001b3 ^ byte, from 0.
std::uint64_t paletteHash(ByteView file);

/// A run of indices, brightest first, that take the colour of the owning player.
struct TeamBand {
    std::uint8_t first = 0;
    std::uint8_t last = 0;
};
inline constexpr std::array<TeamBand, 3> kTeamBands = {{{96, 111}, {128, 143}, {224, 229}}};

/// True for the indices of the team bands.
constexpr bool isTeamBand(std::uint8_t index) {
    for (const TeamBand& band : kTeamBands)
        if (index >= band.first && index <= band.last) return true;
    return false;
}

}  // namespace orb::io
