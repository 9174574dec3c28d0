#include <array>

#include <zlib.h>

#include "fuzzing.h"
#include "io/formats/png.h"

// A PNG picture. Sums and the compression would keep nearly all inputs from the code behind them:
// so one byte says whether the rest is a file whose sums are put right first, or the fields of a
// header, a palette and scan lines from which a file is made.

namespace orb::fuzz {
namespace {

constexpr std::string_view kSignature("\x89PNG\r\n\x1A\n", 8);

class PngBytes {
public:
    PngBytes() { out_.text(kSignature); }

    void u32(std::uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            out_.u8(static_cast<std::uint8_t>(value >> shift));
    }
    void chunk(std::string_view type, io::ByteView data) {
        u32(static_cast<std::uint32_t>(data.size()));
        const std::size_t start = out_.position();
        out_.text(type);
        out_.bytes(data);
        const io::ByteView summed = out_.view().subspan(start);
        u32(static_cast<std::uint32_t>(
            crc32(0, summed.data(), static_cast<unsigned>(summed.size()))));
    }
    io::Bytes take() { return out_.take(); }

private:
    io::ByteWriter out_;
};

io::Bytes builtFrom(Choices& choices) {
    PngBytes png;
    std::array<std::uint8_t, 13> header{};
    header[3] = choices.byte();  // width
    header[2] = choices.byte() & 3;
    header[7] = choices.byte();  // height
    for (std::size_t i = 8; i < header.size(); ++i) header[i] = choices.byte();
    png.chunk("IHDR", header);
    png.chunk("PLTE", choices.take(3 * choices.below(17)));
    png.chunk("tRNS", choices.take(choices.below(17)));
    const io::ByteView rows = choices.rest();
    io::Bytes packed(compressBound(static_cast<uLong>(rows.size())));
    uLongf length = static_cast<uLongf>(packed.size());
    require(
        compress2(packed.data(), &length, rows.data(), static_cast<uLong>(rows.size()), 1) == Z_OK,
        "the test's own picture is packed");
    packed.resize(length);
    const std::size_t cut = packed.size() / 2;
    png.chunk("IDAT", io::ByteView(packed).first(cut));
    png.chunk("IDAT", io::ByteView(packed).subspan(cut));
    png.chunk("IEND", {});
    return png.take();
}

/// The file with every sum put right.
io::Bytes withSums(io::ByteView file) {
    if (file.size() < kSignature.size()) return {file.begin(), file.end()};
    PngBytes png;
    Choices rest(file.subspan(kSignature.size()));
    while (!rest.isEmpty()) {
        const std::uint32_t length = rest.word();
        const io::ByteView type = rest.take(4);
        png.chunk(io::asText(type), rest.take(length));
        rest.word();
    }
    return png.take();
}

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    const bool isFile = choices.flag();
    const io::Bytes file = isFile ? withSums(choices.rest()) : builtFrom(choices);
    accepts([&] { io::decodePng(choices.rest()); });
    io::RgbaImage image;
    if (!accepts([&] { image = io::decodePng(file); })) return;
    require(image.pixels.size() == std::size_t{image.width} * image.height, "all pixels are there");
    const io::ImageSize size = io::readPngSize(file);
    require(size.width == image.width && size.height == image.height, "both sizes agree");
    const io::RgbaImage again = io::decodePng(io::encodePng(image));
    require(
        again.width == image.width && again.height == image.height && again.pixels == image.pixels,
        "a picture reads as it was written");
}

}  // namespace orb::fuzz
