#include "samples/builder/palette_text.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include <fmt/format.h>

namespace orb::samples {
namespace {

io::Rgb parseColor(const SourceText& source, std::size_t word) {
    const std::string& text = source.word(word, "a colour #RRGGBB");
    std::uint32_t value = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + 1, last, value, 16);
    if (text.size() != 7 || text[0] != '#' || error != std::errc() || end != last)
        source.fail(fmt::format("expected a colour #RRGGBB but found '{}'", text));
    return {static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
            static_cast<std::uint8_t>(value)};
}

std::uint8_t parseIndex(const SourceText& source, std::size_t word, std::string_view what) {
    const int value = source.integer(word, what);
    if (value < 0 || value > 255) source.fail(fmt::format("{} lies outside 0..255", what));
    return static_cast<std::uint8_t>(value);
}

}  // namespace

int blend(int from, int to, int step, int steps) {
    return steps == 0
               ? from
               : from + ((to - from) * step * 2 + (to < from ? -steps : steps)) / (steps * 2);
}

io::Rgb blend(io::Rgb from, io::Rgb to, int step, int steps) {
    const auto mix = [&](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(blend(a, b, step, steps));
    };
    return {mix(from.r, to.r), mix(from.g, to.g), mix(from.b, to.b)};
}

std::uint8_t NamedPalette::index(const SourceText& source, const std::string& name) const {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    int value = 0;
    const char* last = name.data() + name.size();
    if (std::all_of(name.begin(), name.end(), isDigit)) {
        std::from_chars(name.data(), last, value);
        if (value <= 255) return static_cast<std::uint8_t>(value);
    }
    const auto colon = name.find(':');
    const auto ramp = ramps.find(name.substr(0, colon));
    if (ramp == ramps.end()) source.fail(fmt::format("unknown colour '{}'", name));
    const auto [first, end] = ramp->second;
    if (colon == std::string::npos) return static_cast<std::uint8_t>((first + end) / 2);
    const auto parsed = std::from_chars(name.data() + colon + 1, last, value);
    if (parsed.ec != std::errc() || parsed.ptr != last || value < 0 || first + value > end)
        source.fail(fmt::format("no such step of a colour ramp: '{}'", name));
    return static_cast<std::uint8_t>(first + value);
}

Ramp NamedPalette::rampOf(std::uint8_t index) const {
    for (const auto& [name, ramp] : ramps)
        if (index >= ramp.first && index <= ramp.last) return ramp;
    return {index, index};
}

std::uint8_t NamedPalette::nearest(io::Rgb color) const {
    std::uint8_t best = 0;
    int bestDistance = std::numeric_limits<int>::max();
    for (int i = 0; i < 255; ++i) {
        const io::Rgba& c = colors[static_cast<std::size_t>(i)];
        const int dr = c.r - color.r, dg = c.g - color.g, db = c.b - color.b;
        const int distance = dr * dr + dg * dg + db * db;
        if (distance >= bestDistance || io::isTeamBand(static_cast<std::uint8_t>(i))) continue;
        bestDistance = distance;
        best = static_cast<std::uint8_t>(i);
    }
    return best;
}

NamedPalette parsePalette(SourceText& source) {
    NamedPalette palette;
    while (source.next()) {
        if (source.words()[0] != "ramp") source.fail("expected 'ramp'");
        const Ramp ramp{parseIndex(source, 2, "first"), parseIndex(source, 3, "last")};
        if (ramp.last < ramp.first) source.fail("a ramp ends before it begins");
        const io::Rgb dark = parseColor(source, 4), bright = parseColor(source, 5);
        for (int i = ramp.first; i <= ramp.last; ++i) {
            const io::Rgb c = blend(dark, bright, i - ramp.first, ramp.last - ramp.first);
            palette.colors[static_cast<std::size_t>(i)] = {c.r, c.g, c.b, 255};
        }
        palette.ramps[source.word(1, "a name")] = ramp;
    }
    return palette;
}

io::Bytes writePalette(const io::Palette& colors) {
    io::ByteWriter out;
    for (const io::Rgba& color : colors) {
        out.u8(color.r);
        out.u8(color.g);
        out.u8(color.b);
        out.u8(0);
    }
    return out.take();
}

}  // namespace orb::samples
