#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "io/byte_cursor.h"

namespace orb::io {

/// One picture of an animation. Subframes are already drawn into it.
struct GafFrame {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    /// The point of the picture, from its top left, that is put on the place where it is drawn.
    std::int16_t originX = 0;
    std::int16_t originY = 0;
    /// Pixels of this palette index are see-through.
    std::uint8_t transparencyIndex = 0;
    /// How long the frame is shown, in game ticks.
    std::uint32_t duration = 0;
    /// Palette indices, `width` x `height`, row by row from the top.
    Bytes pixels;
};

/// A named animation or, with one frame, a named picture.
struct GafEntry {
    std::string name;
    std::vector<GafFrame> frames;
};

/// What an entry shows at rest.
struct GafPicture {
    std::string name;
    std::size_t frameCount = 0;
    GafFrame firstFrame;
};

struct GafFile {
    std::vector<GafEntry> entries;
};

/// Subframes nest at most this deep below a frame.
inline constexpr int kMaxGafNesting = 8;

/// Bytes of records and pixels that one reading may produce: a multiple of the file's size, since
/// entries may share frames and frames subframes, plus room for a large empty canvas.
inline constexpr std::uint64_t kGafWorkPerByte = 64;
inline constexpr std::uint64_t kGafWorkBase = 1'048'576;

/// The readers throw std::runtime_error "Invalid GAF version" or "GAF data too small"; the latter
/// also for frames beyond `kMaxImagePixels` and files beyond the limits above.
GafFile parseGaf(ByteView bytes);

/// The names of all entries in file order, without reading any picture.
std::vector<std::string> readGafEntryNames(ByteView bytes);

/// One entry by its index in file order; an index past the last entry is "GAF data too small".
GafEntry readGafEntry(ByteView bytes, std::size_t index);

/// The same without reading the frames after the first; an entry without frames is "GAF data too
/// small".
GafPicture readGafPicture(ByteView bytes, std::size_t index);

enum class GafEncoding { plain, compressed };

/// Writes all frames in the given encoding (plain where compression does not fit the format).
/// Throws std::runtime_error "writeGaf: frame pixel buffer size mismatch", "writeGaf: entry name
/// too long" beyond 32 bytes or "writeGaf: too many frames" beyond 65,535 in an entry.
Bytes writeGaf(const GafFile& gaf, GafEncoding encoding);

}  // namespace orb::io
