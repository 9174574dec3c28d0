#pragma once

#include <cstddef>
#include <cstdint>

/// The HPI archive format, shared by reader and writer. Numbers are little-endian u32 unless the
/// width says otherwise; offsets count from the start of the archive file.
///
///     header     +0  "HAPI"
///                +4  version: 0x00010000, or "BANK"
///                +8  directory end
///                +12 header key, of which the low byte counts
///                +16 directory start: the root's directory record
///     directory  +0  entry count
///                +4  offset of the entry list, entries of 9 bytes
///     entry      +0  offset of its name, ended by a NUL
///                +4  offset of its directory record or file record
///                +8  u8 directory flag
///     file       +0  offset of its data
///                +4  file size, decoded
///                +8  u8 compression flag: 0 stored as is, else in chunks
///     chunks     +0  stored length of each chunk, one for every 65,536 bytes of the file
///                    then the chunks one after another
///     chunk      +0  "SQSH"
///                +4  u8 2
///                +5  u8 method: 0 none, 1 LZ77, 2 zlib
///                +6  u8 scramble flag
///                +7  payload length
///                +11 decoded length
///                +15 sum of the payload's bytes as stored
///                +19 payload
///
/// With a read key other than 0 every byte behind the header is XORed with the key and with the low
/// byte of its own position.
namespace orb::io {

inline constexpr std::uint32_t kHpiMagic = 0x49504148;  // "HAPI"
inline constexpr std::uint32_t kHpiVersion = 0x00010000;
inline constexpr std::uint32_t kHpiBankVersion = 0x4B4E4142;  // "BANK"
inline constexpr std::uint32_t kHpiHeaderSize = 20;
inline constexpr std::uint32_t kHpiDirectoryRecordSize = 8;
inline constexpr std::uint32_t kHpiEntrySize = 9;
inline constexpr std::uint32_t kHpiFileRecordSize = 9;

inline constexpr std::uint32_t kHpiChunkMagic = 0x48535153;  // "SQSH"
inline constexpr std::size_t kHpiChunkHeaderSize = 19;
inline constexpr std::size_t kHpiChunkSize = 65536;

/// Directories nest at most this deep; deeper ones are read as empty and never written.
inline constexpr int kMaxHpiNesting = 128;

/// How many chunks a file of `size` bytes has.
constexpr std::size_t hpiChunkCount(std::uint64_t size) {
    return static_cast<std::size_t>((size + kHpiChunkSize - 1) / kHpiChunkSize);
}

}  // namespace orb::io
