#pragma once

#include <cstdint>
#include <string>

#include <fmt/format.h>

#include "io/byte_cursor.h"

namespace orb::io {

/// A text that tells one content of a file from another: the 64-bit FNV-1a hash, in hexadecimal.
inline std::string contentVersion(ByteView bytes) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const std::uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001b3;
    return fmt::format("{:016x}", hash);
}

}  // namespace orb::io
