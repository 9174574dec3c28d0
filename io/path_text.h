#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orb::io {

/// A path from UTF-8 text, as requests carry it.
inline std::filesystem::path pathFromText(std::string_view utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

/// A path as text for replies and log lines: UTF-8 where the platform's names are Unicode, the raw
/// bytes where they are bytes.
inline std::string textFromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace orb::io
