#include "io/text_encoding.h"

#include <algorithm>
#include <array>
#include <cstdint>

// UTF-8: the lead byte gives the length and the range of the second byte, which is narrowed where
// overlong forms (E0, F0), surrogates (ED) or numbers beyond U+10FFFF (F4) would start.

namespace orb::io {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// Windows-1252 from 0x80 to 0x9F; the rest equals the first 256 characters of Unicode.
constexpr std::array<char16_t, 32> kUpperControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

/// The start of a text: how many bytes belong together, and the character if they form one.
struct Sequence {
    std::size_t length;
    std::optional<char32_t> character;
};

std::size_t sequenceLength(std::uint8_t lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

bool isContinuation(std::uint8_t lead, std::size_t index, std::uint8_t byte) {
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
    if (index == 1 && lead == 0xE0) low = 0xA0;
    if (index == 1 && lead == 0xED) high = 0x9F;
    if (index == 1 && lead == 0xF0) low = 0x90;
    if (index == 1 && lead == 0xF4) high = 0x8F;
    return byte >= low && byte <= high;
}

Sequence firstSequence(std::string_view text) {
    const auto lead = static_cast<std::uint8_t>(text[0]);
    const std::size_t length = sequenceLength(lead);
    if (length == 0) return {1, std::nullopt};
    if (length == 1) return {1, lead};
    char32_t character = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (i == text.size()) return {i, std::nullopt};
        const auto byte = static_cast<std::uint8_t>(text[i]);
        if (!isContinuation(lead, i, byte)) return {i, std::nullopt};
        character = character << 6 | (byte & 0x3FU);
    }
    return {length, character};
}

/// Appends a character below U+10000, enough for Windows-1252.
void appendUtf8(std::string& text, char16_t character) {
    const auto put = [&](unsigned byte) { text.push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0U | character >> 6);
        put(0x80U | (character & 0x3FU));
    } else {
        put(0xE0U | character >> 12);
        put(0x80U | (character >> 6 & 0x3FU));
        put(0x80U | (character & 0x3FU));
    }
}

std::string fromWindows1252(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes) {
        const auto byte = static_cast<std::uint8_t>(c);
        appendUtf8(text, byte >= 0x80 && byte <= 0x9F ? kUpperControls[byte - 0x80U] : byte);
    }
    return text;
}

std::optional<char> toWindows1252(char32_t character) {
    if (character < 0x80 || (character >= 0xA0 && character <= 0xFF))
        return static_cast<char>(character);
    const auto found = std::ranges::find(kUpperControls, character);
    if (found == kUpperControls.end()) return std::nullopt;
    return static_cast<char>(0x80 + (found - kUpperControls.begin()));
}

}  // namespace

bool isValidUtf8(std::string_view text) {
    while (!text.empty()) {
        const Sequence sequence = firstSequence(text);
        if (!sequence.character) return false;
        text.remove_prefix(sequence.length);
    }
    return true;
}

std::string replaceInvalidUtf8(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Sequence sequence = firstSequence(text);
        result += sequence.character ? text.substr(0, sequence.length) : kReplacement;
        text.remove_prefix(sequence.length);
    }
    return result;
}

DecodedText decodeGameText(std::string_view bytes) {
    if (isValidUtf8(bytes)) return {std::string(bytes), TextEncoding::utf8};
    return {fromWindows1252(bytes), TextEncoding::windows1252};
}

std::optional<std::string> encodeGameText(std::string_view utf8, TextEncoding encoding) {
    if (encoding == TextEncoding::utf8)
        return isValidUtf8(utf8) ? std::optional(std::string(utf8)) : std::nullopt;
    std::string bytes;
    bytes.reserve(utf8.size());
    while (!utf8.empty()) {
        const Sequence sequence = firstSequence(utf8);
        const auto byte = sequence.character ? toWindows1252(*sequence.character) : std::nullopt;
        if (!byte) return std::nullopt;
        bytes.push_back(*byte);
        utf8.remove_prefix(sequence.length);
    }
    return bytes;
}

}  // namespace orb::io
