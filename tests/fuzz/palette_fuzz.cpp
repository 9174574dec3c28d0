#include "fuzzing.h"
#include "io/formats/palette.h"
#include "model/team_color.h"

// A palette file of any length, and the colours of a player over it.

namespace orb::fuzz {

void run(io::ByteView input) {
    io::Palette palette = io::greyscaleRamp();
    io::applyPaletteFile(palette, input);
    io::paletteHash(input);
    Choices choices(input);
    unitview::TeamColor team{.color = {choices.byte(), choices.byte(), choices.byte()},
                             .enabled = true};
    for (float& brightness : team.mask) brightness = static_cast<float>(choices.byte()) / 255;
    const auto colors = unitview::unitColors(palette, team);
    for (const unitview::ColorRgb& color : colors)
        for (const float part : color) require(part >= 0 && part <= 1, "a colour lies in 0 to 1");
    team.enabled = false;
    require(unitview::unitPalette(palette, team) == palette,
            "without a team the palette's colours");
}

}  // namespace orb::fuzz
