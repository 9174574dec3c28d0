#pragma once

#include <cstdint>

#include "io/byte_cursor.h"
#include "samples/builder/model_text.h"

namespace orb::samples {

/// A picture of palette indices, row by row from the top.
struct Canvas {
    Canvas(int w, int h)
        : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}

    bool contains(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
    std::uint8_t& at(int x, int y) { return pixels[offsetOf(x, y)]; }
    std::uint8_t at(int x, int y) const { return pixels[offsetOf(x, y)]; }

    int width;
    int height;
    io::Bytes pixels;
    /// To be written with the colours themselves instead of palette indices.
    bool isTrueColor = false;

private:
    std::size_t offsetOf(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
               static_cast<std::size_t>(x);
    }
};

/// Draws the model, at rest and seen from above its front corner, as large as the canvas allows.
/// Faces are shaded within their colour's ramp; those seen from behind are left out.
void drawModel(Canvas& canvas, const io::Model3doObject& model, const NamedPalette& palette);

}  // namespace orb::samples
