#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "io/formats/gaf_recolor.h"
#include "io/formats/palette.h"

namespace orb::unitview {

/// One palette index that gives way to another.
struct IndexChange {
    std::uint8_t from = 0;
    std::uint8_t to = 0;
};

/// Out of the colours of the owning player, or into them.
enum class RecolorDirection { away, toward };

/// What a texture needs to look the same to all players: for each index of the team bands in use,
/// the colour outside of them that looks most like it. Or the reverse, for a part that is to show
/// the player's colour: the colours around its most saturated hue, spread over the first band from
/// the lightest to the darkest; nothing for a texture without any hue. No index becomes
/// see-through.
std::vector<IndexChange> suggestRecolor(const io::GafColorUse& use, const io::Palette& palette,
                                        RecolorDirection direction);

/// How different two palette entries look.
double colorDistance(const io::Palette& palette, const IndexChange& change);

/// Visible pixels in the team bands.
std::uint64_t teamPixels(const io::GafColorUse& use);

/// Changes an entry of an animation file as `io::recolorGafEntry` does. In place of an index that
/// would become see-through comes the colour that looks most like it, in the team bands when that
/// one is and else outside.
io::GafRecolored recolorTexture(io::ByteView gaf, std::size_t index,
                                std::span<const IndexChange> changes, const io::Palette& palette);

}  // namespace orb::unitview
