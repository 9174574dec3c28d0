#pragma once

#include <array>
#include <cstdint>

#include "io/byte_cursor.h"
#include "io/formats/color.h"

namespace orb::io {

/// A 256-colour picture.
struct PcxImage {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    /// Palette indices, `width` x `height`, row by row from the top.
    Bytes pixels;
    std::array<Rgb, 256> palette{};
};

/// Reads a run-length encoded PCX file; pixels missing at the end stay 0. Throws
/// std::runtime_error "PCX data too small" (also beyond `kMaxImagePixels`), "Invalid PCX
/// manufacturer byte", "Only 256-color (8-bit, 1 plane) PCX supported" or "PCX palette marker not
/// found".
PcxImage parsePcx(ByteView bytes);

/// Writes a picture as `parsePcx` reads it. Throws std::runtime_error "writePcx: pixel buffer size
/// mismatch" when `pixels` is not `width` x `height` bytes.
Bytes writePcx(const PcxImage& image);

}  // namespace orb::io
