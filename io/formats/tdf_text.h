#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// The characters that mean something in TDF and FBI texts.
namespace orb::io {

inline constexpr std::string_view kTdfSpace = " \t\n\v\f\r";
/// Each ends a key.
inline constexpr std::string_view kTdfKeyEnds = "=;{}[]";
inline constexpr char kTdfValueEnd = ';';
inline constexpr std::string_view kTdfLineComment = "//";
inline constexpr std::string_view kTdfCommentBegin = "/*";
inline constexpr std::string_view kTdfCommentEnd = "*/";

namespace detail {

enum CharClass : std::uint8_t { kPlain = 0, kSpace = 1, kKeyEnd = 2 };

inline constexpr std::array<std::uint8_t, 256> kTdfCharClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    for (const char c : kTdfSpace) classes[static_cast<std::uint8_t>(c)] = kSpace;
    for (const char c : kTdfKeyEnds) classes[static_cast<std::uint8_t>(c)] = kKeyEnd;
    return classes;
}();

}  // namespace detail

constexpr bool isTdfSpace(char c) {
    return detail::kTdfCharClasses[static_cast<std::uint8_t>(c)] == detail::kSpace;
}
constexpr bool endsTdfKey(char c) {
    return detail::kTdfCharClasses[static_cast<std::uint8_t>(c)] == detail::kKeyEnd;
}

constexpr std::string_view tdfTrimmedAtStart(std::string_view text) {
    while (!text.empty() && isTdfSpace(text.front())) text.remove_prefix(1);
    return text;
}
constexpr std::string_view tdfTrimmedAtEnd(std::string_view text) {
    while (!text.empty() && isTdfSpace(text.back())) text.remove_suffix(1);
    return text;
}
constexpr std::string_view tdfTrimmed(std::string_view text) {
    return tdfTrimmedAtStart(tdfTrimmedAtEnd(text));
}

}  // namespace orb::io
