#include "bos/options.h"

#include <array>
#include <charconv>
#include <stdexcept>

#include <fmt/format.h>

namespace orb::unitview::bos {
namespace {

constexpr std::array<std::string_view, 3> kImplicitReturns = {"safe", "compat", "last-word"};
constexpr std::array<std::string_view, 2> kValuelessReturns = {"push0", "bare"};
constexpr std::array<std::string_view, 2> kArgumentOrders = {"vm", "source"};
constexpr std::string_view kBlanks = " \t";

/// The enumerator that stands at the word's place.
template <typename Enum, std::size_t count>
std::optional<Enum> named(const std::array<std::string_view, count>& words, std::string_view word) {
    for (std::size_t i = 0; i < words.size(); ++i)
        if (words[i] == word) return static_cast<Enum>(i);
    return std::nullopt;
}

/// Takes the text up to one of the separators off the front of `rest`.
std::string_view takeUpTo(std::string_view& rest, std::string_view separators) {
    const std::size_t end = std::min(rest.find_first_of(separators), rest.size());
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return taken;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t from = text.find_first_not_of(kBlanks);
    if (from == std::string_view::npos) return {};
    return text.substr(from, text.find_last_not_of(kBlanks) - from + 1);
}

std::optional<Scale> scaleNamed(std::string_view word) {
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    try {
        return Scale(value);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

/// True when the setting is known and its value makes sense.
bool readSetting(std::string_view name, std::string_view value, BosOptionChoices& choices) {
    if (name == "linear") return (choices.linearScale = scaleNamed(value)).has_value();
    if (name == "angular") return (choices.angularScale = scaleNamed(value)).has_value();
    if (name == "arguments") return (choices.argumentOrder = argumentOrderNamed(value)).has_value();
    if (name == "implicit-return")
        return (choices.implicitReturn = implicitReturnNamed(value)).has_value();
    if (name == "valueless-return")
        return (choices.valuelessReturn = valuelessReturnNamed(value)).has_value();
    return false;
}

std::optional<BosOptionChoices> readSettingsLine(std::string_view comment) {
    BosOptionChoices choices;
    while (!comment.empty()) {
        std::string_view setting = trimmed(takeUpTo(comment, ","));
        const std::string_view name = takeUpTo(setting, " ");
        if (!readSetting(name, trimmed(setting), choices)) return std::nullopt;
    }
    return choices;
}

}  // namespace

BosOptions BosOptionChoices::orElse(const BosOptions& fallback) const {
    return {linearScale.value_or(fallback.linearScale),
            angularScale.value_or(fallback.angularScale),
            implicitReturn.value_or(fallback.implicitReturn),
            valuelessReturn.value_or(fallback.valuelessReturn),
            argumentOrder.value_or(fallback.argumentOrder)};
}

std::string_view optionWord(ImplicitReturn value) {
    return kImplicitReturns.at(static_cast<std::size_t>(value));
}
std::string_view optionWord(ValuelessReturn value) {
    return kValuelessReturns.at(static_cast<std::size_t>(value));
}
std::string_view optionWord(ArgumentOrder value) {
    return kArgumentOrders.at(static_cast<std::size_t>(value));
}
std::optional<ImplicitReturn> implicitReturnNamed(std::string_view word) {
    return named<ImplicitReturn>(kImplicitReturns, word);
}
std::optional<ValuelessReturn> valuelessReturnNamed(std::string_view word) {
    return named<ValuelessReturn>(kValuelessReturns, word);
}
std::optional<ArgumentOrder> argumentOrderNamed(std::string_view word) {
    return named<ArgumentOrder>(kArgumentOrders, word);
}

std::string settingsLine(const BosOptions& options) {
    const BosOptions defaults;
    std::string line =
        fmt::format("// linear {}, angular {}, arguments {}", options.linearScale.value(),
                    options.angularScale.value(), optionWord(options.argumentOrder));
    if (options.implicitReturn != defaults.implicitReturn)
        line += fmt::format(", implicit-return {}", optionWord(options.implicitReturn));
    if (options.valuelessReturn != defaults.valuelessReturn)
        line += fmt::format(", valueless-return {}", optionWord(options.valuelessReturn));
    return line;
}

BosOptionChoices readSettings(std::string_view source) {
    while (!source.empty()) {
        const std::string_view line = trimmed(takeUpTo(source, "\r\n"));
        if (line.empty()) continue;
        if (!line.starts_with("//")) break;
        const std::string_view comment = trimmed(line.substr(2));
        if (comment.empty()) continue;
        if (const auto choices = readSettingsLine(comment)) return *choices;
    }
    return {};
}

}  // namespace orb::unitview::bos
