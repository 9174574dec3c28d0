#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "io/formats/index_sets.h"
#include "io/formats/palette.h"

namespace orb::unitview {

/// Red, green and blue in proportion to light, from 0 to 1.
using LinearRgb = std::array<double, 3>;

/// A byte of a picture as an amount of light, from 0 to 1, by the curve of IEC 61966-2-1 (sRGB).
double linearFromByte(std::uint8_t byte);

/// A colour by lightness (0 to 1) and its distances from grey towards red against green and yellow
/// against blue, such that equal distances look equally different (B. Ottosson, "A perceptual color
/// space for image processing", 2020).
struct OkLab {
    double lightness = 0;
    double a = 0;
    double b = 0;

    /// 0 for greys, about 0.3 at most for what screens show.
    double chroma() const;
    /// In radians; of no meaning for greys.
    double hue() const;
};

OkLab okLab(const LinearRgb& color);
/// Its alpha does not count.
OkLab okLab(const io::Rgba& color);

double distance(const OkLab& from, const OkLab& to);

/// A palette by how its colours look.
class PaletteMatcher {
public:
    explicit PaletteMatcher(const io::Palette& palette);

    const OkLab& color(std::uint8_t index) const { return colors_[index]; }

    /// The index of the colour nearest to `wanted`, of several the lowest; none when all are
    /// barred.
    std::optional<std::uint8_t> nearest(const OkLab& wanted, const io::IndexSet& barred = {}) const;

private:
    std::array<OkLab, 256> colors_;
};

}  // namespace orb::unitview
