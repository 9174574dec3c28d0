#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Case folding as the game does it: only ASCII letters fold, byte by byte, in every locale.
namespace orb::io {

constexpr char toUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}
constexpr char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

inline std::string upperCased(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), toUpper);
    return result;
}

inline std::string lowerCased(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), toLower);
    return result;
}

constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return toLower(x) == toLower(y); });
}

constexpr bool endsWithIgnoringCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           equalsIgnoringCase(text.substr(text.size() - suffix.size()), suffix);
}

}  // namespace orb::io
