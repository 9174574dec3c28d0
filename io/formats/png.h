#pragma once

#include <cstdint>
#include <vector>

#include "io/byte_cursor.h"
#include "io/formats/palette.h"

namespace orb::io {

/// A picture in full colour, row by row from the top.
struct RgbaImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<Rgba> pixels;
};

struct ImageSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The encoders throw std::runtime_error "PNG pixel buffer size mismatch", or "Invalid PNG
/// dimensions" for a picture without pixels or beyond `kMaxImagePixels`.
Bytes encodePng(const RgbaImage& image);
/// `indices` holds one byte per pixel; the palette's alpha goes into the file when it is not 255
/// throughout.
Bytes encodePngIndexed(std::uint32_t width, std::uint32_t height, ByteView indices,
                       const Palette& palette);

/// Decodes a picture of any colour type and bit depth, interlaced or not; samples of 16 bits keep
/// their upper byte. Throws std::runtime_error with "PNG data too small", "Invalid PNG signature",
/// "Invalid PNG header", "Invalid PNG dimensions", "PNG checksum mismatch", "PNG palette missing"
/// or "PNG pixel data damaged".
RgbaImage decodePng(ByteView bytes);

/// The size that the header announces; the texts of `decodePng` that concern the header.
ImageSize readPngSize(ByteView bytes);

}  // namespace orb::io
