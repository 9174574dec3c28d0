#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

namespace orb::unitview::bos {

/// The value of a decimal or hexadecimal number without a point; numbers beyond 64 bits become the
/// largest.
inline std::uint64_t integerValue(std::string_view digits) {
    const bool isHex = digits.size() > 2 && (digits[1] == 'x' || digits[1] == 'X');
    if (isHex) digits.remove_prefix(2);
    std::uint64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, isHex ? 16 : 10);
    return error == std::errc() ? value : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace orb::unitview::bos
