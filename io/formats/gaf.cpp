#include "io/formats/gaf.h"

#include <algorithm>
#include <optional>

#include "io/formats/gaf_format.h"

namespace orb::io {
namespace {

constexpr std::size_t kMaxSkip = 127;    // seven bits
constexpr std::size_t kMaxBlock = 64;    // six bits, plus one
constexpr std::size_t kShortestRun = 3;  // below that a run is no shorter than its copy

/// Decodes the codes of one row; what they leave out stays, what lies past the row's end is
/// dropped.
void decodeRow(ByteView codes, std::span<std::uint8_t> row) {
    forEachGafCode(codes, row.size(), [&](const GafCode& code) {
        if (code.pixels.empty()) return;
        if (code.isRepeat)
            std::fill_n(row.data() + code.x, code.pixelCount, code.pixels.front());
        else
            std::ranges::copy(code.pixels, row.data() + code.x);
    });
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
        : directory_(bytes), workLeft_(bytes.size() * kGafWorkPerByte + kGafWorkBase) {}

    std::size_t entryCount() const { return directory_.entryCount(); }
    std::string readName(std::size_t index) const { return directory_.entryName(index); }

    GafEntry readEntry(std::size_t index) {
        ByteCursor links(directory_.frameLinks(index), kGafTooSmall);
        GafEntry entry{readName(index), {}};
        while (links.remaining() > 0) entry.frames.push_back(readLinkedFrame(links));
        return entry;
    }

    GafPicture readPicture(std::size_t index) {
        ByteCursor links(directory_.frameLinks(index), kGafTooSmall);
        const std::size_t frameCount = links.size() / kGafFrameLinkSize;
        return {readName(index), frameCount, readLinkedFrame(links)};
    }

private:
    void charge(std::uint64_t work) {
        if (work > workLeft_) throw std::runtime_error(kGafTooSmall);
        workLeft_ -= work;
    }

    GafFrame readLinkedFrame(ByteCursor& links) {
        GafFrame frame = readFrame(links.u32(), 0);
        frame.duration = links.u32();
        return frame;
    }

    GafFrame readFrame(std::uint32_t offset, int depth) {
        const GafRecord record = directory_.record(offset);
        charge(kGafFrameRecordSize + record.pixelCount());
        GafFrame frame;
        frame.width = record.width;
        frame.height = record.height;
        frame.originX = record.originX;
        frame.originY = record.originY;
        frame.transparencyIndex = record.transparencyIndex;
        frame.pixels.assign(static_cast<std::size_t>(record.pixelCount()),
                            record.transparencyIndex);
        if (record.subframeCount > 0)
            drawSubframes(frame, record, depth + 1);
        else if (!frame.pixels.empty() && record.isCompressed)
            readRows(frame, record.dataOffset);
        else if (!frame.pixels.empty())
            std::ranges::copy(directory_.file().view(record.dataOffset, frame.pixels.size()),
                              frame.pixels.begin());
        return frame;
    }

    void drawSubframes(GafFrame& frame, const GafRecord& record, int depth) {
        if (depth > kMaxGafNesting) throw std::runtime_error(kGafTooSmall);
        ByteCursor offsets(
            directory_.file().view(record.dataOffset, record.subframeCount * kGafSubframeLinkSize),
            kGafTooSmall);
        while (offsets.remaining() > 0) drawOver(frame, readFrame(offsets.u32(), depth));
    }

    void readRows(GafFrame& frame, std::uint32_t dataOffset) {
        ByteCursor cursor = directory_.file();
        cursor.seek(dataOffset);
        const std::span<std::uint8_t> pixels(frame.pixels);
        for (std::size_t y = 0; y < frame.height; ++y) {
            const std::uint16_t length = cursor.u16();
            decodeRow(cursor.take(length), pixels.subspan(y * frame.width, frame.width));
        }
    }

    GafDirectory directory_;
    std::uint64_t workLeft_;
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
    if (entry.name.size() > kGafNameSize) throw std::runtime_error("writeGaf: entry name too long");
    if (entry.frames.size() > 0xFFFF) throw std::runtime_error("writeGaf: too many frames");
    out.u16(static_cast<std::uint16_t>(entry.frames.size()));
    out.u16(1);
    out.u32(0);
    out.text(entry.name);
    out.zeros(kGafNameSize - entry.name.size());
    std::size_t link = out.position();
    for (const GafFrame& frame : entry.frames) {
        out.u32(0);
        out.u32(frame.duration);
    }
    for (const GafFrame& frame : entry.frames) {
        out.patchU32(link, static_cast<std::uint32_t>(out.position()));
        writeFrame(out, frame, encoding);
        link += kGafFrameLinkSize;
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
    out.u32(kGafVersion);
    out.u32(static_cast<std::uint32_t>(gaf.entries.size()));
    out.u32(0);
    std::size_t link = out.position();
    out.zeros(gaf.entries.size() * kGafEntryLinkSize);
    for (const GafEntry& entry : gaf.entries) {
        out.patchU32(link, static_cast<std::uint32_t>(out.position()));
        writeEntry(out, entry, encoding);
        link += kGafEntryLinkSize;
    }
    return out.take();
}

}  // namespace orb::io
