#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
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

/// 64-bit FNV-1a of a name as if it were upper-cased: with the equality below, for hash maps whose
/// names are found in any case. Deliberately not noexcept: the standard library then keeps each
/// node's hash beside it, which makes growing the table cheap.
struct IgnoringCaseHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const {
        std::uint64_t hash = 0xcbf29ce484222325;
        for (const char c : name)
            hash = (hash ^ static_cast<std::uint8_t>(toUpper(c))) * 0x100000001b3;
        return static_cast<std::size_t>(hash);
    }
};

struct IgnoringCaseEqual {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const {
        return equalsIgnoringCase(a, b);
    }
};

}  // namespace orb::io
