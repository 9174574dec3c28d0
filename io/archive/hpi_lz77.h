#pragma once

#include <cstdint>
#include <span>

#include "io/byte_cursor.h"

/// The LZ77 coding of archive chunks: a tag byte announces eight items, lowest bit first, each a
/// literal byte (bit clear) or a u16 of 12 bits window position and 4 bits length - 2 (bit set);
/// position 0 ends the stream. The window is a ring that is written from position 1 on.
namespace orb::io {

/// Returns how much of `output` was filled; a truncated stream just ends early.
std::size_t decodeLz77(ByteView input, std::span<std::uint8_t> output);

/// The same bytes for the same input.
Bytes encodeLz77(ByteView input);

}  // namespace orb::io
