#pragma once

#include <array>

#include "io/formats/palette.h"

namespace orb::unitview {

/// Red, green and blue from 0 to 1.
using ColorRgb = std::array<float, 3>;

/// The colour of the player who owns a unit.
struct TeamColor {
    io::Rgb color;
    bool enabled = false;
    /// How brightly each palette index shows the colour. When none is positive, the indices of the
    /// team bands follow their bands' own ramps.
    std::array<float, 256> mask{};
};

/// What each palette index looks like on a unit of that colour; without it, the palette's colours.
std::array<ColorRgb, 256> unitColors(const io::Palette& palette, const TeamColor& team);

/// The same in bytes, for pictures.
io::Palette unitPalette(const io::Palette& palette, const TeamColor& team);

}  // namespace orb::unitview
