#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "io/progress.h"
#include "server/dismantle.h"

namespace orb::unitview::ipc {

/// A payload that does not decode; mostly the text is the JSON library's own.
class PayloadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The decoded "data" of a request. Every accessor throws PayloadError when the member has another
/// JSON type; "required" ones also when it is absent.
class Payload {
public:
    /// Parses strict JSON text; an empty text counts as {}.
    static Payload parse(std::string_view text);
    explicit Payload(nlohmann::json value) : value_(std::move(value)) {}
    Payload(const Payload&) = default;
    Payload(Payload&&) = default;
    Payload& operator=(const Payload&) = default;
    Payload& operator=(Payload&&) = default;
    ~Payload() { dismantle(value_); }

    bool isObject() const { return value_.is_object(); }
    const nlohmann::json& value() const { return value_; }
    std::optional<std::string> text(const char* key) const;
    std::string requiredText(const char* key) const;
    /// Also throws for a path with a NUL character, which the system would cut off there.
    std::optional<std::filesystem::path> path(const char* key) const;
    std::optional<std::vector<std::filesystem::path>> paths(const char* key) const;
    std::optional<bool> flag(const char* key) const;
    /// Fractions are dropped and values beyond the range take its nearest end.
    std::optional<std::int64_t> integer(const char* key) const;
    std::int64_t requiredInteger(const char* key) const;
    std::optional<double> number(const char* key) const;
    std::vector<std::string> requiredTexts(const char* key) const;
    std::optional<std::vector<std::string>> texts(const char* key) const;
    std::optional<std::vector<std::int64_t>> integers(const char* key) const;
    std::optional<std::vector<double>> numbers(const char* key) const;
    std::optional<std::variant<std::string, std::int64_t>> textOrInteger(const char* key) const;
    bool isArray(const char* key) const;
    std::optional<Payload> object(const char* key) const;
    /// The objects of an array member, each as a payload of its own.
    std::optional<std::vector<Payload>> objects(const char* key) const;
    /// The same, but an element of another type fails only when its members are asked for.
    std::optional<std::vector<Payload>> elements(const char* key) const;

    /// The members of an object member in ascending order of their keys: texts as they stand,
    /// numbers in decimal, true as "1" and false as "0", null as none.
    using Scalars = std::vector<std::pair<std::string, std::optional<std::string>>>;
    std::optional<Scalars> scalars(const char* key) const;

    /// Where the operation tells of its progress: nowhere unless the member "progress" is true.
    io::Progress progress() const;
    /// Who is told then.
    void setProgressListener(io::Progress listener) { listener_ = std::move(listener); }

    /// The text of a member that is a string; a member of another type counts as absent.
    std::optional<std::string> textIfString(const char* key) const;

    /// A member as it stands, or null.
    const nlohmann::json* member(const char* key) const;

private:
    const nlohmann::json& requiredMember(const char* key) const;

    nlohmann::json value_;
    io::Progress listener_;
};

/// Throws RequestError "WHAT is required".
[[noreturn]] void failRequired(std::string_view what);

/// A decoded member that the request cannot do without. For when all members are decoded: a wrong
/// type is reported before an absence. Throws what failRequired does.
template <typename Value>
const Value& require(std::string_view what, const std::optional<Value>& value) {
    if (!value) failRequired(what);
    return *value;
}

/// Decodes a member and names it before the text of a PayloadError.
template <typename Decode>
auto naming(std::string_view member, Decode&& decode) {
    try {
        return decode();
    } catch (const PayloadError& error) {
        throw PayloadError(std::string(member).append(": ").append(error.what()));
    }
}

/// Members that came to requests which had long been served whatever their payload was: a payload
/// that is no object has none of them. Those of another type are named.
bool option(const Payload& payload, const char* key);
std::optional<std::string> textOption(const Payload& payload, const char* key);
/// Fractions are of another type.
std::optional<std::int64_t> integerOption(const Payload& payload, const char* key);

/// What `require` gives, for a member that must not be empty either.
template <typename Value>
const Value& requireFilled(std::string_view what, const std::optional<Value>& value) {
    if (!value || value->empty()) failRequired(what);
    return *value;
}

}  // namespace orb::unitview::ipc
