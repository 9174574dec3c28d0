#include "model/texture_recolor.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "model/oklab.h"

namespace orb::unitview {
namespace {

/// A colour nearer to grey has no hue that anyone would name.
constexpr double kLeastChroma = 0.03;
/// Shades of one paint differ by less, in radians, and have at least this share of its saturation.
constexpr double kHueReach = std::numbers::pi / 6;
constexpr double kLeastSaturation = 1.0 / 3;

io::IndexSet teamIndices() {
    io::IndexSet set;
    for (std::size_t i = 0; i < set.size(); ++i)
        set[i] = io::isTeamBand(static_cast<std::uint8_t>(i));
    return set;
}

io::IndexSet indicesOf(const io::TeamBand& band) {
    io::IndexSet set;
    for (std::size_t i = band.first; i <= band.last; ++i) set.set(i);
    return set;
}

template <typename Visit>
void forEachIndex(const io::IndexSet& set, Visit visit) {
    for (std::size_t i = 0; i < set.size(); ++i)
        if (set[i]) visit(static_cast<std::uint8_t>(i));
}

io::IndexSet usedIndices(const io::GafColorUse& use) {
    io::IndexSet used;
    for (std::size_t i = 0; i < used.size(); ++i) used[i] = use.pixels[i] > 0;
    return used;
}

/// `used` as far as it has the hue of its most saturated colour.
io::IndexSet shadesOfMainHue(const io::IndexSet& used, const PaletteMatcher& palette) {
    OkLab main;
    forEachIndex(used, [&](std::uint8_t index) {
        if (palette.color(index).chroma() > main.chroma()) main = palette.color(index);
    });
    io::IndexSet shades;
    if (main.chroma() < kLeastChroma) return shades;
    // Darker shades have less chroma, in proportion to their lightness.
    const double least = kLeastSaturation * main.chroma() / main.lightness;
    forEachIndex(used, [&](std::uint8_t index) {
        const OkLab& color = palette.color(index);
        const double turn = std::remainder(color.hue() - main.hue(), 2 * std::numbers::pi);
        shades[index] = color.chroma() > 0 && color.chroma() >= least * color.lightness &&
                        std::abs(turn) <= kHueReach;
    });
    return shades;
}

/// The indices of a set, the lightest colour first.
std::vector<std::uint8_t> byLightness(const io::IndexSet& set, const PaletteMatcher& palette) {
    std::vector<std::uint8_t> indices;
    forEachIndex(set, [&](std::uint8_t index) { indices.push_back(index); });
    std::ranges::stable_sort(indices, std::ranges::greater(),
                             [&](std::uint8_t index) { return palette.color(index).lightness; });
    return indices;
}

/// Spreads shades over a ramp: the lightest goes to its lightest index, the darkest to its darkest,
/// those between in proportion.
std::vector<IndexChange> spreadOver(const std::vector<std::uint8_t>& ramp,
                                    const std::vector<std::uint8_t>& shades,
                                    const PaletteMatcher& palette) {
    if (ramp.empty() || shades.empty()) return {};
    const double lightest = palette.color(shades.front()).lightness;
    const double range = lightest - palette.color(shades.back()).lightness;
    std::vector<IndexChange> changes;
    for (const std::uint8_t shade : shades) {
        const double share = range > 0 ? (lightest - palette.color(shade).lightness) / range : 0;
        const double place = std::round(share * static_cast<double>(ramp.size() - 1));
        changes.push_back({shade, ramp[static_cast<std::size_t>(place)]});
    }
    std::ranges::sort(changes, {}, &IndexChange::from);
    return changes;
}

}  // namespace

std::vector<IndexChange> suggestRecolor(const io::GafColorUse& use, const io::Palette& palette,
                                        RecolorDirection direction) {
    const PaletteMatcher matcher(palette);
    const io::IndexSet team = teamIndices();
    const io::IndexSet used = usedIndices(use);
    if (direction == RecolorDirection::toward) {
        const io::IndexSet ramp = indicesOf(io::kTeamBands.front()) & ~use.seeThrough;
        const io::IndexSet shades = shadesOfMainHue(used & ~team, matcher);
        return spreadOver(byLightness(ramp, matcher), byLightness(shades, matcher), matcher);
    }
    std::vector<IndexChange> changes;
    forEachIndex(used & team, [&](std::uint8_t index) {
        if (const auto to = matcher.nearest(matcher.color(index), team | use.seeThrough))
            changes.push_back({index, *to});
    });
    return changes;
}

double colorDistance(const io::Palette& palette, const IndexChange& change) {
    return distance(okLab(palette[change.from]), okLab(palette[change.to]));
}

std::uint64_t teamPixels(const io::GafColorUse& use) {
    std::uint64_t count = 0;
    forEachIndex(teamIndices(), [&](std::uint8_t index) { count += use.pixels[index]; });
    return count;
}

io::GafRecolored recolorTexture(io::ByteView gaf, std::size_t index,
                                std::span<const IndexChange> changes, const io::Palette& palette) {
    io::IndexMap map = io::identityMap();
    for (const auto& [from, to] : changes) map[from] = to;
    const PaletteMatcher matcher(palette);
    const io::IndexSet team = teamIndices();
    return io::recolorGafEntry(
        gaf, index, map, [&](std::uint8_t wanted, const io::IndexSet& seeThrough) {
            return matcher.nearest(matcher.color(wanted),
                                   seeThrough | (team[wanted] ? ~team : team));
        });
}

}  // namespace orb::unitview
