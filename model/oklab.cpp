#include "model/oklab.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orb::unitview {
namespace {

using Matrix = std::array<std::array<double, 3>, 3>;

// Ottosson's figures: from linear light to what the three kinds of cones answer, and from the cube
// roots of that to the colour space.
constexpr Matrix kConesFromLight = {{{0.4122214708, 0.5363325363, 0.0514459929},
                                     {0.2119034982, 0.6806995451, 0.1073969566},
                                     {0.0883024619, 0.2817188376, 0.6299787005}}};
constexpr Matrix kLabFromCones = {{{0.2104542553, 0.7936177850, -0.0040720468},
                                   {1.9779984951, -2.4285922050, 0.4505937099},
                                   {0.0259040371, 0.7827717662, -0.8086757660}}};

std::array<double, 3> product(const Matrix& matrix, const std::array<double, 3>& vector) {
    std::array<double, 3> result;
    std::ranges::transform(matrix, result.begin(), [&](const auto& row) {
        return row[0] * vector[0] + row[1] * vector[1] + row[2] * vector[2];
    });
    return result;
}

std::array<double, 256> lightOfBytes() {
    std::array<double, 256> light;
    for (std::size_t byte = 0; byte < light.size(); ++byte) {
        const double value = static_cast<double>(byte) / 255;
        light[byte] = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    }
    return light;
}

}  // namespace

double linearFromByte(std::uint8_t byte) {
    static const std::array<double, 256> light = lightOfBytes();
    return light[byte];
}

double OkLab::chroma() const {
    return std::hypot(a, b);
}

double OkLab::hue() const {
    return std::atan2(b, a);
}

OkLab okLab(const LinearRgb& color) {
    auto cones = product(kConesFromLight, color);
    for (double& answer : cones) answer = std::cbrt(answer);
    const auto lab = product(kLabFromCones, cones);
    return {lab[0], lab[1], lab[2]};
}

OkLab okLab(const io::Rgba& color) {
    return okLab(
        LinearRgb{linearFromByte(color.r), linearFromByte(color.g), linearFromByte(color.b)});
}

double distance(const OkLab& from, const OkLab& to) {
    return std::hypot(from.lightness - to.lightness, from.a - to.a, from.b - to.b);
}

PaletteMatcher::PaletteMatcher(const io::Palette& palette) {
    std::ranges::transform(palette, colors_.begin(),
                           [](const io::Rgba& color) { return okLab(color); });
}

std::optional<std::uint8_t> PaletteMatcher::nearest(const OkLab& wanted,
                                                    const io::IndexSet& barred) const {
    std::optional<std::uint8_t> found;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < colors_.size(); ++i) {
        const double distant = barred[i] ? least : distance(wanted, colors_[i]);
        if (distant >= least) continue;
        least = distant;
        found = static_cast<std::uint8_t>(i);
    }
    return found;
}

}  // namespace orb::unitview
