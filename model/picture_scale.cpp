#include "model/picture_scale.h"

#include <algorithm>

namespace orb::unitview {
namespace {

/// Calls `visit(source, target, share)` for all pixels along one side that overlap; `share` is the
/// part of the new pixel that the old one covers.
template <typename Visit>
void forEachOverlap(std::uint32_t sourceSize, std::uint32_t targetSize, Visit visit) {
    // In units of which the side has sourceSize x targetSize, so that all borders are whole.
    std::uint64_t at = 0;
    const std::uint64_t end = std::uint64_t{sourceSize} * targetSize;
    while (at < end) {
        const std::uint64_t source = at / targetSize;
        const std::uint64_t target = at / sourceSize;
        const std::uint64_t next = std::min((source + 1) * targetSize, (target + 1) * sourceSize);
        visit(static_cast<std::size_t>(source), static_cast<std::size_t>(target),
              static_cast<double>(next - at) / sourceSize);
        at = next;
    }
}

void add(LinearRgb& sum, const LinearRgb& color, double weight) {
    for (std::size_t channel = 0; channel < sum.size(); ++channel)
        sum[channel] += color[channel] * weight;
}

LinearRgb lightOf(const io::Rgba& color) {
    const double opacity = color.a / 255.0;
    return {linearFromByte(color.r) * opacity, linearFromByte(color.g) * opacity,
            linearFromByte(color.b) * opacity};
}

}  // namespace

LinearImage scaledLight(const io::RgbaImage& image, std::uint32_t width, std::uint32_t height) {
    LinearImage scaled{width, height, std::vector<LinearRgb>(std::size_t{width} * height)};
    std::vector<LinearRgb> row(width);
    std::size_t rowAt = image.height;  // none yet
    forEachOverlap(image.height, height, [&](std::size_t source, std::size_t target, double share) {
        if (source != rowAt) {
            std::ranges::fill(row, LinearRgb{});
            const io::Rgba* const pixels = image.pixels.data() + source * image.width;
            forEachOverlap(image.width, width, [&](std::size_t from, std::size_t to, double part) {
                add(row[to], lightOf(pixels[from]), part);
            });
            rowAt = source;
        }
        for (std::size_t x = 0; x < width; ++x)
            add(scaled.pixels[target * width + x], row[x], share);
    });
    return scaled;
}

}  // namespace orb::unitview
