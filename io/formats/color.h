#pragma once

#include <cstdint>

namespace orb::io {

struct Rgb {
    std::uint8_t r = 0, g = 0, b = 0;
    bool operator==(const Rgb&) const = default;
};

/// Alpha 255 is opaque.
struct Rgba {
    std::uint8_t r = 0, g = 0, b = 0, a = 255;
    bool operator==(const Rgba&) const = default;
};

/// No picture that is read or written has more pixels than this (4,096 by 4,096).
inline constexpr std::uint64_t kMaxImagePixels = 16'777'216;

}  // namespace orb::io
