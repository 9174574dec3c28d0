#pragma once

#include <array>
#include <cstdint>

#include "io/formats/palette.h"

namespace orb::unitview {

/// A colour in linear light, 0 to 1 each.
struct LinearColor {
    float r = 0, g = 0, b = 0;

    LinearColor& operator+=(const LinearColor& other) {
        r += other.r;
        g += other.g;
        b += other.b;
        return *this;
    }
    LinearColor operator*(float factor) const { return {r * factor, g * factor, b * factor}; }
};

/// A palette's colours in linear light, and back.
class LinearPalette {
public:
    explicit LinearPalette(const io::Palette& palette);

    const LinearColor& operator[](std::uint8_t index) const { return colors_[index]; }

    /// The index of the colour that is nearest when both are coded in 8 bits as pictures are; of
    /// several as near the lowest.
    std::uint8_t nearest(const LinearColor& color) const;

private:
    struct Candidate {
        io::Rgb color;
        std::uint8_t index = 0;
    };

    std::array<LinearColor, 256> colors_;
    /// By rising green, so that a search can stop early.
    std::array<Candidate, 256> byGreen_;
};

}  // namespace orb::unitview
