#pragma once

#include <cstdint>

#include "io/byte_cursor.h"
#include "io/formats/gaf.h"
#include "io/formats/palette.h"

namespace orb::unitview {

/// A picture as front ends take it.
struct PngPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    io::Bytes png;
};

/// Throws what reading the PCX file throws.
PngPicture pngFromPcx(io::ByteView pcx);

/// See-through where the frame is. Throws std::runtime_error "Invalid PNG dimensions" for a frame
/// without pixels.
PngPicture pngFromGafFrame(const io::GafFrame& frame, const io::Palette& palette);

/// The frames of an animation side by side.
struct SpriteStrip {
    std::size_t frameCount = 0;
    /// Size of one frame's cell. Frames stand in their cells with their origins on one point.
    std::uint32_t cellWidth = 0;
    std::uint32_t cellHeight = 0;
    io::Bytes png;
};

/// Throws std::runtime_error "Invalid PNG dimensions" for an animation without pixels or too large
/// for one picture.
SpriteStrip spriteStrip(const io::GafEntry& animation, const io::Palette& palette);

}  // namespace orb::unitview
