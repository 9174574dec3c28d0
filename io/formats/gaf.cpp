#include "io/formats/gaf.h"

#include <algorithm>
#include <optional>

#include "io/formats/color.h"

// Little-endian; offsets count from the start of the file.
//
//   header                     entry                        frame record
//   0  u32  0x00010100          0  u16  frame count          0  u16  width, height
//   4  u32  entry count         2  u16  1                    4  i16  x origin, y origin
//   8  u32  0                   4  u32  0                    8  u8   transparency index
//   12 u32  per entry: offset   8  name, 32 bytes            9  u8   compressed (0 or 1)
//                              40  per frame:               10  u16  subframe count
//                                  u32 record offset        12  u32  0
//                                  u32 duration             16  u32  data offset
//                                                           20  u32  0
//
//   data of a frame with subframes   u32 record offset of each, drawn one over the other
//   plain data                       width x height indices
//   compressed data                  per row u16 byte count, then codes in that many bytes:
//                                      code & 1 -> skip code >> 1 pixels
//                                      code & 2 -> next byte, (code >> 2) + 1 times
//                                      else     -> the next (code >> 2) + 1 bytes

namespace orb::io {
namespace {

constexpr std::uint32_t kVersion = 0x00010100;
constexpr std::size_t kEntryLinkSize = 4;
constexpr std::size_t kEntryHeadSize = 40;
constexpr std::size_t kNameSize = 32;
constexpr std::size_t kFrameLinkSize = 8;
constexpr std::size_t kFrameRecordSize = 24;
constexpr std::size_t kMaxSkip = 127;    // seven bits
constexpr std::size_t kMaxBlock = 64;    // six bits, plus one
constexpr std::size_t kShortestRun = 3;  // below that a run is no shorter than its copy
constexpr const char* kTooSmall = "GAF data too small";

/// Decodes the codes of one row; what they leave out stays, what lies past the row's end is
/// dropped.
void decodeRow(ByteCursor codes, std::span<std::uint8_t> row) {
    std::size_t x = 0;
    while (x < row.size() && codes.remaining() > 0) {
        const std::uint8_t code = codes.u8();
        if ((code & 1) != 0) {
            x += code >> 1;
            continue;
        }
        const std::size_t count = std::min<std::size_t>((code >> 2) + 1U, row.size() - x);
        if ((code & 2) != 0) {
            if (codes.remaining() == 0) return;
            std::fill_n(row.data() + x, count, codes.u8());
        } else {
            const ByteView copied = codes.take(std::min(count, codes.remaining()));
            std::copy(copied.begin(), copied.end(), row.data() + x);
        }
        x += count;
    }
}

/// Draws `source` into `target` with the origins on one point.
void drawOver(GafFrame& target, const GafFrame& source) {
    const int left = target.originX - source.originX;
    const int top = target.originY - source.originY;
    const int firstX = std::max(0, -left);
    const int lastX = std::min<int>(source.width, target.width - left);
    const int lastY = std::min<int>(source.height, target.height - top);
    for (int y = std::max(0, -top); y < lastY; ++y) {
        for (int x = firstX; x < lastX; ++x) {
            const auto from =
                static_cast<std::size_t>(y) * source.width + static_cast<std::size_t>(x);
            const auto to = static_cast<std::size_t>(y + top) * target.width +
                            static_cast<std::size_t>(x + left);
            if (source.pixels[from] != source.transparencyIndex)
                target.pixels[to] = source.pixels[from];
        }
    }
}

class Reader {
public:
    explicit Reader(ByteView bytes)
        : file_(bytes, kTooSmall), workLeft_(bytes.size() * kGafWorkPerByte + kGafWorkBase) {
        if (file_.u32() != kVersion) throw std::runtime_error("Invalid GAF version");
        entryCount_ = file_.u32();
        file_.skip(4);
        // Entries of a sound file do not overlap: else a small file could name millions of them.
        file_.requireArray(file_.position(), entryCount_, kEntryLinkSize + kEntryHeadSize);
        entryTable_ = file_.position();
    }

    std::size_t entryCount() const { return entryCount_; }

    std::string readName(std::size_t index) {
        seekEntry(index);
        file_.skip(8);
        return takeName();
    }

    GafEntry readEntry(std::size_t index) {
        auto [name, links] = readEntryHead(index);
        GafEntry entry{std::move(name), {}};
        while (links.remaining() > 0) entry.frames.push_back(readLinkedFrame(links));
        return entry;
    }

    GafPicture readPicture(std::size_t index) {
        auto [name, links] = readEntryHead(index);
        const std::size_t frameCount = links.size() / kFrameLinkSize;
        return {std::move(name), frameCount, readLinkedFrame(links)};
    }

private:
    struct EntryHead {
        std::string name;
        ByteCursor frameLinks;
    };

    void seekEntry(std::size_t index) {
        if (index >= entryCount_) throw std::runtime_error(kTooSmall);
        file_.seek(entryTable_ + index * kEntryLinkSize);
        file_.seek(file_.u32());
    }

    EntryHead readEntryHead(std::size_t index) {
        seekEntry(index);
        const std::uint16_t frameCount = file_.u16();
        file_.skip(6);
        std::string name = takeName();
        return {std::move(name), ByteCursor(file_.take(frameCount * kFrameLinkSize), kTooSmall)};
    }

    std::string takeName() {
        return std::string(ByteCursor(file_.take(kNameSize), kTooSmall).cString(0));
    }

    void charge(std::uint64_t work) {
        if (work > workLeft_) throw std::runtime_error(kTooSmall);
        workLeft_ -= work;
    }

    GafFrame readLinkedFrame(ByteCursor& links) {
        GafFrame frame = readFrame(links.u32(), 0);
        frame.duration = links.u32();
        return frame;
    }

    GafFrame readFrame(std::uint32_t offset, int depth) {
        ByteCursor record(file_.view(offset, kFrameRecordSize), kTooSmall);
        GafFrame frame;
        frame.width = record.u16();
        frame.height = record.u16();
        frame.originX = record.i16();
        frame.originY = record.i16();
        frame.transparencyIndex = record.u8();
        const bool compressed = record.u8() != 0;
        const std::uint16_t subframeCount = record.u16();
        record.skip(4);
        const std::uint32_t dataOffset = record.u32();

        const std::uint64_t pixelCount = std::uint64_t{frame.width} * frame.height;
        if (pixelCount > kMaxImagePixels) throw std::runtime_error(kTooSmall);
        charge(kFrameRecordSize + pixelCount);
        frame.pixels.assign(static_cast<std::size_t>(pixelCount), frame.transparencyIndex);
        if (subframeCount > 0)
            drawSubframes(frame, dataOffset, subframeCount, depth + 1);
        else if (pixelCount > 0 && compressed)
            readRows(frame, dataOffset);
        else if (pixelCount > 0)
            std::ranges::copy(file_.view(dataOffset, frame.pixels.size()), frame.pixels.begin());
        return frame;
    }

    void drawSubframes(GafFrame& frame, std::uint32_t listOffset, std::size_t count, int depth) {
        if (depth > kMaxGafNesting) throw std::runtime_error(kTooSmall);
        ByteCursor offsets(file_.view(listOffset, count * 4), kTooSmall);
        for (std::size_t i = 0; i < count; ++i) drawOver(frame, readFrame(offsets.u32(), depth));
    }

    void readRows(GafFrame& frame, std::uint32_t dataOffset) {
        ByteCursor cursor = file_;
        cursor.seek(dataOffset);
        const std::span<std::uint8_t> pixels(frame.pixels);
        for (std::size_t y = 0; y < frame.height; ++y) {
            const std::uint16_t length = cursor.u16();
            decodeRow(ByteCursor(cursor.take(length), kTooSmall),
                      pixels.subspan(y * frame.width, frame.width));
        }
    }

    ByteCursor file_;
    std::uint64_t workLeft_;
    std::size_t entryCount_ = 0;
    std::size_t entryTable_ = 0;
};

/// How many pixels from `x` on, at most `limit`, have the value of the pixel at `x`.
std::size_t runLength(ByteView row, std::size_t x, std::size_t limit) {
    const std::size_t end = std::min(row.size(), x + limit);
    std::size_t next = x + 1;
    while (next < end && row[next] == row[x]) ++next;
    return next - x;
}

/// How many pixels from `x` on are best copied as they are.
std::size_t copyLength(ByteView row, std::size_t x, std::uint8_t transparencyIndex) {
    std::size_t next = x + 1;
    while (next < row.size() && next - x < kMaxBlock && row[next] != transparencyIndex &&
           runLength(row, next, kShortestRun) < kShortestRun)
        ++next;
    return next - x;
}

Bytes encodeRow(ByteView row, std::uint8_t transparencyIndex) {
    ByteWriter codes;
    std::size_t x = 0;
    while (x < row.size()) {
        std::size_t count = runLength(row, x, kMaxBlock);
        if (row[x] == transparencyIndex) {
            count = runLength(row, x, kMaxSkip);
            codes.u8(static_cast<std::uint8_t>(count << 1 | 1));
        } else if (count >= kShortestRun) {
            codes.u8(static_cast<std::uint8_t>((count - 1) << 2 | 2));
            codes.u8(row[x]);
        } else {
            count = copyLength(row, x, transparencyIndex);
            codes.u8(static_cast<std::uint8_t>((count - 1) << 2));
            codes.bytes(row.subspan(x, count));
        }
        x += count;
    }
    return codes.take();
}

/// The compressed data of a frame, or none when a row's codes outgrow their byte count.
std::optional<Bytes> compressedData(const GafFrame& frame) {
    ByteWriter data;
    for (std::size_t y = 0; y < frame.height; ++y) {
        const Bytes codes = encodeRow(ByteView(frame.pixels).subspan(y * frame.width, frame.width),
                                      frame.transparencyIndex);
        if (codes.size() > 0xFFFF) return std::nullopt;
        data.u16(static_cast<std::uint16_t>(codes.size()));
        data.bytes(codes);
    }
    return data.take();
}

void writeFrame(ByteWriter& out, const GafFrame& frame, GafEncoding encoding) {
    if (frame.pixels.size() != std::size_t{frame.width} * frame.height)
        throw std::runtime_error("writeGaf: frame pixel buffer size mismatch");
    std::optional<Bytes> compressed;
    if (encoding == GafEncoding::compressed) compressed = compressedData(frame);
    out.u16(frame.width);
    out.u16(frame.height);
    out.u16(static_cast<std::uint16_t>(frame.originX));
    out.u16(static_cast<std::uint16_t>(frame.originY));
    out.u8(frame.transparencyIndex);
    out.u8(compressed ? 1 : 0);
    out.u16(0);
    out.u32(0);
    out.u32(static_cast<std::uint32_t>(out.position() + 8));  // the data follows the record
    out.u32(0);
    out.bytes(compressed ? *compressed : frame.pixels);
}

void writeEntry(ByteWriter& out, const GafEntry& entry, GafEncoding encoding) {
    if (entry.name.size() > kNameSize) throw std::runtime_error("writeGaf: entry name too long");
    if (entry.frames.size() > 0xFFFF) throw std::runtime_error("writeGaf: too many frames");
    out.u16(static_cast<std::uint16_t>(entry.frames.size()));
    out.u16(1);
    out.u32(0);
    out.text(entry.name);
    out.zeros(kNameSize - entry.name.size());
    std::size_t link = out.position();
    for (const GafFrame& frame : entry.frames) {
        out.u32(0);
        out.u32(frame.duration);
    }
    for (const GafFrame& frame : entry.frames) {
        out.patchU32(link, static_cast<std::uint32_t>(out.position()));
        writeFrame(out, frame, encoding);
        link += kFrameLinkSize;
    }
}

}  // namespace

GafFile parseGaf(ByteView bytes) {
    Reader reader(bytes);
    GafFile gaf;
    gaf.entries.reserve(reader.entryCount());
    for (std::size_t i = 0; i < reader.entryCount(); ++i)
        gaf.entries.push_back(reader.readEntry(i));
    return gaf;
}

std::vector<std::string> readGafEntryNames(ByteView bytes) {
    Reader reader(bytes);
    std::vector<std::string> names;
    names.reserve(reader.entryCount());
    for (std::size_t i = 0; i < reader.entryCount(); ++i) names.push_back(reader.readName(i));
    return names;
}

GafEntry readGafEntry(ByteView bytes, std::size_t index) {
    return Reader(bytes).readEntry(index);
}

GafPicture readGafPicture(ByteView bytes, std::size_t index) {
    return Reader(bytes).readPicture(index);
}

Bytes writeGaf(const GafFile& gaf, GafEncoding encoding) {
    ByteWriter out;
    out.u32(kVersion);
    out.u32(static_cast<std::uint32_t>(gaf.entries.size()));
    out.u32(0);
    std::size_t link = out.position();
    out.zeros(gaf.entries.size() * kEntryLinkSize);
    for (const GafEntry& entry : gaf.entries) {
        out.patchU32(link, static_cast<std::uint32_t>(out.position()));
        writeEntry(out, entry, encoding);
        link += kEntryLinkSize;
    }
    return out.take();
}

}  // namespace orb::io
