#include "fuzzing.h"
#include "io/formats/pcx.h"
#include "model/png_picture.h"

// A PCX picture: reading, writing what was read, and turning it into a PNG file.

namespace orb::fuzz {

void run(io::ByteView input) {
    io::PcxImage image;
    if (!accepts([&] { image = io::parsePcx(input); })) return;
    require(image.pixels.size() == std::size_t{image.width} * image.height, "all pixels are there");
    const io::PcxImage again = io::parsePcx(io::writePcx(image));
    require(again.width == image.width && again.height == image.height &&
                again.pixels == image.pixels && again.palette == image.palette,
            "a picture reads as it was written");
    accepts([&] { unitview::pngFromPcx(input); });
}

}  // namespace orb::fuzz
