#include "model/build_picture_file.h"

#include <algorithm>

#include "io/formats/pcx.h"
#include "io/formats/png.h"
#include "model/picture_scale.h"

namespace orb::unitview {

io::Bytes buildPictureFromPng(io::ByteView png, const io::Palette& palette) {
    const LinearImage picture =
        scaledLight(io::decodePng(png), kBuildPictureWidth, kBuildPictureHeight);
    const PaletteMatcher matcher(palette);
    io::PcxImage image{kBuildPictureWidth, kBuildPictureHeight, {}, {}};
    image.pixels.reserve(picture.pixels.size());
    for (const LinearRgb& color : picture.pixels)
        image.pixels.push_back(matcher.nearest(okLab(color)).value_or(0));
    std::ranges::transform(palette, image.palette.begin(), [](const io::Rgba& color) {
        return io::Rgb{color.r, color.g, color.b};
    });
    return io::writePcx(image);
}

}  // namespace orb::unitview
