#include "io/formats/tdf.h"

#include <charconv>
#include <limits>

#include "io/formats/tdf_scanner.h"

namespace orb::io {
namespace {

/// Builds the tree. Open sections are kept on a list rather than on the call stack.
struct TreeSink {
    std::vector<TdfSection*> open;

    void openSection(std::string_view name) { open.push_back(&open.back()->openChild(name)); }
    void closeSection() { open.pop_back(); }
    void value(std::string_view key, std::string_view text) { open.back()->setValue(key, text); }
};

/// What std::from_chars should see of a number: without white space and "+", and none of the words
/// that it takes for infinities and NaNs. Empty when no number starts here.
std::string_view numberStart(std::string_view text) {
    text = tdfTrimmedAtStart(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return {};
    }
    const std::size_t first = text.starts_with('-') ? 1 : 0;
    const bool numeric =
        text.size() > first && (text[first] == '.' || (text[first] >= '0' && text[first] <= '9'));
    return numeric ? text : std::string_view();
}

/// Whether a number that does not fit a float lies next to 0 rather than beyond the largest: it has
/// a negative exponent, or nothing but zeros before the point.
bool isTiny(std::string_view number) {
    const std::size_t exponent = number.find_first_of("eE");
    if (exponent < number.size()) return number.substr(exponent + 1).starts_with('-');
    return number.substr(0, number.find('.')).find_first_of("123456789") == std::string_view::npos;
}

/// Of a number that does not fit, from its text: the nearest one that does.
std::int32_t nearestThatFits(std::string_view number, std::int32_t /*type*/) {
    using Limits = std::numeric_limits<std::int32_t>;
    return number.starts_with('-') ? Limits::min() : Limits::max();
}
float nearestThatFits(std::string_view number, float /*type*/) {
    const float size = isTiny(number) ? 0.0F : std::numeric_limits<float>::max();
    return number.starts_with('-') ? -size : size;
}

template <typename Number>
std::optional<Number> toNumber(std::string_view value) {
    const std::string_view text = numberStart(value);
    Number number{};
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (fault == std::errc::result_out_of_range)
        return nearestThatFits({text.data(), static_cast<std::size_t>(end - text.data())}, number);
    if (fault != std::errc()) return std::nullopt;
    return number;
}

}  // namespace

std::optional<std::int32_t> tdfInt(std::string_view value) {
    return toNumber<std::int32_t>(value);
}

std::optional<float> tdfFloat(std::string_view value) {
    return toNumber<float>(value);
}

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
    const auto value = getString(key);
    return value ? tdfInt(*value) : std::nullopt;
}

std::optional<float> TdfSection::getFloat(std::string_view key) const {
    const auto value = getString(key);
    return value ? tdfFloat(*value) : std::nullopt;
}

void TdfSection::setValue(std::string_view name, std::string_view value) {
    const auto [entry, isNew] = values.try_emplace(upperCased(name), value);
    if (isNew)
        order.push_back({Entry::Kind::value, std::string(name)});
    else
        entry->second = value;
}

TdfSection& TdfSection::openChild(std::string_view name) {
    if (const auto found = children.find(name); found != children.end()) return *found->second;
    order.push_back({Entry::Kind::section, std::string(name)});
    return *children.emplace(upperCased(name), std::make_unique<TdfSection>()).first->second;
}

TdfSection parseTdf(std::string_view text) {
    TdfSection root;
    TreeSink sink{{&root}};
    TdfScanner(text, sink).run();
    return root;
}

}  // namespace orb::io
