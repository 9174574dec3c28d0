#pragma once

#include <cstdint>

#include "io/byte_cursor.h"
#include "io/formats/palette.h"

namespace orb::unitview {

/// The size of build pictures.
inline constexpr std::uint16_t kBuildPictureWidth = 96;
inline constexpr std::uint16_t kBuildPictureHeight = 96;

/// The PCX file of a build picture, in the colours of the game's palette that look most like those
/// of a PNG picture. That may have any size and is stretched; where it is see-through, black shows.
/// Throws what `io::decodePng` throws.
io::Bytes buildPictureFromPng(io::ByteView png, const io::Palette& palette);

}  // namespace orb::unitview
