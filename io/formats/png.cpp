#include "io/formats/png.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <string_view>

#include <zlib.h>

#include "io/out_of_memory.h"

// Big-endian, unlike the game's own formats. A signature of eight bytes, then chunks:
//
//   u32 length, 4 letters of type, that many bytes, u32 crc of type and bytes
//
//   IHDR  u32 width, u32 height, u8 bit depth, u8 colour type, u8 compression 0, u8 filter 0,
//         u8 interlace (0 = none, 1 = seven passes, each the rows of a coarser picture)
//   PLTE  r, g, b per palette entry
//   tRNS  alpha per palette entry, or the u16 samples of the one see-through colour
//   IDAT  pieces of one zlib stream: per row a filter type and the packed samples
//   IEND  empty

namespace orb::io {
namespace {

constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kHeaderChunkSize = 13;
/// A fifth of the time that the library's own choice takes, for files 6 % larger.
constexpr int kDeflateLevel = 4;
constexpr std::uint64_t kMaxDeflateRatio = 1032;  // no deflate stream expands further
constexpr const char* kTooSmall = "PNG data too small";
constexpr const char* kDamaged = "PNG pixel data damaged";

enum ColorType : std::uint8_t { kGrey = 0, kRgb = 2, kIndexed = 3, kGreyAlpha = 4, kRgba = 6 };
enum Filter : std::uint8_t { kNone = 0, kSub = 1, kUp = 2, kAverage = 3, kPaeth = 4 };

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
    /// Of a row of the whole picture or of as many pixels.
    std::size_t rowBytes() const { return rowBytes(width); }
    std::size_t rowBytes(std::uint32_t pixels) const {
        return static_cast<std::size_t>((std::uint64_t{pixels} * bitsPerPixel() + 7) / 8);
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
        rows.u8(kNone);
        rows.bytes(samples.subspan(y * rowBytes, rowBytes));
    }
    uLongf size = compressBound(static_cast<uLong>(rows.position()));
    Bytes deflated(size);
    const int result = compress2(deflated.data(), &size, rows.view().data(),
                                 static_cast<uLong>(rows.position()), kDeflateLevel);
    if (result == Z_MEM_ERROR) throwOutOfMemory();
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
    if (!isValidFormat(header.colorType, header.bitDepth) || compression != 0 || filter != 0 ||
        header.interlace > 1)
        throw std::runtime_error("Invalid PNG header");
    checkDimensions(header.width, header.height);
    return header;
}

/// What the chunks after the header hold.
struct Content {
    Palette palette{};
    bool hasPalette = false;
    ByteView transparency;
    Bytes deflated;
};

void readPalette(Content& content, ByteView data) {
    content.hasPalette = true;
    const std::size_t count = std::min(data.size() / 3, content.palette.size());
    for (std::size_t i = 0; i < count; ++i)
        content.palette[i] = {data[3 * i], data[3 * i + 1], data[3 * i + 2], 255};
}

Content readContent(ByteCursor& cursor) {
    Content content;
    for (;;) {
        const Chunk chunk = readChunk(cursor);
        if (chunk.type == "IEND") return content;
        if (chunk.type == "PLTE") readPalette(content, chunk.data);
        if (chunk.type == "tRNS") content.transparency = chunk.data;
        if (chunk.type == "IDAT")
            content.deflated.insert(content.deflated.end(), chunk.data.begin(), chunk.data.end());
    }
}

/// Every `xStep`th pixel of every `yStep`th row, from `x` and `y` on.
struct Pass {
    std::uint32_t x, y, xStep, yStep;

    std::uint32_t width(const Header& header) const { return count(header.width, x, xStep); }
    /// 0 when there is no pixel in a row either.
    std::uint32_t height(const Header& header) const {
        return width(header) == 0 ? 0 : count(header.height, y, yStep);
    }
    std::size_t bytes(const Header& header) const {
        return (header.rowBytes(width(header)) + 1) * height(header);
    }

private:
    static std::uint32_t count(std::uint32_t size, std::uint32_t first, std::uint32_t step) {
        return size <= first ? 0 : (size - first - 1) / step + 1;
    }
};

constexpr Pass kWhole[] = {{0, 0, 1, 1}};
constexpr Pass kInterlaced[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};

std::span<const Pass> passesOf(const Header& header) {
    return header.interlace == 0 ? std::span<const Pass>(kWhole) : kInterlaced;
}

Bytes inflateRows(const Header& header, const Bytes& deflated) {
    std::size_t size = 0;
    for (const Pass& pass : passesOf(header)) size += pass.bytes(header);
    if (size / kMaxDeflateRatio > deflated.size()) throw std::runtime_error(kTooSmall);
    Bytes rows(size);
    auto written = static_cast<uLongf>(size);
    const int result =
        uncompress(rows.data(), &written, deflated.data(), static_cast<uLong>(deflated.size()));
    if (result == Z_MEM_ERROR) throwOutOfMemory();
    if (result != Z_OK || written != size) throw std::runtime_error(kDamaged);
    return rows;
}

/// Of the neighbours left, above and above left, the one nearest to left + above - above left.
int paethPredictor(int left, int above, int aboveLeft) {
    const int estimate = left + above - aboveLeft;
    const int toLeft = std::abs(estimate - left);
    const int toAbove = std::abs(estimate - above);
    const int toAboveLeft = std::abs(estimate - aboveLeft);
    if (toLeft <= toAbove && toLeft <= toAboveLeft) return left;
    return toAbove <= toAboveLeft ? above : aboveLeft;
}

int prediction(std::uint8_t filter, int left, int above, int aboveLeft) {
    switch (filter) {
        case kNone:
            return 0;
        case kSub:
            return left;
        case kUp:
            return above;
        case kAverage:
            return (left + above) / 2;
        case kPaeth:
            return paethPredictor(left, above, aboveLeft);
        default:
            throw std::runtime_error(kDamaged);
    }
}

/// Undoes a row's filter in place; `above` is the finished row before it, or empty.
void unfilter(std::uint8_t filter, std::size_t pixelBytes, std::span<std::uint8_t> row,
              ByteView above) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        const bool hasLeft = i >= pixelBytes;
        const int left = hasLeft ? row[i - pixelBytes] : 0;
        const int up = above.empty() ? 0 : above[i];
        const int upLeft = hasLeft && !above.empty() ? above[i - pixelBytes] : 0;
        row[i] = static_cast<std::uint8_t>(row[i] + prediction(filter, left, up, upLeft));
    }
}

/// Turns samples into colours.
class SampleReader {
public:
    SampleReader(const Header& header, const Content& content)
        : header_(header), palette_(content.palette) {
        const ByteView alphas = content.transparency;
        if (header.colorType == kIndexed) {
            const std::size_t count = std::min(alphas.size(), palette_.size());
            for (std::size_t i = 0; i < count; ++i) palette_[i].a = alphas[i];
        } else if (alphas.size() >= header.channels() * 2) {
            hasClearColor_ = header.colorType == kGrey || header.colorType == kRgb;
            for (std::size_t i = 0; hasClearColor_ && i < header.channels(); ++i)
                clearColor_[i] = static_cast<unsigned>(alphas[2 * i] << 8 | alphas[2 * i + 1]);
        }
    }

    Rgba pixel(ByteView row, std::size_t x) const {
        const std::size_t channels = header_.channels();
        std::array<unsigned, 4> s{};
        for (std::size_t i = 0; i < channels; ++i) s[i] = sample(row, x * channels + i);
        const std::uint8_t alpha = hasClearColor_ && s == clearColor_ ? 0 : 255;
        switch (header_.colorType) {
            case kIndexed:
                return palette_[s[0]];
            case kGrey:
                return {toByte(s[0]), toByte(s[0]), toByte(s[0]), alpha};
            case kGreyAlpha:
                return {toByte(s[0]), toByte(s[0]), toByte(s[0]), toByte(s[1])};
            case kRgb:
                return {toByte(s[0]), toByte(s[1]), toByte(s[2]), alpha};
            default:
                return {toByte(s[0]), toByte(s[1]), toByte(s[2]), toByte(s[3])};
        }
    }

private:
    unsigned sample(ByteView row, std::size_t index) const {
        if (header_.bitDepth == 8) return row[index];
        if (header_.bitDepth == 16)
            return static_cast<unsigned>(row[2 * index] << 8 | row[2 * index + 1]);
        const std::size_t bit = index * header_.bitDepth;
        const std::size_t shift = 8 - header_.bitDepth - bit % 8;
        return static_cast<unsigned>(row[bit / 8] >> shift) & ((1U << header_.bitDepth) - 1);
    }

    std::uint8_t toByte(unsigned value) const {
        if (header_.bitDepth == 16) return static_cast<std::uint8_t>(value >> 8);
        return static_cast<std::uint8_t>(value * 255 / ((1U << header_.bitDepth) - 1));
    }

    const Header& header_;
    Palette palette_;
    bool hasClearColor_ = false;
    std::array<unsigned, 4> clearColor_{};
};

/// Undoes the filters of a pass and puts its pixels into their places. `rows` holds a filter type
/// before each row.
void readPass(const Header& header, const Pass& pass, const SampleReader& samples,
              std::span<std::uint8_t> rows, RgbaImage& image) {
    const std::size_t pixelBytes = std::max<std::size_t>(1, header.bitsPerPixel() / 8);
    const std::size_t rowBytes = header.rowBytes(pass.width(header));
    ByteView above;
    for (std::size_t row = 0; row < pass.height(header); ++row) {
        const std::span<std::uint8_t> line = rows.subspan(row * (rowBytes + 1), rowBytes + 1);
        unfilter(line[0], pixelBytes, line.subspan(1), above);
        above = line.subspan(1);
        const std::size_t y = pass.y + row * pass.yStep;
        for (std::size_t i = 0; i < pass.width(header); ++i)
            image.pixels[y * header.width + pass.x + i * pass.xStep] = samples.pixel(above, i);
    }
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

RgbaImage decodePng(ByteView bytes) {
    ByteCursor cursor(bytes, kTooSmall);
    const Header header = readHeader(cursor);
    const Content content = readContent(cursor);
    if (header.colorType == kIndexed && !content.hasPalette)
        throw std::runtime_error("PNG palette missing");
    Bytes rows = inflateRows(header, content.deflated);

    RgbaImage image{header.width, header.height, {}};
    image.pixels.resize(std::size_t{header.width} * header.height);
    const SampleReader samples(header, content);
    std::span<std::uint8_t> rest(rows);
    for (const Pass& pass : passesOf(header)) {
        readPass(header, pass, samples, rest.first(pass.bytes(header)), image);
        rest = rest.subspan(pass.bytes(header));
    }
    return image;
}

ImageSize readPngSize(ByteView bytes) {
    ByteCursor cursor(bytes, kTooSmall);
    const Header header = readHeader(cursor);
    return {header.width, header.height};
}

}  // namespace orb::io
