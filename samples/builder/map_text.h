#pragma once

#include <string>
#include <vector>

#include "io/formats/tnt.h"
#include "samples/builder/palette_text.h"
#include "samples/builder/source_text.h"

namespace orb::samples {

/// The ground of a map before its picture is drawn.
struct Landscape {
    int width = 0;  // in cells
    int depth = 0;
    double seaLevel = 0;
    /// Of the north-western corner of each cell, in map pixels, rows from the north-west.
    std::vector<double> heights;

    double at(int x, int z) const {
        return heights[static_cast<std::size_t>(z) * static_cast<std::size_t>(width) +
                       static_cast<std::size_t>(x)];
    }
};

/// What the ground is made of, as ramps of the palette.
struct GroundColors {
    Ramp water, shore, land, rock;
};

/// A round spot of another colour, in cells.
struct Stain {
    double x = 0, z = 0, radius = 0;
    Ramp ramp;
    /// Of the pixels at its middle.
    double share = 1;
};

/// Draws the ground with light from the north-west: the map's tiles, equal ones once, and its
/// small picture.
void drawGround(io::TntFile& map, const Landscape& land, const GroundColors& colors,
                const std::vector<Stain>& stains, const NamedPalette& palette);

/// A number from 0 to 1 that looks random but is the same for the same place.
double noiseAt(int x, int z, int seed);

/// A map whose first line is "map WIDTH DEPTH"; the lines are told in samples/README.md.
io::TntFile parseMapText(SourceText& source, const NamedPalette& palette);

}  // namespace orb::samples
