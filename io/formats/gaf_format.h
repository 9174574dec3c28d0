#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "io/byte_cursor.h"

/// How animation files are laid out, for what reads them and what changes them in place.
/// Little-endian; offsets count from the start of the file.
///
///   header                     entry                        frame record
///   0  u32  0x00010100          0  u16  frame count          0  u16  width, height
///   4  u32  entry count         2  u16  1                    4  i16  x origin, y origin
///   8  u32  0                   4  u32  0                    8  u8   transparency index
///   12 u32  per entry: offset   8  name, 32 bytes            9  u8   compressed (0 or 1)
///                              40  per frame:               10  u16  subframe count
///                                  u32 record offset        12  u32  0
///                                  u32 duration             16  u32  data offset
///                                                           20  u32  0
///
///   data of a frame with subframes   u32 record offset of each, drawn one over the other
///   plain data                       width x height indices
///   compressed data                  per row u16 byte count, then codes in that many bytes:
///                                      code & 1 -> skip code >> 1 pixels
///                                      code & 2 -> next byte, (code >> 2) + 1 times
///                                      else     -> the next (code >> 2) + 1 bytes
namespace orb::io {

inline constexpr std::uint32_t kGafVersion = 0x00010100;
inline constexpr std::size_t kGafHeaderSize = 12;
inline constexpr std::size_t kGafEntryLinkSize = 4;
inline constexpr std::size_t kGafEntryHeadSize = 40;
inline constexpr std::size_t kGafNameSize = 32;
inline constexpr std::size_t kGafFrameLinkSize = 8;
inline constexpr std::size_t kGafFrameRecordSize = 24;
inline constexpr std::size_t kGafSubframeLinkSize = 4;
inline constexpr std::size_t kGafRowHeadSize = 2;
inline constexpr const char* kGafTooSmall = "GAF data too small";

struct GafRecord {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::int16_t originX = 0;
    std::int16_t originY = 0;
    std::uint8_t transparencyIndex = 0;
    bool isCompressed = false;
    std::uint16_t subframeCount = 0;
    std::uint32_t dataOffset = 0;

    std::uint64_t pixelCount() const { return std::uint64_t{width} * height; }
};

/// Finds entries and records; throws std::runtime_error "Invalid GAF version" or "GAF data too
/// small".
class GafDirectory {
public:
    /// Borrows the bytes.
    explicit GafDirectory(ByteView bytes);

    const ByteCursor& file() const { return file_; }
    std::size_t entryCount() const { return entryCount_; }
    /// An index past the last entry is "GAF data too small".
    std::size_t entryOffset(std::size_t index) const;
    std::string entryName(std::size_t index) const;
    /// The entry's links: the offset of a record and a duration for each frame.
    ByteView frameLinks(std::size_t index) const;
    /// Also refuses a picture of more than `kMaxImagePixels`.
    GafRecord record(std::size_t offset) const;

private:
    ByteCursor file_;
    std::size_t entryCount_ = 0;
};

/// What one code of a compressed row says.
struct GafCode {
    std::size_t x = 0;
    /// Within the row.
    std::size_t pixelCount = 0;
    /// The code itself.
    ByteView code;
    /// One byte for all the pixels, or one for each (fewer where the row's data end); none to skip.
    ByteView pixels;
    bool isRepeat = false;
};

/// Visits the codes that concern the `width` pixels of a row; what follows them is ignored.
template <typename Visit>
void forEachGafCode(ByteView row, std::size_t width, Visit visit) {
    ByteCursor codes(row, kGafTooSmall);
    for (std::size_t x = 0; x < width && codes.remaining() > 0;) {
        GafCode code{x, 0, codes.take(1), {}, false};
        const std::uint8_t bits = code.code.front();
        if ((bits & 1) != 0) {
            code.pixelCount = std::min<std::size_t>(bits >> 1, width - x);
        } else {
            code.isRepeat = (bits & 2) != 0;
            code.pixelCount = std::min<std::size_t>((bits >> 2) + 1U, width - x);
            code.pixels = codes.take(
                std::min(code.isRepeat ? std::size_t{1} : code.pixelCount, codes.remaining()));
        }
        visit(code);
        x += code.pixelCount;
    }
}

}  // namespace orb::io
