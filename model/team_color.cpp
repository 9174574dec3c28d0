#include "model/team_color.h"

#include <algorithm>
#include <cmath>

namespace orb::unitview {
namespace {

// Team bands run from bright to dark.
constexpr float kDarkest = 0.35F;
constexpr float kBrightnessRange = 0.65F;

using io::TeamBand;

ColorRgb scaled(io::Rgb color, float weight) {
    return {static_cast<float>(color.r) / 255 * weight, static_cast<float>(color.g) / 255 * weight,
            static_cast<float>(color.b) / 255 * weight};
}

float bandBrightness(const TeamBand& band, std::size_t index) {
    const float t =
        static_cast<float>(index - band.first) / static_cast<float>(band.last - band.first);
    return (1 - t) * kBrightnessRange + kDarkest;
}

std::uint8_t toByte(float value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255));
}

}  // namespace

std::array<ColorRgb, 256> unitColors(const io::Palette& palette, const TeamColor& team) {
    std::array<ColorRgb, 256> colors;
    std::ranges::transform(palette, colors.begin(), [](const io::Rgba& entry) {
        return scaled({entry.r, entry.g, entry.b}, 1);
    });
    if (!team.enabled) return colors;
    const bool hasMask = std::ranges::any_of(team.mask, [](float weight) { return weight > 0; });
    for (const TeamBand& band : io::kTeamBands)
        for (std::size_t index = band.first; index <= band.last; ++index)
            colors[index] =
                scaled(team.color, hasMask ? team.mask[index] : bandBrightness(band, index));
    return colors;
}

io::Palette unitPalette(const io::Palette& palette, const TeamColor& team) {
    const auto colors = unitColors(palette, team);
    io::Palette result;
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = {toByte(colors[i][0]), toByte(colors[i][1]), toByte(colors[i][2]),
                     palette[i].a};
    return result;
}

}  // namespace orb::unitview
