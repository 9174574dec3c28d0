#include "samples/builder/source_text.h"

#include <charconv>
#include <sstream>

#include <fmt/format.h>

#include "samples/builder/files.h"

namespace orb::samples {

SourceText::SourceText(std::string name, std::string_view text) : name_(std::move(name)) {
    std::istringstream stream{std::string(text)};
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines_.push_back(line);
    }
}

SourceText SourceText::read(const std::filesystem::path& directory, const std::string& name) {
    const std::filesystem::path path = directory / name;
    const io::Bytes bytes = readFile(path);
    return {path.generic_string(), std::string(bytes.begin(), bytes.end())};
}

bool SourceText::next() {
    while (line_ < lines_.size()) {
        std::istringstream stream(lines_[line_++]);
        words_.clear();
        for (std::string word; stream >> word;) words_.push_back(word);
        if (!words_.empty() && words_[0][0] != '#') return true;
    }
    return false;
}

const std::string& SourceText::nextRaw() {
    if (line_ == lines_.size()) fail("unexpected end of file");
    return lines_[line_++];
}

const std::string& SourceText::word(std::size_t index, std::string_view what) const {
    if (index >= words_.size()) fail(fmt::format("expected {}", what));
    return words_[index];
}

float SourceText::number(std::size_t index, std::string_view what) const {
    double value = 0;
    if (!parseNumber(word(index, what), value))
        fail(fmt::format("expected {}, a number, but found '{}'", what, words_[index]));
    return static_cast<float>(value);
}

int SourceText::integer(std::size_t index, std::string_view what) const {
    const std::string& text = word(index, what);
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        fail(fmt::format("expected {}, an integer, but found '{}'", what, text));
    return value;
}

void SourceText::fail(const std::string& text, std::size_t line) const {
    throw std::runtime_error(fmt::format("{}:{}: {}", name_, line, text));
}

bool parseNumber(std::string_view text, double& value) {
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    return error == std::errc() && end == last;
}

}  // namespace orb::samples
