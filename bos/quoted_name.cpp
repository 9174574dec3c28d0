#include "bos/quoted_name.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

namespace orb::unitview::bos {
namespace {

bool needsEscape(char c) {
    return c < ' ' || c > '~' || c == '"' || c == '\\';
}

}  // namespace

std::string quotedName(std::string_view name) {
    std::string text = "\"";
    for (const char c : name) {
        if (needsEscape(c)) {
            text += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
        } else {
            text += c;
        }
    }
    return text + '"';
}

std::string nameInQuotes(std::string_view quoted) {
    std::string name;
    for (std::size_t i = 0; i < quoted.size(); ++i) {
        unsigned char code = 0;
        const std::string_view digits = quoted.substr(std::min(i + 2, quoted.size()), 2);
        const char* const end = digits.data() + digits.size();
        if (quoted.substr(i, 2) == "\\x" && digits.size() == 2 &&
            std::from_chars(digits.data(), end, code, 16).ptr == end) {
            name += static_cast<char>(code);
            i += 3;
        } else {
            name += quoted[i];
        }
    }
    return name;
}

}  // namespace orb::unitview::bos
