#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "io/byte_cursor.h"

struct z_stream_s;

namespace orb::io {

enum class HpiMethod : std::uint8_t { stored = 0, lz77 = 1, zlib = 2 };

/// Decodes the chunks of archive files, one after another, with an inflate state that it keeps.
class HpiChunkDecoder {
public:
    /// Checks one chunk, header included, and appends what it decodes to; a scrambled payload is
    /// unscrambled in place. A chunk decodes to at most 65,536 bytes whatever its header announces;
    /// only a stored one (which is its own payload) may be longer.
    ///
    /// Throws std::runtime_error "HPI chunk too small", "Bad HPI chunk magic", "HPI chunk checksum
    /// mismatch", "ZLib decompression failed: <code>" or "Unknown HPI compression type: <method>".
    void append(std::span<std::uint8_t> chunk, Bytes& result);

private:
    struct InflateEnd {
        void operator()(z_stream_s* stream) const;
    };

    std::size_t decodeZlib(std::span<std::uint8_t> payload, std::span<std::uint8_t> output);
    bool inflateWhole(std::span<std::uint8_t> payload, std::span<std::uint8_t> output);

    std::unique_ptr<z_stream_s, InflateEnd> inflater_;
};

/// One scrambled chunk, header included, of up to 65,536 bytes: compressed by that method, or
/// stored where that does not make it shorter.
Bytes encodeHpiChunk(ByteView input, HpiMethod method = HpiMethod::zlib);

/// XORs each byte with `key` and with the low byte of its position in the archive, the first one
/// standing at `offset`. Applying it twice restores the bytes.
void scrambleByPosition(std::span<std::uint8_t> bytes, std::uint64_t offset, std::uint8_t key);

}  // namespace orb::io
