#pragma once

#include <cstdint>
#include <string_view>

/// The language's own words, recognised in any case.
namespace orb::unitview::bos {

enum class Word : std::uint8_t {
    none,  ///< a name
    piece,
    staticVar,
    var,
    ifWord,
    elseWord,
    whileWord,
    forWord,
    returnWord,
    startScript,
    callScript,
    rand,
    get,
    trueWord,
    falseWord,
    andWord,
    orWord,
    xorWord,
    notWord,
    xAxis,
    yAxis,
    zAxis,
    unknownUnitValue,
    words,       ///< __words: code words as they are
    dontShadow,  ///< known, but without an instruction
    statement,   ///< begins one of the statement forms
};

/// Which word `text` is. Words that only stand inside statements ("to", "now", "speed", ...) are
/// names: scripts may use them as such.
Word wordOf(std::string_view text);

/// The length of the word with a hyphen that `text` begins with, or 0. Such words win over names
/// and minus signs.
std::size_t hyphenatedWordLength(std::string_view text);

constexpr bool isNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isNamePart(char c) {
    return isNameStart(c) || isDigit(c);
}

}  // namespace orb::unitview::bos
