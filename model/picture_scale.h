#pragma once

#include <cstdint>
#include <vector>

#include "io/formats/png.h"
#include "model/oklab.h"

namespace orb::unitview {

/// A picture in amounts of light, row by row from the top.
struct LinearImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<LinearRgb> pixels;
};

/// The picture before black, in another size of at least one pixel: every new pixel is the mean
/// light of the area that it covers.
LinearImage scaledLight(const io::RgbaImage& image, std::uint32_t width, std::uint32_t height);

}  // namespace orb::unitview
