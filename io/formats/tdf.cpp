#include "io/formats/tdf.h"

#include <array>
#include <charconv>
#include <utility>

// The text format, with white space and comments ("//" to the line's end, "/* */") between items:
//
//   body    = { section | value | "}" ends the body | anything else is skipped }
//   section = "[" name "]" "{" body "}"      a repeated name goes on in the same section
//   value   = key "=" text ";"               the text may hold anything but ";", comments included
//
// A body also ends with the text.

namespace orb::io {
namespace {

enum CharClass : std::uint8_t { kPlain = 0, kSpace = 1, kKeyEnd = 2 };

constexpr std::array<std::uint8_t, 256> kCharClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    for (const char c : std::string_view(" \t\n\v\f\r"))
        classes[static_cast<std::uint8_t>(c)] = kSpace;
    for (const char c : std::string_view("=;{}[]")) classes[static_cast<std::uint8_t>(c)] = kKeyEnd;
    return classes;
}();

std::uint8_t charClass(char c) {
    return kCharClasses[static_cast<std::uint8_t>(c)];
}

std::string_view trimmedAtEnd(std::string_view text) {
    while (!text.empty() && charClass(text.back()) == kSpace) text.remove_suffix(1);
    return text;
}

std::string_view trimmedAtStart(std::string_view text) {
    while (!text.empty() && charClass(text.front()) == kSpace) text.remove_prefix(1);
    return text;
}

/// Walks the text once. Open sections are kept on a list rather than on the call stack.
class TdfParser {
public:
    TdfParser(std::string_view text, TdfSection& root) : text_(text), open_{&root} {}

    void run() {
        while (!open_.empty()) {
            skipBlank();
            if (atEnd()) return;
            switch (text_[position_]) {
                case '}':
                    closeSection();
                    break;
                case '[':
                    readHeader();
                    break;
                default:
                    readValue();
                    break;
            }
        }
    }

private:
    bool atEnd() const { return position_ >= text_.size(); }
    bool startsWith(std::string_view token) const {
        return text_.compare(position_, token.size(), token) == 0;
    }

    /// Consumes up to the next `delimiter`, which stays, or to the end of the text.
    std::string_view takeUntil(char delimiter) {
        const std::size_t start = position_;
        const std::size_t found = text_.find(delimiter, start);
        position_ = found == std::string_view::npos ? text_.size() : found;
        return text_.substr(start, position_ - start);
    }

    void consumeIf(char c) {
        if (!atEnd() && text_[position_] == c) ++position_;
    }

    void skipSpace() {
        while (!atEnd() && charClass(text_[position_]) == kSpace) ++position_;
    }

    void skipBlank() {
        for (;;) {
            skipSpace();
            if (atEnd() || text_[position_] != '/') return;
            if (startsWith("//")) {
                takeUntil('\n');
            } else if (startsWith("/*")) {
                const std::size_t end = text_.find("*/", position_ + 2);
                position_ = end == std::string_view::npos ? text_.size() : end + 2;
            } else {
                return;
            }
        }
    }

    void closeSection() {
        ++position_;
        if (skippedLevels_ > 0)
            --skippedLevels_;
        else
            open_.pop_back();
    }

    void readHeader() {
        ++position_;
        const std::string_view name = trimmedAtEnd(takeUntil(']'));
        consumeIf(']');
        skipBlank();
        if (atEnd() || text_[position_] != '{') return;
        ++position_;
        if (skippedLevels_ > 0 || open_.size() > kMaxTdfNesting)
            ++skippedLevels_;
        else
            open_.push_back(&open_.back()->openChild(name));
    }

    void readValue() {
        const std::size_t start = position_;
        while (!atEnd() && charClass(text_[position_]) != kKeyEnd) ++position_;
        if (position_ == start) {  // a stray "=", ";", "{" or "]"
            ++position_;
            return;
        }
        const std::string_view key = trimmedAtEnd(text_.substr(start, position_ - start));
        if (atEnd() || text_[position_] != '=') return;
        ++position_;
        skipSpace();
        const std::string_view value = trimmedAtEnd(takeUntil(';'));
        consumeIf(';');
        if (skippedLevels_ == 0) open_.back()->setValue(key, value);
    }

    std::string_view text_;
    std::size_t position_ = 0;
    std::vector<TdfSection*> open_;
    std::size_t skippedLevels_ = 0;
};

/// What std::from_chars should see of a number: without white space and "+", and none of the words
/// that it takes for infinities and NaNs. Empty when no number starts here.
std::string_view numberStart(std::string_view text) {
    text = trimmedAtStart(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return {};
    }
    const std::size_t first = text.starts_with('-') ? 1 : 0;
    const bool numeric =
        text.size() > first && (text[first] == '.' || (text[first] >= '0' && text[first] <= '9'));
    return numeric ? text : std::string_view();
}

template <typename Number>
std::optional<Number> toNumber(std::optional<std::string_view> value) {
    if (!value) return std::nullopt;
    const std::string_view text = numberStart(*value);
    Number number{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    return number;
}

}  // namespace

const TdfSection* TdfSection::child(std::string_view name) const {
    const auto found = children.find(name);
    return found == children.end() ? nullptr : found->second.get();
}

std::optional<std::string_view> TdfSection::getString(std::string_view key) const {
    const auto found = values.find(key);
    if (found == values.end()) return std::nullopt;
    return found->second;
}

std::optional<std::int32_t> TdfSection::getInt(std::string_view key) const {
    return toNumber<std::int32_t>(getString(key));
}

std::optional<float> TdfSection::getFloat(std::string_view key) const {
    return toNumber<float>(getString(key));
}

void TdfSection::setValue(std::string_view name, std::string_view value) {
    if (const auto found = values.find(name); found != values.end()) {
        found->second = value;
        return;
    }
    values.emplace(upperCased(name), value);
    order.push_back({Entry::Kind::value, std::string(name)});
}

TdfSection& TdfSection::openChild(std::string_view name) {
    if (const auto found = children.find(name); found != children.end()) return *found->second;
    order.push_back({Entry::Kind::section, std::string(name)});
    return *children.emplace(upperCased(name), std::make_unique<TdfSection>()).first->second;
}

TdfSection parseTdf(std::string_view text) {
    TdfSection root;
    TdfParser(text, root).run();
    return root;
}

}  // namespace orb::io
