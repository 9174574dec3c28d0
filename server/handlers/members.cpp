#include "server/handlers/members.h"

#include <cmath>
#include <limits>
#include <utility>

#include <fmt/format.h>

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

[[noreturn]] void failType(const std::string& name, std::string_view wanted) {
    throw PayloadError(fmt::format("{} must be {}", name, wanted));
}

std::int64_t wholeOf(const std::string& name, const json& value) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        return number > static_cast<std::uint64_t>(Limits::max())
                   ? Limits::max()
                   : static_cast<std::int64_t>(number);
    }
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (!value.is_number_float()) failType(name, "a whole number");
    const auto number = value.get<double>();
    if (std::trunc(number) != number) failType(name, "a whole number");
    if (number >= 0x1p63) return Limits::max();
    return number < -0x1p63 ? Limits::min() : static_cast<std::int64_t>(number);
}

const json::array_t& listOf(const std::string& name, const json& value, std::size_t most) {
    const auto* const list = value.get_ptr<const json::array_t*>();
    if (!list) failType(name, "a list");
    if (list->size() > most)
        throw PayloadError(
            fmt::format("{} holds too many: {} ({} at most)", name, list->size(), most));
    return *list;
}

}  // namespace

Members::Members(const Payload& payload) : Members(payload.value(), {}) {}

Members::Members(const json& value, std::string name) : value_(&value), name_(std::move(name)) {
    if (!value.is_object()) failType(name_.empty() ? "data" : name_, "an object");
}

const json* Members::find(std::string_view key) const {
    const auto found = value_->find(key);
    return found == value_->end() ? nullptr : &*found;
}

std::string Members::nameOf(std::string_view key) const {
    return name_.empty() ? std::string(key) : fmt::format("{}.{}", name_, key);
}

std::optional<std::string> Members::text(std::string_view key) const {
    const json* const value = find(key);
    if (!value) return std::nullopt;
    if (!value->is_string()) failType(nameOf(key), "a text");
    return value->get<std::string>();
}

std::optional<bool> Members::flag(std::string_view key) const {
    const json* const value = find(key);
    if (!value) return std::nullopt;
    if (!value->is_boolean()) failType(nameOf(key), "true or false");
    return value->get<bool>();
}

std::optional<double> Members::number(std::string_view key) const {
    const json* const value = find(key);
    if (!value) return std::nullopt;
    if (!value->is_number()) failType(nameOf(key), "a number");
    return value->get<double>();
}

std::optional<std::int64_t> Members::whole(std::string_view key) const {
    const json* const value = find(key);
    return value ? std::optional(wholeOf(nameOf(key), *value)) : std::nullopt;
}

std::optional<std::vector<std::int64_t>> Members::wholes(std::string_view key,
                                                         std::size_t most) const {
    const json* const value = find(key);
    if (!value) return std::nullopt;
    const std::string name = nameOf(key);
    std::vector<std::int64_t> numbers;
    const json::array_t& list = listOf(name, *value, most);
    numbers.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i)
        numbers.push_back(list[i].is_number_integer()
                              ? wholeOf(name, list[i])
                              : wholeOf(fmt::format("{}[{}]", name, i), list[i]));
    return numbers;
}

std::optional<Members> Members::object(std::string_view key) const {
    const json* const value = find(key);
    return value ? std::optional(Members(*value, nameOf(key))) : std::nullopt;
}

std::vector<Members> Members::objects(std::string_view key, std::size_t most) const {
    const json* const value = find(key);
    if (!value) return {};
    const std::string name = nameOf(key);
    std::vector<Members> members;
    const json::array_t& list = listOf(name, *value, most);
    members.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i)
        members.push_back(Members(list[i], fmt::format("{}[{}]", name, i)));
    return members;
}

}  // namespace orb::unitview::ipc
