#include "io/formats/tdf_writer.h"

#include <fmt/format.h>

namespace orb::io {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// As deep as the reader lets sections nest.
void append(std::string& text, std::string_view name, const TdfSection& section,
            const std::string& indent) {
    const std::string inner = indent + '\t';
    text += fmt::format("{}[{}]{}{}{{{}", indent, name, kLineEnd, inner, kLineEnd);
    for (const auto& [kind, key] : section.order)
        if (kind == TdfSection::Entry::Kind::value)
            text += fmt::format("{}{}={};{}", inner, key, *section.getString(key), kLineEnd);
        else
            append(text, key, *section.child(key), inner);
    text += fmt::format("{}}}{}", inner, kLineEnd);
}

}  // namespace

std::string tdfText(std::string_view name, const TdfSection& section) {
    std::string text;
    append(text, name, section, "");
    return text;
}

}  // namespace orb::io
