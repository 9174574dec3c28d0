#include "io/formats/pcx.h"

#include <algorithm>

// Little-endian.
//
//     0  u8   manufacturer, 10
//     1  u8   version            (writer: 5, a version that has the palette at the end)
//     2  u8   encoding           (1 = run length; not checked)
//     3  u8   bits per pixel, 8
//     4  u16  x min, y min, x max, y max, inclusive
//    65  u8   colour planes, 1
//    66  u16  bytes per line, even
//   128       run-length data: 11cccccc value = c times the value; any other byte = itself.
//             No run crosses the end of a line.
//  -769  u8   palette marker, 12
//  -768       256 x r, g, b

namespace orb::io {
namespace {

constexpr std::size_t kHeaderSize = 128;
constexpr std::size_t kPaletteSize = 768;
constexpr std::size_t kMarkerFromEnd = kPaletteSize + 1;
constexpr std::size_t kPlanesField = 65;
constexpr std::uint8_t kManufacturer = 10;
constexpr std::uint8_t kVersion = 5;
constexpr std::uint8_t kRunLengthEncoding = 1;
constexpr std::uint8_t kBitsPerPixel = 8;
constexpr std::uint8_t kPlanes = 1;
constexpr std::uint8_t kPaletteMarker = 12;
constexpr std::uint8_t kRunMark = 0xC0;
constexpr std::uint8_t kRunCountMask = 0x3F;
constexpr const char* kTooSmall = "PCX data too small";

struct Header {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint16_t bytesPerLine = 0;
};

Header readHeader(ByteCursor& cursor) {
    if (cursor.u8() != kManufacturer) throw std::runtime_error("Invalid PCX manufacturer byte");
    cursor.skip(2);
    const std::uint8_t bits = cursor.u8();
    const std::uint16_t xMin = cursor.u16();
    const std::uint16_t yMin = cursor.u16();
    const std::uint16_t xMax = cursor.u16();
    const std::uint16_t yMax = cursor.u16();
    cursor.seek(kPlanesField);
    if (bits != kBitsPerPixel || cursor.u8() != kPlanes)
        throw std::runtime_error("Only 256-color (8-bit, 1 plane) PCX supported");
    // 0 .. 65535 wraps to size 0, an empty picture
    return {static_cast<std::uint16_t>(xMax - xMin + 1),
            static_cast<std::uint16_t>(yMax - yMin + 1), cursor.u16()};
}

/// Decodes one line into `row`, dropping what lies past its end. The data may run dry at any point.
void decodeRow(ByteCursor& cursor, std::size_t bytesPerLine, std::span<std::uint8_t> row) {
    std::size_t x = 0;
    while (x < bytesPerLine && cursor.remaining() > 0) {
        const std::uint8_t first = cursor.u8();
        if ((first & kRunMark) != kRunMark) {
            if (x < row.size()) row[x] = first;
            ++x;
            continue;
        }
        if (cursor.remaining() == 0) return;
        const std::size_t count = std::min<std::size_t>(first & kRunCountMask, bytesPerLine - x);
        const std::uint8_t value = cursor.u8();
        const std::size_t from = std::min(x, row.size());
        const std::size_t to = std::min(x + count, row.size());
        std::fill(row.data() + from, row.data() + to, value);
        x += count;
    }
}

void encodeRow(ByteWriter& out, ByteView row, std::size_t padding) {
    for (std::size_t x = 0; x < row.size();) {
        const std::uint8_t value = row[x];
        std::size_t count = 1;
        while (count < kRunCountMask && x + count < row.size() && row[x + count] == value) ++count;
        if (count > 1 || (value & kRunMark) == kRunMark)
            out.u8(static_cast<std::uint8_t>(kRunMark | count));
        out.u8(value);
        x += count;
    }
    out.zeros(padding);
}

}  // namespace

PcxImage parsePcx(ByteView bytes) {
    if (bytes.size() < kHeaderSize + kMarkerFromEnd) throw std::runtime_error(kTooSmall);
    ByteCursor cursor(bytes, kTooSmall);
    const Header header = readHeader(cursor);
    const std::uint64_t pixelCount = std::uint64_t{header.width} * header.height;
    if (pixelCount > kMaxImagePixels) throw std::runtime_error(kTooSmall);

    PcxImage image;
    image.width = header.width;
    image.height = header.height;
    image.pixels.resize(static_cast<std::size_t>(pixelCount));
    cursor.seek(kHeaderSize);
    const std::span<std::uint8_t> pixels(image.pixels);
    for (std::size_t y = 0; y < image.height && cursor.remaining() > 0; ++y)
        decodeRow(cursor, header.bytesPerLine, pixels.subspan(y * image.width, image.width));

    cursor.seek(bytes.size() - kMarkerFromEnd);
    if (cursor.u8() != kPaletteMarker) throw std::runtime_error("PCX palette marker not found");
    for (Rgb& color : image.palette) {
        color.r = cursor.u8();
        color.g = cursor.u8();
        color.b = cursor.u8();
    }
    return image;
}

Bytes writePcx(const PcxImage& image) {
    if (image.pixels.size() != std::size_t{image.width} * image.height)
        throw std::runtime_error("writePcx: pixel buffer size mismatch");
    const std::size_t padding = image.width == 0xFFFF ? 0 : image.width % 2;
    ByteWriter out;
    for (const std::uint8_t field : {kManufacturer, kVersion, kRunLengthEncoding, kBitsPerPixel})
        out.u8(field);
    out.u32(0);
    out.u16(static_cast<std::uint16_t>(image.width - 1));
    out.u16(static_cast<std::uint16_t>(image.height - 1));
    out.zeros(kPlanesField - out.position());
    out.u8(kPlanes);
    out.u16(static_cast<std::uint16_t>(image.width + padding));
    out.zeros(kHeaderSize - out.position());
    for (std::size_t y = 0; y < image.height; ++y)
        encodeRow(out, ByteView(image.pixels).subspan(y * image.width, image.width), padding);
    out.u8(kPaletteMarker);
    for (const Rgb& color : image.palette)
        for (const std::uint8_t channel : {color.r, color.g, color.b}) out.u8(channel);
    return out.take();
}

}  // namespace orb::io
