#pragma once

#include <string_view>
#include <vector>

#include <zlib.h>

#include "io/formats/png.h"

namespace orb::io {

/// The pixels of a picture as our encoders write it: eight bits a sample, one IDAT chunk, no
/// filters.
inline std::vector<Rgba> pixelsOf(const Bytes& png) {
    const auto [width, height] = readPngSize(png);
    const bool isIndexed = png.at(25) == 3;
    Palette palette{};
    Bytes rows(height * (1 + std::size_t{width} * (isIndexed ? 1 : 4)));
    for (std::size_t at = 8; at < png.size();) {
        const std::size_t length = png[at + 2] << 8U | png[at + 3];
        const std::string_view type(reinterpret_cast<const char*>(&png[at + 4]), 4);
        const std::uint8_t* const data = png.data() + at + 8;
        for (std::size_t i = 0; type == "PLTE" && i < length / 3; ++i)
            palette[i] = {data[3 * i], data[3 * i + 1], data[3 * i + 2], 255};
        for (std::size_t i = 0; type == "tRNS" && i < length; ++i) palette[i].a = data[i];
        auto size = static_cast<uLongf>(rows.size());
        if (type == "IDAT") uncompress(rows.data(), &size, data, static_cast<uLong>(length));
        at += 12 + length;
    }
    std::vector<Rgba> pixels;
    std::size_t next = 0;
    for (std::size_t y = 0; y < height; ++y) {
        ++next;  // the row's filter
        for (std::size_t x = 0; x < width; ++x, next += isIndexed ? 1 : 4)
            pixels.push_back(
                isIndexed ? palette[rows[next]]
                          : Rgba{rows[next], rows[next + 1], rows[next + 2], rows[next + 3]});
    }
    return pixels;
}

}  // namespace orb::io
