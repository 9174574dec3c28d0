#include "server/base64.h"

#include <algorithm>
#include <stdexcept>

#include <fmt/format.h>

namespace orb::unitview::ipc {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string encodeBase64(io::ByteView bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= count ? kAlphabet[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

io::Bytes decodeBase64(std::string_view text) {
    const std::string_view digits = text.substr(0, text.find_last_not_of('=') + 1);
    if (digits.size() % 4 == 1 || text.size() - digits.size() > 2)
        throw std::runtime_error("base64: the text is cut off");
    io::Bytes bytes;
    bytes.reserve(digits.size() * 3 / 4);
    std::uint32_t bits = 0;
    unsigned bitCount = 0;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        const std::size_t value = kAlphabet.find(digits[i]);
        if (value == std::string_view::npos)
            throw std::runtime_error(fmt::format("base64: wrong character at position {}", i + 1));
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        bitCount += 6;
        if (bitCount < 8) continue;
        bitCount -= 8;
        bytes.push_back(static_cast<std::uint8_t>(bits >> bitCount));
    }
    return bytes;
}

}  // namespace orb::unitview::ipc
