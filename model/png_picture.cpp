#include "model/png_picture.h"

#include <algorithm>

#include "io/formats/pcx.h"
#include "io/formats/png.h"

namespace orb::unitview {
namespace {

/// How far the frames of an animation reach from their common origin.
struct Reach {
    int left = 0, right = 0, top = 0, bottom = 0;
};

Reach reachOf(const io::GafEntry& animation) {
    Reach reach;
    for (const io::GafFrame& frame : animation.frames) {
        reach.left = std::max<int>(reach.left, frame.originX);
        reach.right = std::max(reach.right, frame.width - frame.originX);
        reach.top = std::max<int>(reach.top, frame.originY);
        reach.bottom = std::max(reach.bottom, frame.height - frame.originY);
    }
    return reach;
}

void drawFrame(io::RgbaImage& image, std::size_t left, std::size_t top, const io::GafFrame& frame,
               const io::Palette& palette) {
    for (std::size_t y = 0; y < frame.height; ++y) {
        for (std::size_t x = 0; x < frame.width; ++x) {
            const std::uint8_t index = frame.pixels[y * frame.width + x];
            if (index != frame.transparencyIndex)
                image.pixels[(top + y) * image.width + left + x] = palette[index];
        }
    }
}

}  // namespace

PngPicture pngFromPcx(io::ByteView pcx) {
    const io::PcxImage image = io::parsePcx(pcx);
    io::Palette palette;
    std::ranges::transform(image.palette, palette.begin(), [](io::Rgb c) {
        return io::Rgba{c.r, c.g, c.b, 255};
    });
    return {image.width, image.height,
            io::encodePngIndexed(image.width, image.height, image.pixels, palette)};
}

PngPicture pngFromGafFrame(const io::GafFrame& frame, const io::Palette& palette) {
    io::Palette colors = palette;
    colors[frame.transparencyIndex].a = 0;
    return {frame.width, frame.height,
            io::encodePngIndexed(frame.width, frame.height, frame.pixels, colors)};
}

SpriteStrip spriteStrip(const io::GafEntry& animation, const io::Palette& palette) {
    const Reach reach = reachOf(animation);
    SpriteStrip strip;
    strip.frameCount = animation.frames.size();
    strip.cellWidth = static_cast<std::uint32_t>(reach.left + reach.right);
    strip.cellHeight = static_cast<std::uint32_t>(reach.top + reach.bottom);
    const std::uint64_t width = strip.cellWidth * std::uint64_t{strip.frameCount};
    if (width * strip.cellHeight > io::kMaxImagePixels)
        throw std::runtime_error("Invalid PNG dimensions");

    io::RgbaImage image{static_cast<std::uint32_t>(width), strip.cellHeight, {}};
    image.pixels.assign(static_cast<std::size_t>(width * strip.cellHeight), {0, 0, 0, 0});
    for (std::size_t i = 0; i < strip.frameCount; ++i) {
        const io::GafFrame& frame = animation.frames[i];
        drawFrame(image, i * strip.cellWidth + static_cast<std::size_t>(reach.left - frame.originX),
                  static_cast<std::size_t>(reach.top - frame.originY), frame, palette);
    }
    strip.png = io::encodePng(image);
    return strip;
}

}  // namespace orb::unitview
