#include "model/linear_light.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace orb::unitview {
namespace {

/// The transfer curve of sRGB pictures.
float toLinear(std::uint8_t coded) {
    const double value = coded / 255.0;
    return static_cast<float>(value <= 0.04045 ? value / 12.92
                                               : std::pow((value + 0.055) / 1.055, 2.4));
}

/// The light of every code, and where one code's share of the light ends and the next begins.
struct TransferTable {
    std::array<float, 256> light;
    std::array<float, 255> borders;

    TransferTable() {
        for (std::size_t i = 0; i < light.size(); ++i)
            light[i] = toLinear(static_cast<std::uint8_t>(i));
        for (std::size_t i = 0; i < borders.size(); ++i) borders[i] = (light[i] + light[i + 1]) / 2;
    }

    std::uint8_t code(float value) const {
        return static_cast<std::uint8_t>(std::ranges::upper_bound(borders, value) -
                                         borders.begin());
    }
};

const TransferTable& transferTable() {
    static const TransferTable table;
    return table;
}

}  // namespace

LinearPalette::LinearPalette(const io::Palette& palette) {
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const auto [r, g, b, a] = palette[i];
        const auto& light = transferTable().light;
        colors_[i] = {light[r], light[g], light[b]};
        byGreen_[i] = {{r, g, b}, static_cast<std::uint8_t>(i)};
    }
    std::ranges::sort(byGreen_, {}, [](const Candidate& candidate) {
        return std::tuple(candidate.color.g, candidate.index);
    });
}

std::uint8_t LinearPalette::nearest(const LinearColor& color) const {
    const TransferTable& table = transferTable();
    const int r = table.code(color.r), g = table.code(color.g), b = table.code(color.b);
    int best = std::numeric_limits<int>::max();
    std::uint8_t index = 0;
    // False when this candidate and all beyond it differ too much in green alone.
    const auto consider = [&](const Candidate& candidate) {
        const int dg = candidate.color.g - g;
        if (dg * dg > best) return false;
        const int dr = candidate.color.r - r, db = candidate.color.b - b;
        const int distance = dr * dr + dg * dg + db * db;
        if (std::tuple(distance, candidate.index) < std::tuple(best, index)) {
            best = distance;
            index = candidate.index;
        }
        return true;
    };
    const auto middle = std::ranges::lower_bound(byGreen_, g, {},
                                                 [](const Candidate& c) { return int{c.color.g}; });
    for (auto up = middle; up != byGreen_.end() && consider(*up);) ++up;
    for (auto down = middle; down != byGreen_.begin() && consider(*std::prev(down));) --down;
    return index;
}

}  // namespace orb::unitview
