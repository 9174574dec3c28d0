#include "io/path_text.h"

#include <algorithm>
#include <array>

#include "io/ascii.h"
#ifdef _WIN32
#include "io/text_encoding.h"
#endif

namespace orb::io {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::string_view, 4> kDevices{"CON", "PRN", "AUX", "NUL"};
/// These with a digit.
constexpr std::array<std::string_view, 2> kNumberedDevices{"COM", "LPT"};

}  // namespace

fs::path withoutEndSlash(const fs::path& folder) {
    return folder.has_filename() ? folder : folder.parent_path();
}

bool isDeviceName(std::string_view name) {
    std::string_view stem = name.substr(0, name.find('.'));
    while (stem.ends_with(' ')) stem.remove_suffix(1);
    const auto isStem = [&](std::string_view device) { return equalsIgnoringCase(stem, device); };
    if (std::any_of(kDevices.begin(), kDevices.end(), isStem)) return true;
    if (stem.size() != 4 || stem[3] < '0' || stem[3] > '9') return false;
    stem.remove_suffix(1);
    return std::any_of(kNumberedDevices.begin(), kNumberedDevices.end(), isStem);
}

#ifdef _WIN32
namespace {

constexpr wchar_t kReplacement = L'\uFFFD';

bool isHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(wchar_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

/// The file system does not ask whether surrogates come in pairs, the conversion to UTF-8 does.
void replaceLoneSurrogates(std::wstring& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPair =
            isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1]);
        if (isPair)
            ++i;
        else if (isHighSurrogate(text[i]) || isLowSurrogate(text[i]))
            text[i] = kReplacement;
    }
}

}  // namespace

fs::path pathFromText(std::string_view text) {
    const std::string utf8 = decodeGameText(text).utf8;
    return {std::u8string(utf8.begin(), utf8.end())};
}

std::string textFromPath(const fs::path& path) {
    std::wstring wide = path.native();
    std::replace(wide.begin(), wide.end(), L'\\', L'/');
    replaceLoneSurrogates(wide);
    const std::u8string text = fs::path(wide).u8string();
    return {text.begin(), text.end()};
}

bool isFileName(std::string_view name) {
    return !name.ends_with('.') && !name.ends_with(' ') && !isDeviceName(name);
}

#else

fs::path pathFromText(std::string_view text) {
    return {text};
}

std::string textFromPath(const fs::path& path) {
    return path.string();
}

bool isFileName(std::string_view) {
    return true;
}

#endif

}  // namespace orb::io
