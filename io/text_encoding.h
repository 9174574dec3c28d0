#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orb::io {

/// True for well-formed UTF-8: no overlong forms, no surrogates, nothing beyond U+10FFFF.
bool isValidUtf8(std::string_view text);

/// The text with U+FFFD in place of every malformed sequence (each longest start of a character
/// that breaks off counts as one).
std::string replaceInvalidUtf8(std::string_view text);

/// The two encodings that game text is found in.
enum class TextEncoding { utf8, windows1252 };

struct DecodedText {
    /// Always valid UTF-8.
    std::string utf8;
    /// How the bytes were read; writing the text back with it restores them exactly.
    TextEncoding encoding = TextEncoding::utf8;
};

/// Reads game text: UTF-8 when it is valid, else Windows-1252, whose five undefined bytes become
/// the control characters of the same number.
DecodedText decodeGameText(std::string_view bytes);

/// The bytes of a text in an encoding, or none when the text is not valid UTF-8 or has a character
/// that Windows-1252 lacks.
std::optional<std::string> encodeGameText(std::string_view utf8, TextEncoding encoding);

}  // namespace orb::io
