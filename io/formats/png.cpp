#include "io/formats/png.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

#include <zlib.h>

// Big-endian, unlike the game's own formats. A signature of eight bytes, then chunks:
//
//   u32 length, 4 letters of type, that many bytes, u32 crc of type and bytes
//
//   IHDR  u32 width, u32 height, u8 bit depth, u8 colour type, u8 compression 0, u8 filter 0,
//         u8 interlace (0 = none)
//   PLTE  r, g, b per palette entry
//   tRNS  alpha per palette entry, or the u16 samples of the one see-through colour
//   IDAT  pieces of one zlib stream: per row a filter type and the packed samples
//   IEND  empty

namespace orb::io {
namespace {

constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kHeaderChunkSize = 13;
constexpr const char* kTooSmall = "PNG data too small";

enum ColorType : std::uint8_t { kGrey = 0, kRgb = 2, kIndexed = 3, kGreyAlpha = 4, kRgba = 6 };
constexpr std::uint8_t kNoFilter = 0;

struct Header {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint8_t bitDepth = 8;
    std::uint8_t colorType = kRgba;
    std::uint8_t interlace = 0;

    std::size_t channels() const {
        switch (colorType) {
            case kRgb:
                return 3;
            case kGreyAlpha:
                return 2;
            case kRgba:
                return 4;
            default:
                return 1;
        }
    }
    std::size_t bitsPerPixel() const { return channels() * bitDepth; }
    std::size_t rowBytes() const {
        return static_cast<std::size_t>((std::uint64_t{width} * bitsPerPixel() + 7) / 8);
    }
};

bool isValidFormat(std::uint8_t colorType, std::uint8_t bitDepth) {
    switch (colorType) {
        case kGrey:
            return bitDepth <= 16 && std::has_single_bit(bitDepth);
        case kIndexed:
            return bitDepth <= 8 && std::has_single_bit(bitDepth);
        case kRgb:
        case kGreyAlpha:
        case kRgba:
            return bitDepth == 8 || bitDepth == 16;
        default:
            return false;
    }
}

void checkDimensions(std::uint32_t width, std::uint32_t height) {
    const std::uint64_t pixels = std::uint64_t{width} * height;
    if (pixels == 0 || pixels > kMaxImagePixels) throw std::runtime_error("Invalid PNG dimensions");
}

std::uint32_t checksum(ByteView bytes) {
    return static_cast<std::uint32_t>(crc32(0, bytes.data(), static_cast<uInt>(bytes.size())));
}

// --- Writing ---------------------------------------------------------------------------------

void writeU32(ByteWriter& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.u8(static_cast<std::uint8_t>(value >> shift));
}

void writeChunk(ByteWriter& out, std::string_view type, ByteView data) {
    writeU32(out, static_cast<std::uint32_t>(data.size()));
    const std::size_t start = out.position();
    out.text(type);
    out.bytes(data);
    writeU32(out, checksum(out.view().subspan(start)));
}

Bytes deflateRows(const Header& header, ByteView samples) {
    const std::size_t rowBytes = header.rowBytes();
    ByteWriter rows;
    for (std::size_t y = 0; y < header.height; ++y) {
        rows.u8(kNoFilter);
        rows.bytes(samples.subspan(y * rowBytes, rowBytes));
    }
    uLongf size = compressBound(static_cast<uLong>(rows.position()));
    Bytes deflated(size);
    const int result = compress2(deflated.data(), &size, rows.view().data(),
                                 static_cast<uLong>(rows.position()), Z_DEFAULT_COMPRESSION);
    if (result != Z_OK) throw std::runtime_error("PNG compression failed");
    deflated.resize(size);
    return deflated;
}

void writePaletteChunks(ByteWriter& out, const Palette& palette) {
    ByteWriter colors;
    ByteWriter alphas;
    for (const Rgba& color : palette) {
        for (const std::uint8_t channel : {color.r, color.g, color.b}) colors.u8(channel);
        alphas.u8(color.a);
    }
    writeChunk(out, "PLTE", colors.view());
    if (std::ranges::any_of(palette, [](const Rgba& color) { return color.a != 255; }))
        writeChunk(out, "tRNS", alphas.view());
}

Bytes encode(const Header& header, ByteView samples, const Palette* palette) {
    checkDimensions(header.width, header.height);
    if (samples.size() != header.rowBytes() * header.height)
        throw std::runtime_error("PNG pixel buffer size mismatch");
    ByteWriter fields;
    writeU32(fields, header.width);
    writeU32(fields, header.height);
    fields.u8(header.bitDepth);
    fields.u8(header.colorType);
    fields.zeros(3);
    ByteWriter out;
    out.bytes(kSignature);
    writeChunk(out, "IHDR", fields.view());
    if (palette != nullptr) writePaletteChunks(out, *palette);
    writeChunk(out, "IDAT", deflateRows(header, samples));
    writeChunk(out, "IEND", {});
    return out.take();
}

// --- Reading ---------------------------------------------------------------------------------

std::uint32_t readU32(ByteCursor& cursor) {
    const ByteView b = cursor.take(4);
    return std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 | std::uint32_t{b[2]} << 8 |
           std::uint32_t{b[3]};
}

struct Chunk {
    std::string_view type;
    ByteView data;
};

Chunk readChunk(ByteCursor& cursor) {
    const std::uint32_t length = readU32(cursor);
    const std::size_t start = cursor.position();
    const ByteView type = cursor.take(4);
    const ByteView data = cursor.take(length);
    if (readU32(cursor) != checksum(cursor.view(start, 4 + std::size_t{length})))
        throw std::runtime_error("PNG checksum mismatch");
    return {{reinterpret_cast<const char*>(type.data()), type.size()}, data};
}

/// Reads the signature and the header chunk, which must be the first.
Header readHeader(ByteCursor& cursor) {
    const ByteView signature = cursor.take(kSignature.size());
    if (!std::ranges::equal(signature, kSignature))
        throw std::runtime_error("Invalid PNG signature");
    const Chunk chunk = readChunk(cursor);
    if (chunk.type != "IHDR" || chunk.data.size() != kHeaderChunkSize)
        throw std::runtime_error("Invalid PNG header");
    ByteCursor fields(chunk.data, kTooSmall);
    Header header;
    header.width = readU32(fields);
    header.height = readU32(fields);
    header.bitDepth = fields.u8();
    header.colorType = fields.u8();
    const std::uint8_t compression = fields.u8();
    const std::uint8_t filter = fields.u8();
    header.interlace = fields.u8();
    if (!isValidFormat(header.colorType, header.bitDepth) || compression != 0 || filter != 0)
        throw std::runtime_error("Invalid PNG header");
    checkDimensions(header.width, header.height);
    return header;
}

}  // namespace

Bytes encodePng(const RgbaImage& image) {
    ByteWriter samples;
    for (const Rgba& color : image.pixels)
        for (const std::uint8_t channel : {color.r, color.g, color.b, color.a}) samples.u8(channel);
    return encode({image.width, image.height, 8, kRgba}, samples.view(), nullptr);
}

Bytes encodePngIndexed(std::uint32_t width, std::uint32_t height, ByteView indices,
                       const Palette& palette) {
    return encode({width, height, 8, kIndexed}, indices, &palette);
}

ImageSize readPngSize(ByteView bytes) {
    ByteCursor cursor(bytes, kTooSmall);
    const Header header = readHeader(cursor);
    return {header.width, header.height};
}

}  // namespace orb::io
