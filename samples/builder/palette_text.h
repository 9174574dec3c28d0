#pragma once

#include <map>
#include <string>

#include "io/formats/palette.h"
#include "samples/builder/source_text.h"

namespace orb::samples {

/// A run of palette indices from a dark colour to a bright one.
struct Ramp {
    std::uint8_t first = 0;
    std::uint8_t last = 0;
};

/// The game's palette with the names of its ramps.
struct NamedPalette {
    io::Palette colors{};
    std::map<std::string, Ramp> ramps;

    /// The index that "ramp", "ramp:step" or a plain number names; fails at `source`'s line.
    std::uint8_t index(const SourceText& source, const std::string& name) const;
    /// The ramp that holds an index; the index alone when none does.
    Ramp rampOf(std::uint8_t index) const;
    /// The index of the colour closest to `color`, never one that recolours per player.
    std::uint8_t nearest(io::Rgb color) const;
};

/// Lines "ramp NAME FIRST LAST #RRGGBB #RRGGBB".
NamedPalette parsePalette(SourceText& source);

/// A PALETTE.PAL file: four bytes a colour.
io::Bytes writePalette(const io::Palette& colors);

/// `step` of `steps` on the way from `from` to `to`, without floating point.
int blend(int from, int to, int step, int steps);
io::Rgb blend(io::Rgb from, io::Rgb to, int step, int steps);

}  // namespace orb::samples
