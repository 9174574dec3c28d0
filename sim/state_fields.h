#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <ranges>
#include <string_view>
#include <type_traits>

/// What of the world is state is listed once for each struct, beside it, by a function
/// `eachField(value, visit)` that calls `visit(name, field)` for each field; a static_assert on the
/// struct's size reminds of it whoever adds one. Hash and dump both go through these lists.
namespace orb::sim {

template <typename Value>
concept HasRaw = requires(const Value& value) {
    value.raw();
};

template <typename Value>
concept IsOptional = requires(const Value& value) {
    value.has_value();
    *value;
};

struct IgnoreField {
    void operator()(std::string_view, const auto&) const {}
};
template <typename Value>
concept HasFields = requires(const Value& value) {
    eachField(value, IgnoreField());
};

template <typename Value>
concept HasTypeName = requires(const Value& value) {
    value->name;
};

/// Gives a value to a sink as numbers and texts: `sink.number(name, int64)`, `sink.text(name,
/// string_view)`, and `sink.open(name)` and `sink.close()` around what has parts.
template <typename Sink, typename Value>
void putState(Sink& sink, std::string_view name, const Value& value) {
    if constexpr (std::is_enum_v<Value> || std::is_integral_v<Value>) {
        sink.number(name, static_cast<std::int64_t>(value));
    } else if constexpr (HasRaw<Value>) {
        sink.number(name, std::int64_t{value.raw()});
    } else if constexpr (std::is_convertible_v<Value, std::string_view>) {
        sink.text(name, value);
    } else if constexpr (HasTypeName<Value>) {
        sink.text(name, value ? std::string_view(value->name) : std::string_view());
    } else if constexpr (HasFields<Value>) {
        sink.open(name);
        eachField(value, [&](std::string_view fieldName, const auto& field) {
            putState(sink, fieldName, field);
        });
        sink.close();
    } else if constexpr (IsOptional<Value>) {
        sink.open(name);
        sink.number("isThere", value.has_value() ? 1 : 0);
        if (value) putState(sink, "value", *value);
        sink.close();
    } else {
        static_assert(std::ranges::range<Value>, "eachField is missing");
        sink.open(name);
        sink.number("count", static_cast<std::int64_t>(std::ranges::size(value)));
        for (const auto& element : value) putState(sink, "element", element);
        sink.close();
    }
}

}  // namespace orb::sim
