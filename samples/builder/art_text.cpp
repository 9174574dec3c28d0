#include "samples/builder/art_text.h"

#include <fmt/format.h>

#include "io/formats/pcx.h"
#include "io/formats/png.h"

namespace orb::samples {
namespace {

constexpr int kMaxSide = 1024;
constexpr std::uint8_t kTransparencyIndex = 255;

Canvas newCanvas(const SourceText& source) {
    const int width = source.integer(1, "the width"), height = source.integer(2, "the height");
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide)
        source.fail(fmt::format("a picture has 1 to {} pixels a side", kMaxSide));
    return {width, height};
}

/// Carries out the drawing lines of one picture.
class Painter {
public:
    Painter(SourceText& source, const ArtContext& context, Canvas& canvas)
        : source_(source), context_(context), canvas_(canvas) {}

    /// False when the current line is no drawing line.
    bool draw();

private:
    struct Area {
        int x, y, width, height;
    };
    Area area() const;
    std::uint8_t color(std::size_t word) const {
        return context_.palette.index(source_, source_.word(word, "a colour"));
    }
    /// Sets every pixel of the area that lies in the picture to pick(x, y, old index), counted
    /// from the area's corner.
    template <typename Pick>
    void paint(const Area& area, Pick pick);

    void fill() {
        paint({0, 0, canvas_.width, canvas_.height},
              [c = color(1)](int, int, std::uint8_t) { return c; });
    }
    void rect() {
        paint(area(), [c = color(5)](int, int, std::uint8_t) { return c; });
    }
    void ramp();
    void noise();
    void key();
    void rows();
    void model();

    SourceText& source_;
    const ArtContext& context_;
    Canvas& canvas_;
    std::map<char, std::uint8_t> keys_;
};

bool Painter::draw() {
    using Line = void (Painter::*)();
    static const std::map<std::string_view, Line> kLines = {
        {"fill", &Painter::fill},   {"rect", &Painter::rect}, {"ramp", &Painter::ramp},
        {"noise", &Painter::noise}, {"key", &Painter::key},   {"rows", &Painter::rows},
        {"model", &Painter::model}};
    const auto line = kLines.find(source_.words()[0]);
    if (line == kLines.end()) return false;
    (this->*line->second)();
    return true;
}

Painter::Area Painter::area() const {
    return {source_.integer(1, "x"), source_.integer(2, "y"), source_.integer(3, "the width"),
            source_.integer(4, "the height")};
}

template <typename Pick>
void Painter::paint(const Area& area, Pick pick) {
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x)
            if (canvas_.contains(area.x + x, area.y + y)) {
                std::uint8_t& pixel = canvas_.at(area.x + x, area.y + y);
                pixel = pick(x, y, pixel);
            }
}

void Painter::ramp() {
    const Area a = area();
    const std::uint8_t from = color(5), to = color(6);
    const bool down = source_.word(7, "'down' or 'right'") == "down";
    const int steps = (down ? a.height : a.width) - 1;
    const auto& palette = context_.palette;
    const bool oneRamp = palette.rampOf(from).first == palette.rampOf(to).first;
    const auto rgb = [&](std::uint8_t index) {
        return io::Rgb{palette.colors[index].r, palette.colors[index].g, palette.colors[index].b};
    };
    paint(a, [&](int x, int y, std::uint8_t) {
        const int step = down ? y : x;
        if (oneRamp) return static_cast<std::uint8_t>(blend(from, to, step, steps));
        return palette.nearest(blend(rgb(from), rgb(to), step, steps));
    });
}

void Painter::noise() {
    std::vector<int> choices;
    for (std::size_t i = 5; i < source_.words().size(); ++i)
        choices.push_back(source_.words()[i] == "-" ? -1 : color(i));
    if (choices.empty()) source_.fail("expected colours, - to leave a pixel as it is");
    std::uint32_t random = 1;
    paint(area(), [&](int, int, std::uint8_t old) {
        random = random * 1664525 + 1013904223;
        const int choice = choices[(random >> 16) % choices.size()];
        return choice < 0 ? old : static_cast<std::uint8_t>(choice);
    });
}

void Painter::key() {
    keys_[source_.word(1, "a character")[0]] = color(2);
}

void Painter::rows() {
    for (int y = 0;; ++y) {
        const std::string row = source_.nextRaw();
        if (row == "end") return;
        if (y >= canvas_.height || static_cast<int>(row.size()) > canvas_.width)
            source_.fail("the row does not fit the picture");
        for (int x = 0; x < static_cast<int>(row.size()); ++x) {
            const auto found = keys_.find(row[static_cast<std::size_t>(x)]);
            if (found == keys_.end()) source_.fail("the row holds a character without a key");
            canvas_.at(x, y) = found->second;
        }
    }
}

void Painter::model() {
    const auto found = context_.models.find(source_.word(1, "a model"));
    if (found == context_.models.end())
        source_.fail(fmt::format("unknown model '{}'", source_.words()[1]));
    drawModel(canvas_, found->second, context_.palette);
}

/// A PCX file of three planes, red, green and blue, which follow each other line by line.
io::Bytes writeTrueColorPcx(const Canvas& canvas, const NamedPalette& palette) {
    constexpr std::uint8_t kMagic[] = {10, 5, 1, 8};
    constexpr std::uint8_t kPlanes = 3;
    constexpr std::size_t kPlanesField = 65, kHeaderSize = 128;
    const auto bytesPerLine = static_cast<std::uint16_t>(canvas.width + canvas.width % 2);
    io::ByteWriter out;
    for (const std::uint8_t field : kMagic) out.u8(field);
    out.u32(0);
    out.u16(static_cast<std::uint16_t>(canvas.width - 1));
    out.u16(static_cast<std::uint16_t>(canvas.height - 1));
    out.zeros(kPlanesField - out.position());
    out.u8(kPlanes);
    out.u16(bytesPerLine);
    out.zeros(kHeaderSize - out.position());
    for (int y = 0; y < canvas.height; ++y)
        for (const auto channel : {&io::Rgba::r, &io::Rgba::g, &io::Rgba::b})
            for (int x = 0; x < bytesPerLine; ++x) {
                const std::uint8_t index = x < canvas.width ? canvas.at(x, y) : 0;
                out.u8(0xC1);  // each byte as a run of one
                out.u8(palette.colors[index].*channel);
            }
    return out.take();
}

}  // namespace

Canvas parseImage(SourceText& source, const ArtContext& context) {
    if (!source.next() || source.words()[0] != "image") source.fail("expected 'image'");
    Canvas canvas = newCanvas(source);
    canvas.isTrueColor = source.words().size() > 3 && source.words()[3] == "24-bit";
    Painter painter(source, context, canvas);
    while (source.next())
        if (!painter.draw()) source.fail(fmt::format("unknown line '{}'", source.words()[0]));
    return canvas;
}

io::GafFile parseGafText(SourceText& source, const ArtContext& context) {
    io::GafFile gaf;
    std::uint32_t duration = 1;
    bool more = source.next();
    while (more) {
        const std::string& word = source.words()[0];
        if (word == "entry") {
            gaf.entries.push_back({source.word(1, "a name"), {}});
            duration = 1;
            more = source.next();
        } else if (word == "duration") {
            duration = static_cast<std::uint32_t>(source.integer(1, "game ticks"));
            more = source.next();
        } else if (word == "frame" && !gaf.entries.empty()) {
            Canvas canvas = newCanvas(source);
            Painter painter(source, context, canvas);
            while ((more = source.next()) && painter.draw()) {
            }
            io::GafFrame frame;
            frame.width = static_cast<std::uint16_t>(canvas.width);
            frame.height = static_cast<std::uint16_t>(canvas.height);
            frame.transparencyIndex = kTransparencyIndex;
            frame.duration = duration;
            frame.pixels = std::move(canvas.pixels);
            gaf.entries.back().frames.push_back(std::move(frame));
        } else {
            source.fail(fmt::format("unknown line '{}'", word));
        }
    }
    return gaf;
}

io::Bytes writePcxFile(const Canvas& canvas, const NamedPalette& palette) {
    if (canvas.isTrueColor) return writeTrueColorPcx(canvas, palette);
    io::PcxImage image;
    image.width = static_cast<std::uint16_t>(canvas.width);
    image.height = static_cast<std::uint16_t>(canvas.height);
    image.pixels = canvas.pixels;
    for (std::size_t i = 0; i < palette.colors.size(); ++i)
        image.palette[i] = {palette.colors[i].r, palette.colors[i].g, palette.colors[i].b};
    return io::writePcx(image);
}

io::Bytes writePngFile(const Canvas& canvas, const NamedPalette& palette) {
    return io::encodePngIndexed(static_cast<std::uint32_t>(canvas.width),
                                static_cast<std::uint32_t>(canvas.height), canvas.pixels,
                                palette.colors);
}

}  // namespace orb::samples
