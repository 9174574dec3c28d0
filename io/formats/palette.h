#pragma once

#include <array>
#include <cstdint>

#include "io/byte_cursor.h"
#include "io/formats/color.h"
#include "io/vfs/virtual_file_system.h"

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

/// True for the indices that take the colour of the owning player: 96-111, 128-143, 224-229.
constexpr bool isTeamBand(std::uint8_t index) {
    return (index >= 96 && index <= 111) || (index >= 128 && index <= 143) ||
           (index >= 224 && index <= 229);
}

/// Loads "palettes/PALETTE.PAL" into `palette`, or the grey ramp when there is no such file, and
/// logs which. Damaged archive data throws the archive reader's std::runtime_error.
void loadGamePalette(const AbstractVirtualFileSystem& files, Palette& palette);

}  // namespace orb::io
