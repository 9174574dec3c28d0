#include "server/payload.h"

#include <limits>

#include "io/path_text.h"
#include "server/parse_json.h"
#include "session/request_error.h"

namespace orb::unitview::ipc {
namespace {

using nlohmann::json;

/// Runs `decode` and turns what the JSON library throws into a PayloadError.
template <typename Decode>
auto decoding(Decode&& decode) {
    try {
        return decode();
    } catch (const json::exception& error) {
        throw PayloadError(error.what());
    }
}

template <typename T>
T decodeAs(const json& value) {
    return decoding([&] { return value.get<T>(); });
}

std::int64_t decodeInteger(const json& value) {
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        return number > static_cast<std::uint64_t>(kMax) ? kMax : static_cast<std::int64_t>(number);
    }
    if (value.is_number_float()) {
        const auto number = value.get<double>();
        if (number >= 0x1p63) return kMax;
        return number < -0x1p63 ? kMin : static_cast<std::int64_t>(number);
    }
    return decodeAs<std::int64_t>(value);
}

double decodeNumber(const json& value) {
    if (value.is_boolean()) decodeAs<json::number_integer_t>(value);  // throws
    return decodeAs<double>(value);
}

std::optional<std::string> decodeScalar(const json& value) {
    if (value.is_null()) return std::nullopt;
    if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
    if (value.is_number()) return value.dump();
    return decodeAs<std::string>(value);
}

std::filesystem::path decodePath(const json& value) {
    const auto text = decodeAs<std::string>(value);
    if (text.find('\0') != std::string::npos) throw PayloadError("a path holds a NUL character");
    return io::pathFromText(text);
}

template <typename Element>
auto decodeArray(const json& value, Element&& decodeElement) {
    const auto& elements = decodeAs<const json::array_t>(value);
    std::vector<decltype(decodeElement(value))> result;
    result.reserve(elements.size());
    for (const json& element : elements) result.push_back(decodeElement(element));
    return result;
}

}  // namespace

Payload Payload::parse(std::string_view text) {
    Payload payload{json()};
    if (text.empty())
        payload.value_ = json::object();
    else
        decoding([&] { parseJson(text, payload.value_); });
    return payload;
}

const json* Payload::member(const char* key) const {
    if (!value_.is_object()) requiredMember(key);  // throws the library's own text
    const auto found = value_.find(key);
    return found == value_.end() ? nullptr : &*found;
}

const json& Payload::requiredMember(const char* key) const {
    return decoding([&]() -> std::reference_wrapper<const json> { return value_.at(key); });
}

std::optional<std::string> Payload::text(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeAs<std::string>(*value)) : std::nullopt;
}

std::optional<std::filesystem::path> Payload::path(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodePath(*value)) : std::nullopt;
}

std::optional<std::vector<std::filesystem::path>> Payload::paths(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeArray(*value, decodePath)) : std::nullopt;
}

std::string Payload::requiredText(const char* key) const {
    return decodeAs<std::string>(requiredMember(key));
}

std::optional<bool> Payload::flag(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeAs<bool>(*value)) : std::nullopt;
}

std::optional<std::int64_t> Payload::integer(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeInteger(*value)) : std::nullopt;
}

std::optional<double> Payload::number(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeNumber(*value)) : std::nullopt;
}

std::optional<std::vector<double>> Payload::numbers(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeArray(*value, decodeNumber)) : std::nullopt;
}

std::optional<std::variant<std::string, std::int64_t>> Payload::textOrInteger(
    const char* key) const {
    const json* const value = member(key);
    if (!value) return std::nullopt;
    if (value->is_number()) return decodeInteger(*value);
    return decodeAs<std::string>(*value);
}

bool Payload::isArray(const char* key) const {
    const json* const value = member(key);
    return value && value->is_array();
}

std::int64_t Payload::requiredInteger(const char* key) const {
    return decodeInteger(requiredMember(key));
}

std::vector<std::string> Payload::requiredTexts(const char* key) const {
    return decodeArray(requiredMember(key), decodeAs<std::string>);
}

std::optional<std::vector<std::string>> Payload::texts(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeArray(*value, decodeAs<std::string>)) : std::nullopt;
}

std::optional<std::vector<std::int64_t>> Payload::integers(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(decodeArray(*value, decodeInteger)) : std::nullopt;
}

std::optional<Payload> Payload::object(const char* key) const {
    const json* const value = member(key);
    return value ? std::optional(Payload(decodeAs<json::object_t>(*value))) : std::nullopt;
}

std::optional<std::vector<Payload>> Payload::objects(const char* key) const {
    const json* const value = member(key);
    if (!value) return std::nullopt;
    return decodeArray(
        *value, [](const json& element) { return Payload(decodeAs<json::object_t>(element)); });
}

std::optional<std::vector<Payload>> Payload::elements(const char* key) const {
    const json* const value = member(key);
    if (!value) return std::nullopt;
    return decodeArray(*value, [](const json& element) { return Payload(element); });
}

std::optional<Payload::Scalars> Payload::scalars(const char* key) const {
    const json* const value = member(key);
    if (!value) return std::nullopt;
    Scalars result;
    for (const auto& [name, element] : decodeAs<json::object_t>(*value))
        result.emplace_back(name, decodeScalar(element));
    return result;
}

std::optional<std::string> Payload::textIfString(const char* key) const {
    const json* const value = member(key);
    return value && value->is_string() ? std::optional(value->get<std::string>()) : std::nullopt;
}

io::Progress Payload::progress() const {
    return option(*this, "progress") ? listener_ : io::Progress();
}

bool option(const Payload& payload, const char* key) {
    return payload.isObject() && naming(key, [&] { return payload.flag(key).value_or(false); });
}

std::optional<std::string> textOption(const Payload& payload, const char* key) {
    if (!payload.isObject()) return std::nullopt;
    return naming(key, [&] { return payload.text(key); });
}

std::optional<std::int64_t> integerOption(const Payload& payload, const char* key) {
    if (!payload.isObject()) return std::nullopt;
    return naming(key, [&] {
        const json* const value = payload.member(key);
        if (value && value->is_number_float())
            throw PayloadError("type must be integer, but is fraction");
        return payload.integer(key);
    });
}

void failRequired(std::string_view what) {
    throw RequestError(std::string(what) + " is required");
}

}  // namespace orb::unitview::ipc
